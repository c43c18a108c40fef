#include "harness/bytes.h"

#include <cstdio>

namespace harness {

Bytes PatternBytes(std::size_t size, unsigned seed) {
  Bytes bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 7 + 13 + seed * 31) % 251 + 1);
  return bytes;
}

void PutU8(Bytes& bytes, std::size_t offset, uint8_t value) { bytes.at(offset) = static_cast<char>(value); }

void PutU16(Bytes& bytes, std::size_t offset, uint16_t value) {
  PutU8(bytes, offset, static_cast<uint8_t>(value));
  PutU8(bytes, offset + 1, static_cast<uint8_t>(value >> 8));
}

void PutU32(Bytes& bytes, std::size_t offset, uint32_t value) {
  PutU16(bytes, offset, static_cast<uint16_t>(value));
  PutU16(bytes, offset + 2, static_cast<uint16_t>(value >> 16));
}

void PutString(Bytes& bytes, std::size_t offset, std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) bytes.at(offset + i) = text[i];
  bytes.at(offset + text.size()) = '\0';
}

void PutZeros(Bytes& bytes, std::size_t offset, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) bytes.at(offset + i) = '\0';
}

uint16_t GetU16(const Bytes& bytes, std::size_t offset) {
  return static_cast<uint16_t>(static_cast<uint8_t>(bytes.at(offset)) |
                               static_cast<uint8_t>(bytes.at(offset + 1)) << 8);
}

uint32_t GetU32(const Bytes& bytes, std::size_t offset) {
  return GetU16(bytes, offset) | static_cast<uint32_t>(GetU16(bytes, offset + 2)) << 16;
}

std::string DescribeDifference(const Bytes& expected, const Bytes& actual) {
  if (expected == actual) return "";
  std::string text;
  char line[160];
  if (expected.size() != actual.size()) {
    std::snprintf(line, sizeof line, "size %zu, expected %zu; ", actual.size(), expected.size());
    text += line;
  }
  const std::size_t common = expected.size() < actual.size() ? expected.size() : actual.size();
  int ranges = 0;
  for (std::size_t i = 0; i < common && ranges < 8;) {
    if (expected[i] == actual[i]) {
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < common && expected[end] != actual[end]) ++end;
    std::snprintf(line, sizeof line, "bytes %zu..%zu differ (first: %02x, expected %02x); ", i, end - 1,
                  static_cast<uint8_t>(actual[i]), static_cast<uint8_t>(expected[i]));
    text += line;
    ++ranges;
    i = end;
  }
  return text;
}

}  // namespace harness
