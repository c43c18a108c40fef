// Binary record layouts as data. Every fixed-size configuration file (and the
// fixed part of every catalogue record) is described once, as constexpr rows:
// field name, offset, type and width, with indexed arrays (Recipient0..2,
// Port0..3) and nested blocks (a port entry holds a table of three condition
// records). Handlers resolve the fields they edit by name at compile time;
// the nxconf tool and the tests walk the same rows.
//
//   constexpr config::FieldRef kSmtpServer = config::MustFind(kMailConf, "SmtpServer");
//   constexpr config::FieldRef kPort = config::MustFind(kMailConf, "Port");
//   constexpr config::FieldRef kImageCount = config::MustFind(kMailPortEntry, "ImageCount");
//   std::size_t at = kPort.At(port).Then(kImageCount).offset;
//
// Paths join names with dots, an indexed name carries its decimal index:
// "Port2.ImageCount", "Port0.Cond1.SMon", "Module1.Port2.PresetName7".
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/numbers.h"
#include "platform/text_view.h"

namespace config {

enum class FieldType : std::uint8_t {
  kU8,
  kU16,
  kU32,
  kI32,
  kChar,   // char[width], NUL-terminated text inside the array
  kRaw,    // bytes with no number or text meaning to this system
  kIpv4,   // 4 bytes, an IPv4 address in network byte order
  kBlock,  // a nested layout (width is its size)
};

enum class FieldRole : std::uint8_t {
  kValue,     // edited by handlers or read by them
  kReserved,  // owned by the daemons; carried through as loaded
  kPadding,   // alignment gap
  kFixed,     // written with a fixed value on every save (fixed_value)
};

struct Layout;

struct Field {
  std::string_view name;  // record field name; base name of an indexed array
  std::uint32_t offset = 0;
  FieldType type = FieldType::kRaw;
  std::uint32_t width = 0;  // bytes of one element
  // 0: a single field named `name`. n > 0: n elements named
  // name<first_index> .. name<first_index + n - 1>, `stride` bytes apart.
  std::uint32_t count = 0;
  std::uint32_t stride = 0;
  std::uint32_t first_index = 0;
  const Layout* block = nullptr;  // kBlock only
  FieldRole role = FieldRole::kValue;
  std::uint32_t fixed_value = 0;  // kFixed: the value; for kRaw every byte is its low byte

  constexpr Field Times(std::uint32_t n, std::uint32_t step) const {
    Field field = *this;
    field.count = n;
    field.stride = step;
    return field;
  }
  constexpr Field From(std::uint32_t first) const {
    Field field = *this;
    field.first_index = first;
    if (field.count == 0) field.count = 1;
    return field;
  }
  constexpr Field Reserved() const {
    Field field = *this;
    field.role = FieldRole::kReserved;
    return field;
  }
  constexpr Field Padding() const {
    Field field = *this;
    field.role = FieldRole::kPadding;
    return field;
  }
  constexpr Field Fixed(std::uint32_t value) const {
    Field field = *this;
    field.role = FieldRole::kFixed;
    field.fixed_value = value;
    return field;
  }

  constexpr bool indexed() const { return count > 0; }
  constexpr std::uint32_t elements() const { return count > 0 ? count : 1; }
  constexpr std::uint32_t ElementOffset(std::uint32_t element) const { return offset + element * stride; }
  // One past the last byte of the last element.
  constexpr std::uint32_t end() const { return ElementOffset(elements() - 1) + width; }
};

// A set of fields that shares bytes with other sets of the same record; the
// record's contents (SensorConf: the model's type) decide which set applies.
struct Alternative {
  std::string_view name;  // "Type3"
  std::string_view when;  // for people and tools: when this set applies
  std::span<const Field> fields;
};

struct Layout {
  std::string_view name;
  std::uint32_t size = 0;
  std::span<const Field> fields;
  std::span<const Alternative> alternatives = {};
};

// Row builders.
constexpr Field U8(std::string_view name, std::uint32_t offset) { return {name, offset, FieldType::kU8, 1}; }
constexpr Field U16(std::string_view name, std::uint32_t offset) {
  return {name, offset, FieldType::kU16, 2};
}
constexpr Field U32(std::string_view name, std::uint32_t offset) {
  return {name, offset, FieldType::kU32, 4};
}
constexpr Field I32(std::string_view name, std::uint32_t offset) {
  return {name, offset, FieldType::kI32, 4};
}
constexpr Field Ipv4(std::string_view name, std::uint32_t offset) {
  return {name, offset, FieldType::kIpv4, 4};
}
constexpr Field Char(std::string_view name, std::uint32_t offset, std::uint32_t width) {
  return {name, offset, FieldType::kChar, width};
}
constexpr Field Raw(std::string_view name, std::uint32_t offset, std::uint32_t width) {
  return {name, offset, FieldType::kRaw, width};
}
// An array of `count` blocks laid out back to back.
constexpr Field Blocks(std::string_view name, std::uint32_t offset, const Layout& layout,
                       std::uint32_t count) {
  Field field{name, offset, FieldType::kBlock, layout.size};
  field.block = &layout;
  return field.Times(count, layout.size);
}

constexpr std::uint32_t TypeWidth(FieldType type) {
  switch (type) {
    case FieldType::kU8:
      return 1;
    case FieldType::kU16:
      return 2;
    case FieldType::kU32:
    case FieldType::kI32:
    case FieldType::kIpv4:
      return 4;
    default:
      return 0;  // given by the field
  }
}

constexpr std::string_view TypeName(FieldType type) {
  switch (type) {
    case FieldType::kU8:
      return "u8";
    case FieldType::kU16:
      return "u16";
    case FieldType::kU32:
      return "u32";
    case FieldType::kI32:
      return "i32";
    case FieldType::kChar:
      return "char";
    case FieldType::kRaw:
      return "raw";
    case FieldType::kIpv4:
      return "ipv4";
    case FieldType::kBlock:
      return "block";
  }
  return "?";
}

// A resolved field: where it is inside the layout it was looked up in.
// A whole array (looked up without index) keeps count and stride; At()
// picks an element by its index in the name (Recipient1 -> At(1)).
struct FieldRef {
  std::uint32_t offset = 0;
  FieldType type = FieldType::kRaw;
  std::uint32_t width = 0;
  std::uint32_t count = 0;
  std::uint32_t stride = 0;
  std::uint32_t first_index = 0;
  const Layout* block = nullptr;
  const Field* field = nullptr;  // the row it came from; null when not found

  constexpr bool found() const { return field != nullptr; }
  constexpr FieldRef At(std::uint32_t index) const {
    FieldRef element = *this;
    element.offset = offset + (index - first_index) * stride;
    element.count = 0;
    element.stride = 0;
    element.first_index = 0;
    return element;
  }
  // A field of this block, resolved inside the block's own layout.
  constexpr FieldRef Then(FieldRef inner) const {
    inner.offset += offset;
    return inner;
  }
};

namespace layout_detail {

constexpr FieldRef RefOf(const Field& field, std::uint32_t base) {
  FieldRef ref;
  ref.offset = base + field.offset;
  ref.type = field.type;
  ref.width = field.width;
  ref.count = field.count;
  ref.stride = field.stride;
  ref.first_index = field.first_index;
  ref.block = field.block;
  ref.field = &field;
  return ref;
}

// Matches one path segment against a row: the exact name (a single field, or
// a whole array), or the base name followed by an index inside the array.
constexpr bool MatchSegment(const Field& field, std::string_view segment, std::uint32_t base, FieldRef* out) {
  if (segment == field.name) {
    *out = RefOf(field, base);
    return true;
  }
  if (!field.indexed() || !segment.starts_with(field.name)) return false;
  std::uint32_t index = 0;
  if (!platform::ParseIndex(platform::From(segment, field.name.size()), &index)) return false;
  if (index < field.first_index || index - field.first_index >= field.count) return false;
  *out = RefOf(field, base).At(index);
  return true;
}

constexpr FieldRef FindIn(const Layout& layout, std::string_view path, std::uint32_t base);

constexpr FieldRef FindInFields(std::span<const Field> fields, std::string_view path, std::uint32_t base) {
  const std::size_t dot = path.find('.');
  const std::string_view segment = platform::Head(path, dot);
  for (const Field& field : fields) {
    FieldRef ref;
    if (!MatchSegment(field, segment, base, &ref)) continue;
    if (dot == std::string_view::npos) return ref;
    // Going down needs one block, not a whole array of them.
    if (ref.block == nullptr || ref.count != 0) return {};
    return FindIn(*ref.block, platform::From(path, dot + 1), ref.offset);
  }
  return {};
}

constexpr FieldRef FindIn(const Layout& layout, std::string_view path, std::uint32_t base) {
  // "Type3.OsdStartX" names a field of one alternative explicitly.
  const std::size_t dot = path.find('.');
  if (dot != std::string_view::npos) {
    for (const Alternative& alternative : layout.alternatives) {
      if (platform::Head(path, dot) == alternative.name)
        return FindInFields(alternative.fields, platform::From(path, dot + 1), base);
    }
  }
  FieldRef ref = FindInFields(layout.fields, path, base);
  for (const Alternative& alternative : layout.alternatives) {
    if (ref.found()) break;
    ref = FindInFields(alternative.fields, path, base);
  }
  return ref;
}

}  // namespace layout_detail

// Resolves a dotted path; the result is not found() when the path names no
// field. Alternatives are searched after the common fields, in their order;
// a path may also start with an alternative's name ("Type3.OsdStartX").
constexpr FieldRef FindField(const Layout& layout, std::string_view path) {
  return layout_detail::FindIn(layout, path, 0);
}

// Never defined: reaching it in a constant evaluation stops the build, so a
// handler that names a field its record lacks does not compile.
void NoSuchFieldInLayout();

consteval FieldRef MustFind(const Layout& layout, std::string_view path) {
  const FieldRef ref = FindField(layout, path);
  if (!ref.found()) NoSuchFieldInLayout();
  return ref;
}

}  // namespace config
