#include "ftp/server_name.h"

#include <cstring>

#include "config/text/tcfg_util.h"

namespace {

constexpr const char* kNamesFile = "/etc/sysconfig/names.conf";
constexpr const char* kKey = "SERVER_NAME";
// The value is read as every text configuration value is; a value of this
// size or more is not found at all.
constexpr std::size_t kValueSize = 128;

}  // namespace

int ftp_read_server_name(char* name, std::size_t size) {
  name[0] = '\0';
  Tcfg* cfg = new_cfg(kNamesFile, 0);
  if (cfg == nullptr) return kServerNameNoFile;
  char value[kValueSize] = {};
  int result = 0;
  if (load_cfg(cfg) >= 0 && get_value(cfg, kKey, value, sizeof value) >= 0) {
    const std::size_t length = std::strlen(value);
    if (length >= size) {
      result = kServerNameTooLong;
    } else {
      std::memcpy(name, value, length + 1);
    }
  }
  free_cfg(cfg);
  return result;
}
