// Reads and writes a resolved field (FieldRef) of a record by its type, so
// that tables of fields can be applied by one loop.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "config/record_layout.h"
#include "platform/le_bytes.h"

namespace config {

constexpr bool IsNumber(FieldType type) {
  return type == FieldType::kU8 || type == FieldType::kU16 || type == FieldType::kU32 ||
         type == FieldType::kI32;
}

// The number in a u8/u16/u32/i32 field (i32 sign-extended); 0 for others.
inline std::int64_t LoadNumber(std::span<const std::uint8_t> bytes, const FieldRef& ref) {
  switch (ref.type) {
    case FieldType::kU8:
      return platform::LoadU8(bytes, ref.offset);
    case FieldType::kU16:
      return platform::LoadU16(bytes, ref.offset);
    case FieldType::kU32:
      return platform::LoadU32(bytes, ref.offset);
    case FieldType::kI32:
      return platform::LoadI32(bytes, ref.offset);
    default:
      return 0;
  }
}

// Stores a number cut to the field's width, as the handlers store parsed
// form values (70000 in a u16 becomes 4464). Other types are left alone.
inline void StoreNumber(std::span<std::uint8_t> bytes, const FieldRef& ref, std::int64_t value) {
  switch (ref.type) {
    case FieldType::kU8:
      platform::StoreU8(bytes, ref.offset, static_cast<std::uint8_t>(value));
      break;
    case FieldType::kU16:
      platform::StoreU16(bytes, ref.offset, static_cast<std::uint16_t>(value));
      break;
    case FieldType::kU32:
    case FieldType::kI32:
      platform::StoreU32(bytes, ref.offset, static_cast<std::uint32_t>(value));
      break;
    default:
      break;
  }
}

inline std::string_view LoadText(std::span<const std::uint8_t> bytes, const FieldRef& ref) {
  return platform::LoadText(bytes, ref.offset, ref.width);
}

inline bool StoreText(std::span<std::uint8_t> bytes, const FieldRef& ref, std::string_view text) {
  return platform::StoreText(bytes, ref.offset, ref.width, text);
}

inline void ClearField(std::span<std::uint8_t> bytes, const FieldRef& ref) {
  platform::ClearBytes(bytes, ref.offset, ref.width);
}

}  // namespace config
