// The camera's GPIO device, opened for one operation. On the device
// /dev/kv_gpio is a character device and every write is the driver's
// ioctl; on a PC the node is a regular file or a FIFO, and every write
// appends the 32-bit value as one line "0x%08x\n", so that the sequence of
// patterns can be checked and watched.
#pragma once

#include <cstdint>

namespace platform {

inline constexpr const char* kGpioDevice = "/dev/kv_gpio";
// Direction write, type 0xDC, number 0x10, argument size 4.
inline constexpr unsigned long kGpioWritePattern = 0x4004DC10UL;

class GpioLines {
 public:
  GpioLines();
  ~GpioLines();
  GpioLines(const GpioLines&) = delete;
  GpioLines& operator=(const GpioLines&) = delete;

  bool is_open() const { return fd_ >= 0; }
  void Write(uint32_t pattern);

 private:
  int fd_ = -1;
  bool is_driver_ = false;
};

}  // namespace platform
