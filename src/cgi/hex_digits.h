// Value of every byte as a hexadecimal digit: 0-9, A-F and a-f map to their
// values, every other byte to 0 (so a malformed escape decodes as 0).
#pragma once

#include <array>

inline constexpr std::array<int, 256> kHexDigitValue = [] {
  std::array<int, 256> table{};
  for (int c = '0'; c <= '9'; ++c) table[c] = c - '0';
  for (int c = 'A'; c <= 'F'; ++c) table[c] = c - 'A' + 10;
  for (int c = 'a'; c <= 'f'; ++c) table[c] = c - 'a' + 10;
  return table;
}();
