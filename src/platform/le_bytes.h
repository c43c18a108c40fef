// Byte-wise access to little-endian integers and fixed-width texts inside a
// block of bytes: the binary configuration records and the messages of the
// daemons' queues. Records are never copied into structs: the daemons that
// share them define them byte by byte, and the device and the developer's PC
// must read them alike.
//
// Every helper takes the whole record (or block) and an offset inside it;
// the caller guarantees offset + width <= size (offsets of configuration
// records come from the layout descriptions, which a unit test proves
// against sizes).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace platform {

inline std::uint8_t LoadU8(std::span<const std::uint8_t> bytes, std::size_t offset) { return bytes[offset]; }

inline std::uint16_t LoadU16(std::span<const std::uint8_t> bytes, std::size_t offset) {
  return static_cast<std::uint16_t>(bytes[offset] | (bytes[offset + 1] << 8));
}

inline std::uint32_t LoadU32(std::span<const std::uint8_t> bytes, std::size_t offset) {
  return static_cast<std::uint32_t>(bytes[offset]) | (static_cast<std::uint32_t>(bytes[offset + 1]) << 8) |
         (static_cast<std::uint32_t>(bytes[offset + 2]) << 16) |
         (static_cast<std::uint32_t>(bytes[offset + 3]) << 24);
}

inline std::int32_t LoadI32(std::span<const std::uint8_t> bytes, std::size_t offset) {
  return static_cast<std::int32_t>(LoadU32(bytes, offset));
}

inline void StoreU8(std::span<std::uint8_t> bytes, std::size_t offset, std::uint8_t value) {
  bytes[offset] = value;
}

inline void StoreU16(std::span<std::uint8_t> bytes, std::size_t offset, std::uint16_t value) {
  bytes[offset] = static_cast<std::uint8_t>(value);
  bytes[offset + 1] = static_cast<std::uint8_t>(value >> 8);
}

inline void StoreU32(std::span<std::uint8_t> bytes, std::size_t offset, std::uint32_t value) {
  bytes[offset] = static_cast<std::uint8_t>(value);
  bytes[offset + 1] = static_cast<std::uint8_t>(value >> 8);
  bytes[offset + 2] = static_cast<std::uint8_t>(value >> 16);
  bytes[offset + 3] = static_cast<std::uint8_t>(value >> 24);
}

inline void StoreI32(std::span<std::uint8_t> bytes, std::size_t offset, std::int32_t value) {
  StoreU32(bytes, offset, static_cast<std::uint32_t>(value));
}

// The text stored in a char[width] field: up to its first NUL, or the whole
// field when a foreign writer left it unterminated.
inline std::string_view LoadText(std::span<const std::uint8_t> bytes, std::size_t offset, std::size_t width) {
  const char* start = reinterpret_cast<const char*>(bytes.data() + offset);
  const void* nul = std::memchr(start, '\0', width);
  return {start, nul != nullptr ? static_cast<std::size_t>(static_cast<const char*>(nul) - start) : width};
}

// Stores a text with its terminating NUL, as the handlers do: the bytes
// after the NUL keep what they held. Refuses (false, nothing stored) a text
// of width characters or more.
inline bool StoreText(std::span<std::uint8_t> bytes, std::size_t offset, std::size_t width,
                      std::string_view text) {
  if (text.size() >= width) return false;
  std::memcpy(bytes.data() + offset, text.data(), text.size());
  bytes[offset + text.size()] = 0;
  return true;
}

// Stores a text and zeroes the rest of the field (tools and factory files,
// so that a rewritten field holds no stale tail).
inline bool StoreTextPadded(std::span<std::uint8_t> bytes, std::size_t offset, std::size_t width,
                            std::string_view text) {
  if (text.size() >= width) return false;
  std::memcpy(bytes.data() + offset, text.data(), text.size());
  std::memset(bytes.data() + offset + text.size(), 0, width - text.size());
  return true;
}

// Clears a whole field to zero bytes (the empty-value rule of the handlers).
inline void ClearBytes(std::span<std::uint8_t> bytes, std::size_t offset, std::size_t width) {
  std::memset(bytes.data() + offset, 0, width);
}

}  // namespace platform
