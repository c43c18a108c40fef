#include "platform/product_strings.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "platform/command.h"
#include "platform/fixed_text.h"
#include "platform/host_root.h"
#include "platform/regular_file.h"

namespace {

constexpr std::size_t kWorkAreaSize = 1024;
constexpr int kLastSlot = 7;

struct FreeDeleter {
  void operator()(char* area) const { std::free(area); }
};

// The working copy of the basic configuration, closed and removed whatever
// the read's outcome.
class BasicConfCopy {
 public:
  explicit BasicConfCopy(const char* device_path) : device_path_(device_path) {}
  ~BasicConfCopy() {
    if (fd_ >= 0) close(fd_);
    std::remove(platform::MapPath(device_path_).c_str());
  }
  BasicConfCopy(const BasicConfCopy&) = delete;
  BasicConfCopy& operator=(const BasicConfCopy&) = delete;

  bool Open() {
    fd_ = platform::OpenRegularFile(platform::MapPath(device_path_).c_str());
    return fd_ >= 0;
  }
  // Reads up to size bytes; the count, or -1.
  ssize_t Read(char* area, std::size_t size) {
    std::size_t total = 0;
    while (total < size) {
      const ssize_t got = read(fd_, area + total, size - total);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) return -1;
      if (got == 0) break;
      total += static_cast<std::size_t>(got);
    }
    return static_cast<ssize_t>(total);
  }

 private:
  const char* device_path_;
  int fd_ = -1;
};

}  // namespace

int PnCodeUtilKvfStrRead(std::span<char> buffer, int slot) {
  if (slot < 0 || slot > kLastSlot) {
    std::fprintf(stderr, "PnCodeUtilKvfStrRead():KeyOffset=%d error\n", slot);
    return -1;
  }
  std::unique_ptr<char, FreeDeleter> area(static_cast<char*>(std::malloc(kWorkAreaSize)));
  if (!area) {
    std::fprintf(stderr, "PnCodeUtilKvfStrRead():malloc error\n");
    return -1;
  }

  platform::FixedText<64> copy_path;
  copy_path.AppendFormat("/tmp/kvll_conf_%d.txt", static_cast<int>(getpid()));
  platform::ShellCommand copy;
  copy.Text("cat ").Path(platform::kBasicConfPath).Text(" > ").Path(copy_path.view());
  platform::RunCommand(copy);

  BasicConfCopy working_copy(copy_path.c_str());
  if (!working_copy.Open()) {
    std::fprintf(stderr, "kvt_get_and_init_pn_code():open(%s) error \n", copy_path.c_str());
    return -1;
  }
  // One byte short of the area, so the text always ends in a terminator.
  std::memset(area.get(), 0, kWorkAreaSize);
  if (working_copy.Read(area.get(), kWorkAreaSize - 1) < 0) {
    std::fprintf(stderr, "kvt_get_and_init_pn_code():read(%s) error \n", copy_path.c_str());
    return -1;
  }

  char start_mark[16];
  std::snprintf(start_mark, sizeof start_mark, "KVF_STR%d=\"", slot);
  constexpr const char* kEndMark = "\";";
  const char* start = std::strstr(area.get(), start_mark);
  if (start == nullptr) {
    std::fprintf(stderr, "kvt_get_and_init_pn_code():strstr(%s) error for start\n", start_mark);
    return -1;
  }
  start += std::strlen(start_mark);
  const char* end = std::strstr(start, kEndMark);
  if (end == nullptr) {
    std::fprintf(stderr, "kvt_get_and_init_pn_code():strstr(%s) error for end\n", kEndMark);
    return -1;
  }
  const std::string_view value(start, static_cast<std::size_t>(end - start));
  if (value.size() >= buffer.size()) {
    std::fprintf(stderr, "kvt_get_and_init_pn_code():%s value of %zu bytes too long\n", start_mark,
                 value.size());
    return -1;
  }
  std::memcpy(buffer.data(), value.data(), value.size());
  buffer[value.size()] = '\0';
  return static_cast<int>(value.size());
}

int PnCodeUtilRead(std::span<char, platform::kProductStringSize> buffer) {
  return PnCodeUtilKvfStrRead(buffer, platform::kProductSlot);
}
