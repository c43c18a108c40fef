#include "platform/config_write.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/host_root.h"

namespace platform {

WriteStatus WriteConfigFile(const char* device_path, const void* bytes, std::size_t size) {
  const HostPath path = MapPath(device_path);
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) return WriteStatus::kOpenFailed;
  const char* next = static_cast<const char*>(bytes);
  std::size_t left = size;
  bool failed = false;
  while (left > 0) {
    const ssize_t written = write(fd, next, left);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      failed = true;
      break;
    }
    next += written;
    left -= static_cast<std::size_t>(written);
  }
  const int saved_errno = errno;
  if (close(fd) != 0 && !failed) failed = true;
  errno = saved_errno;
  return failed ? WriteStatus::kWriteFailed : WriteStatus::kOk;
}

}  // namespace platform
