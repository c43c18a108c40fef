#include "ftp/server_name.h"

#include <cstdio>
#include <cstring>
#include <string_view>

#include "platform/host_root.h"

namespace {

constexpr const char* kNamesFile = "/etc/sysconfig/names.conf";
constexpr std::string_view kKey = "SERVER_NAME";
constexpr std::size_t kLineSize = 1024;

bool IsStop(char c) { return c == ';' || c == '"' || c == '\'' || c == '#' || c == '\r' || c == '\n'; }

}  // namespace

int ftp_read_server_name(char* name, std::size_t size) {
  name[0] = '\0';
  const platform::HostPath path = platform::MapPath(kNamesFile);
  std::FILE* file = std::fopen(path.c_str(), "r");
  if (file == nullptr) return kServerNameNoFile;
  char line[kLineSize];
  int result = 0;
  while (std::fgets(line, sizeof line, file) != nullptr) {
    // The key counts only from the first character of a line, followed by
    // "=", a blank or a tab.
    if (std::strncmp(line, kKey.data(), kKey.size()) != 0) continue;
    const char* p = line + kKey.size();
    if (*p != '=' && *p != ' ' && *p != '\t') continue;
    while (*p == '=' || *p == ' ' || *p == '\t') ++p;
    if (*p == '"' || *p == '\'') ++p;
    std::size_t length = 0;
    while (p[length] != '\0' && !IsStop(p[length])) ++length;
    if (length >= size) {
      result = kServerNameTooLong;
    } else {
      std::memcpy(name, p, length);
      name[length] = '\0';
    }
    break;
  }
  std::fclose(file);
  return result;
}
