// A NUL-terminated text in a fixed buffer that refuses to overflow: every
// append either fits whole or marks the text as overflowed, so a command or a
// path is never run or opened cut short.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace platform {

template <std::size_t Capacity>
class FixedText {
 public:
  FixedText() { text_[0] = '\0'; }

  void Append(std::string_view piece) {
    if (overflow_ || piece.size() > Capacity - 1 - length_) {
      overflow_ = true;
      return;
    }
    // An empty view may have no data at all (the host root on the device):
    // memcpy must not be given a null source, even for no bytes.
    if (piece.empty()) return;
    std::memcpy(text_ + length_, piece.data(), piece.size());
    length_ += piece.size();
    text_[length_] = '\0';
  }

  __attribute__((format(printf, 2, 3))) void AppendFormat(const char* format, ...) {
    if (overflow_) return;
    va_list args;
    va_start(args, format);
    const int written = std::vsnprintf(text_ + length_, Capacity - length_, format, args);
    va_end(args);
    if (written < 0 || static_cast<std::size_t>(written) >= Capacity - length_) {
      overflow_ = true;
      text_[length_] = '\0';
      return;
    }
    length_ += static_cast<std::size_t>(written);
  }

  void Clear() {
    length_ = 0;
    overflow_ = false;
    text_[0] = '\0';
  }

  const char* c_str() const { return text_; }
  std::string_view view() const { return {text_, length_}; }
  std::size_t size() const { return length_; }
  bool overflow() const { return overflow_; }

 private:
  char text_[Capacity];
  std::size_t length_ = 0;
  bool overflow_ = false;
};

}  // namespace platform
