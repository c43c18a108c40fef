#include "platform/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace platform {
namespace {

// The descriptor, opened without waiting (O_NONBLOCK), when it is a regular
// file; otherwise closed, and -1 with EINVAL. O_NONBLOCK stays: reads and
// writes of a regular file never wait for it anyway, and clearing it cost two
// system calls on every file a request opens.
int KeepIfRegular(int fd) {
  if (fd < 0) return -1;
  struct stat status;
  if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    close(fd);
    errno = EINVAL;
    return -1;
  }
  return fd;
}

}  // namespace

int OpenRegularFile(const char* host_path) {
  // A device is not even opened (opening some has effects); the open itself
  // does not wait, in case a FIFO took the file's place after the check.
  struct stat status;
  if (stat(host_path, &status) != 0) return -1;
  if (!S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return -1;
  }
  return KeepIfRegular(open(host_path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

int OpenFixedFileForWrite(const char* host_path, bool truncate) {
  // Without a reader a FIFO refuses a non-blocking writer (ENXIO) at once.
  const int flags =
      O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (truncate ? O_TRUNC : 0);
  return KeepIfRegular(open(host_path, flags, 0666));
}

}  // namespace platform
