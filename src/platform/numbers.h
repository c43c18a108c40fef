// Number texts shared by every layer: hexadecimal digits, the index in a
// name, and the decimal conversion as a 32-bit target computes it.
#pragma once

#include <cstdint>
#include <string_view>

namespace platform {

// The value of a hexadecimal digit (0-9, a-f, A-F), or -1 for any other byte.
constexpr int HexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The index a name carries after its base name ("Recipient2", "Port10"):
// decimal digits as "%u" writes them (no sign, no leading zero, at most nine
// digits). False for anything else.
constexpr bool ParseIndex(std::string_view digits, std::uint32_t* index) {
  if (digits.empty() || digits.size() > 9 || (digits.size() > 1 && digits.front() == '0')) return false;
  std::uint32_t value = 0;
  for (const char c : digits) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + static_cast<std::uint32_t>(c - '0');
  }
  *index = value;
  return true;
}

// Base-10 strtol of the text (leading blanks, an optional sign, digits up to
// the first other character; no digits give 0), clamped to the 32-bit signed
// range.
std::int32_t ClampedDecimal(const char* text);

}  // namespace platform
