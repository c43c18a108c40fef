// Little-endian fields of messages and records, loaded and stored byte by
// byte so that the layout is the same on every host.
#pragma once

#include <cstdint>
#include <span>

namespace device {

inline uint32_t LoadLe32(std::span<const uint8_t, 4> bytes) {
  return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
         static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

inline void StoreLe32(std::span<uint8_t, 4> bytes, uint32_t value) {
  bytes[0] = static_cast<uint8_t>(value);
  bytes[1] = static_cast<uint8_t>(value >> 8);
  bytes[2] = static_cast<uint8_t>(value >> 16);
  bytes[3] = static_cast<uint8_t>(value >> 24);
}

}  // namespace device
