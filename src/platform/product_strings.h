// The product strings of the unit, as the board driver shows them in its
// basic configuration: for slot k (0 to 7) the text between KVF_STR<k>="
// and the next ";.
#pragma once

#include <span>

namespace platform {

inline constexpr const char* kBasicConfPath = "/proc/driver/kv_basic_conf";
// The product string of slot 1: at most 63 characters.
inline constexpr int kProductStringSize = 64;
inline constexpr int kProductSlot = 1;

}  // namespace platform

// Copies the value of slot k into the buffer; its length, or -1 (reasons on
// standard error). A value that does not fit the buffer with its terminator
// is refused.
int PnCodeUtilKvfStrRead(std::span<char> buffer, int slot);
// The product string of slot 1.
int PnCodeUtilRead(std::span<char, platform::kProductStringSize> buffer);
