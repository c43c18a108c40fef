#include "config/text/tcfg_field_util.h"

#include <cstdio>

#include "platform/diag.h"
#include "platform/numbers.h"

namespace {

constexpr const char* kSource = "TcfgFieldUtil";
constexpr std::size_t kLineSize = 128;
constexpr std::size_t kNumberSize = 128;

bool MissingName(const char* name) { return name == nullptr || name[0] == '\0'; }

}  // namespace

int AppendStringFieldOfTcfg(Tcfg* cfg, const char* name, const char* value) {
  if (cfg == nullptr || MissingName(name) || value == nullptr) {
    NX_DIAG(kSource, "%s\n", "argument is NULL");
    return 0;
  }
  char line[kLineSize];
  const int written = std::snprintf(line, sizeof line, "%s=%s", name, value);
  if (written < 0 || static_cast<std::size_t>(written) >= sizeof line) {
    NX_DIAG(kSource, "fail to make a new line");
    return 0;
  }
  return append_line(cfg, line) == 0 ? 1 : 0;
}

int AppendIntFieldOfTcfg(Tcfg* cfg, const char* name, int32_t value) {
  if (cfg == nullptr || MissingName(name)) {
    NX_DIAG(kSource, "%s\n", "argument is NULL");
    return 0;
  }
  char line[kLineSize];
  const int written = std::snprintf(line, sizeof line, "%s=%d", name, static_cast<int>(value));
  if (written < 0 || static_cast<std::size_t>(written) >= sizeof line) {
    NX_DIAG(kSource, "fail to make a new line");
    return 0;
  }
  return append_line(cfg, line) == 0 ? 1 : 0;
}

int LoadStringFieldOfTcfg(Tcfg* cfg, const char* name, char* buffer, std::size_t buffer_size) {
  if (cfg == nullptr || MissingName(name) || buffer == nullptr) {
    NX_DIAG(kSource, "%s\n", "argument is NULL");
    return 0;
  }
  if (get_value(cfg, name, buffer, buffer_size) < 0) {
    NX_DIAG(kSource, "there is no field(%s)\n", name);
    return 0;
  }
  return 1;
}

int LoadIntFieldOfTcfg(Tcfg* cfg, const char* name, int32_t* value) {
  if (cfg == nullptr || MissingName(name) || value == nullptr) {
    NX_DIAG(kSource, "%s\n", "argument is NULL");
    return 0;
  }
  char text[kNumberSize];
  if (get_value(cfg, name, text, sizeof text) < 0) {
    NX_DIAG(kSource, "there is no field(%s)\n", name);
    return 0;
  }
  *value = platform::ClampedDecimal(text);
  return 1;
}

namespace {

// The narrower loads go through LoadIntFieldOfTcfg and store only on
// success; `function` and `line` name the caller in the diagnostic.
template <typename T>
int LoadNarrowed(const char* function, int line, Tcfg* cfg, const char* name, T* value) {
  if (value == nullptr) {
    NX_DIAG_AT(kSource, function, line, "%s\n", "argument is NULL");
    return 0;
  }
  int32_t loaded = 0;
  if (LoadIntFieldOfTcfg(cfg, name, &loaded) == 0) return 0;
  *value = static_cast<T>(loaded);
  return 1;
}

}  // namespace

int LoadUIntFieldOfTcfg(Tcfg* cfg, const char* name, uint32_t* value) {
  return LoadNarrowed(__func__, __LINE__, cfg, name, value);
}

int LoadUShortFieldOfTcfg(Tcfg* cfg, const char* name, uint16_t* value) {
  return LoadNarrowed(__func__, __LINE__, cfg, name, value);
}

int LoadShortFieldOfTcfg(Tcfg* cfg, const char* name, int16_t* value) {
  return LoadNarrowed(__func__, __LINE__, cfg, name, value);
}
