#include "platform/gpio_lines.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "platform/host_root.h"

namespace platform {

GpioLines::GpioLines() {
  const platform::HostPath path = platform::MapPath(kGpioDevice);
  fd_ = open(path.c_str(), O_RDWR | O_CLOEXEC);
  if (fd_ < 0) return;
  struct stat status;
  if (fstat(fd_, &status) != 0) {
    close(fd_);
    fd_ = -1;
    return;
  }
  is_driver_ = S_ISCHR(status.st_mode);
  // A stand-in file keeps every pattern written, in order.
  if (S_ISREG(status.st_mode)) fcntl(fd_, F_SETFL, O_APPEND);
}

GpioLines::~GpioLines() {
  if (fd_ >= 0) close(fd_);
}

void GpioLines::Write(uint32_t pattern) {
  if (fd_ < 0) return;
  // The results are not examined: the driver has no way to report a pattern
  // that did not reach the lines.
  if (is_driver_) {
    ioctl(fd_, kGpioWritePattern, &pattern);
    return;
  }
  char line[16];
  const int length = std::snprintf(line, sizeof line, "0x%08x\n", pattern);
  if (write(fd_, line, static_cast<std::size_t>(length)) < 0) return;
}

}  // namespace platform
