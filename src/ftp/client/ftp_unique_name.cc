// Local names that never overwrite an existing file: name.1, name.2, ...
// Names are device paths, tested below the host root.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "ftp/client/ftp_internal.h"
#include "platform/host_root.h"

namespace {

constexpr int kMaxTries = 99;

}  // namespace

bool ftp_dir_part(const char* path, char* out, std::size_t size) {
  const char* slash = std::strrchr(path, '/');
  if (slash == nullptr) {
    return std::snprintf(out, size, ".") < static_cast<int>(size);
  }
  // "/name" lies in the root directory.
  const std::size_t length = slash == path ? 1 : static_cast<std::size_t>(slash - path);
  if (length >= size) return false;
  std::memcpy(out, path, length);
  out[length] = '\0';
  return true;
}

char* ftp_unique_name(const char* local) {
  char dir[kFtpUniqueNameSize];
  if (!ftp_dir_part(local, dir, sizeof dir)) {
    std::fprintf(stderr, "local: %s: %s\n", local, std::strerror(ENAMETOOLONG));
    return nullptr;
  }
  if (access(platform::MapPath(dir).c_str(), W_OK) < 0) {
    std::fprintf(stderr, "local: %s: %s\n", dir, std::strerror(errno));
    return nullptr;
  }
  const std::size_t length = std::strlen(local);
  // Room for ".", two digits and the terminator.
  if (length + 4 > sizeof g_ftp_unique_name) {
    std::fprintf(stderr, "local: %s: %s\n", local, std::strerror(ENAMETOOLONG));
    return nullptr;
  }
  std::memcpy(g_ftp_unique_name, local, length);
  g_ftp_unique_name[length] = '.';
  char* suffix = g_ftp_unique_name + length + 1;
  for (int n = 1; n <= kMaxTries; ++n) {
    std::snprintf(suffix, 3, "%d", n);
    // The buffer keeps the device name; only the test looks below the root.
    if (access(platform::MapPath(g_ftp_unique_name).c_str(), F_OK) < 0) return g_ftp_unique_name;
  }
  std::printf("runique: can't find unique file name.\n");
  std::fflush(stdout);
  return nullptr;
}
