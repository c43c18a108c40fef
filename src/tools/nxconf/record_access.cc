#include "tools/nxconf/record_access.h"

#include <arpa/inet.h>

#include <cinttypes>
#include <cstdlib>
#include <string>

#include "config/catalogue.h"
#include "config/field_access.h"
#include "platform/numbers.h"
#include "tools/nxconf/tool_error.h"

namespace nxconf {
namespace {

std::string BaseName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::vector<RecordSpan> SplitCatalogue(const LoadedFile& file) {
  const config::Layout& layout = *file.type->layout;
  const std::uint32_t total = static_cast<std::uint32_t>(file.bytes.size());
  if (total == 0)
    Die("%s: empty file, %.*s needs records", file.path.c_str(), int(layout.name.size()), layout.name.data());
  // Every record but the last is at least its fixed part long.
  std::vector<config::CatalogueRecord> found(total / layout.size + 1);
  const config::CatalogueWalk walk =
      config::WalkCatalogue(file.bytes, config::ShapeOf(layout), layout.size, found);
  const auto stop = static_cast<std::uint32_t>(walk.stop_offset);
  switch (walk.end) {
    case config::CatalogueEnd::kCutShort:
      Die("%s: record %d at offset %u is cut short: %u bytes, its fixed part needs %u", file.path.c_str(),
          walk.count, stop, total - stop, layout.size);
    case config::CatalogueEnd::kSizeTooSmall: {
      const config::CatalogueRecord& last = found[walk.count - 1];
      Die("%s: record %d at offset %u has size %u, less than its fixed part (%u)", file.path.c_str(),
          walk.count - 1, last.offset, last.size, layout.size);
    }
    case config::CatalogueEnd::kWhole:
    case config::CatalogueEnd::kFull:
      break;
  }
  // The last record's size may reach past the end; its data is cut there.
  std::vector<RecordSpan> records;
  for (int i = 0; i < walk.count; ++i) records.push_back({found[i].offset, found[i].present});
  return records;
}

bool ParseUnsigned(std::string_view text, std::uint64_t* value) {
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    base = 16;
    text.remove_prefix(2);
  }
  if (text.empty() || text.size() > 20) return false;
  std::uint64_t result = 0;
  for (char c : text) {
    const int digit = platform::HexDigitValue(c);
    if (digit < 0 || digit >= base) return false;
    if (result > (UINT64_MAX - digit) / base) return false;
    result = result * base + digit;
  }
  *value = result;
  return true;
}

}  // namespace

const config::KnownFile& DetectType(const std::string& path, const std::string& forced_type) {
  if (!forced_type.empty()) {
    const config::KnownFile* file = config::FindKnownFile(forced_type);
    if (file == nullptr) Die("unknown type '%s'", forced_type.c_str());
    return *file;
  }
  const config::KnownFile* file = config::FindKnownFile(BaseName(path));
  if (file == nullptr) Die("%s: unknown file name; name the type with --type", path.c_str());
  return *file;
}

LoadedFile LoadKnownFile(const std::string& path, const std::string& forced_type) {
  LoadedFile file;
  file.path = path;
  file.type = &DetectType(path, forced_type);
  file.bytes = ReadFileBytes(path);
  const config::Layout& layout = *file.type->layout;
  if (file.type->kind == config::FileKind::kCatalogue) {
    file.records = SplitCatalogue(file);
  } else {
    if (file.bytes.size() < layout.size) {
      Die("%s: short file: %zu bytes, %.*s needs %u", path.c_str(), file.bytes.size(),
          int(layout.name.size()), layout.name.data(), layout.size);
    }
    file.records.push_back({0, layout.size});
  }
  return file;
}

config::FieldRef ResolveField(const LoadedFile& file, std::string_view path) {
  const config::Layout& layout = *file.type->layout;
  std::uint32_t base = 0;
  std::string_view inner = path;
  if (file.type->kind == config::FileKind::kCatalogue) {
    const std::size_t dot = path.find('.');
    const std::string_view head = path.substr(0, dot);
    std::uint64_t index = 0;
    if (dot == std::string_view::npos || !head.starts_with("Record") ||
        !ParseUnsigned(head.substr(6), &index) || head.substr(6).starts_with("0x")) {
      Die("%s: unknown field '%.*s' (catalogue fields are Record<n>.<field>)", file.path.c_str(),
          int(path.size()), path.data());
    }
    if (index >= file.records.size()) {
      Die("%s: unknown field '%.*s': the catalogue has %zu records", file.path.c_str(), int(path.size()),
          path.data(), file.records.size());
    }
    base = file.records[index].offset;
    inner = path.substr(dot + 1);
  }
  config::FieldRef ref = config::FindField(layout, inner);
  if (!ref.found()) Die("%s: unknown field '%.*s'", file.path.c_str(), int(path.size()), path.data());
  ref.offset += base;
  return ref;
}

void StoreValue(std::span<std::uint8_t> bytes, const config::FieldRef& ref, std::string_view path,
                std::string_view value, const char* where) {
  const std::string name(path);
  const std::string text(value);
  if (ref.count != 0) Die("%s: %s is an array of %u; name one element", where, name.c_str(), ref.count);
  switch (ref.type) {
    case config::FieldType::kU8:
    case config::FieldType::kU16:
    case config::FieldType::kU32: {
      const std::uint64_t max = ref.type == config::FieldType::kU8    ? 0xFF
                                : ref.type == config::FieldType::kU16 ? 0xFFFF
                                                                      : 0xFFFFFFFF;
      std::uint64_t number = 0;
      if (!ParseUnsigned(value, &number) || number > max) {
        Die("%s: value '%s' does not fit %s (%.*s, 0..%" PRIu64 ")", where, text.c_str(), name.c_str(),
            int(config::TypeName(ref.type).size()), config::TypeName(ref.type).data(), max);
      }
      config::StoreNumber(bytes, ref, static_cast<std::int64_t>(number));
      return;
    }
    case config::FieldType::kI32: {
      std::string_view digits = value;
      const bool negative = digits.starts_with('-');
      if (negative) digits.remove_prefix(1);
      std::uint64_t magnitude = 0;
      if (!ParseUnsigned(digits, &magnitude) || magnitude > (negative ? 0x80000000ULL : 0x7FFFFFFFULL)) {
        Die("%s: value '%s' does not fit %s (i32, -2147483648..2147483647)", where, text.c_str(),
            name.c_str());
      }
      const std::int64_t number =
          negative ? -static_cast<std::int64_t>(magnitude) : static_cast<std::int64_t>(magnitude);
      config::StoreNumber(bytes, ref, number);
      return;
    }
    case config::FieldType::kChar:
      if (!platform::StoreTextPadded(bytes, ref.offset, ref.width, value)) {
        Die("%s: text of %zu characters does not fit %s (char[%u], at most %u)", where, value.size(),
            name.c_str(), ref.width, ref.width - 1);
      }
      return;
    case config::FieldType::kRaw: {
      if (value.size() != 2 * ref.width) {
        Die("%s: value '%s' does not fit %s (raw, %u bytes as %u hex digits)", where, text.c_str(),
            name.c_str(), ref.width, 2 * ref.width);
      }
      std::vector<std::uint8_t> raw(ref.width);
      for (std::uint32_t i = 0; i < ref.width; ++i) {
        const int high = platform::HexDigitValue(value[2 * i]);
        const int low = platform::HexDigitValue(value[2 * i + 1]);
        if (high < 0 || low < 0) {
          Die("%s: value '%s' does not fit %s (raw, hex digits only)", where, text.c_str(), name.c_str());
        }
        raw[i] = static_cast<std::uint8_t>(high << 4 | low);
      }
      std::copy(raw.begin(), raw.end(), bytes.begin() + ref.offset);
      return;
    }
    case config::FieldType::kIpv4: {
      in_addr address;
      if (inet_pton(AF_INET, text.c_str(), &address) != 1) {
        Die("%s: value '%s' does not fit %s (ipv4, a dotted address)", where, text.c_str(), name.c_str());
      }
      const auto* octets = reinterpret_cast<const std::uint8_t*>(&address.s_addr);
      std::copy(octets, octets + 4, bytes.begin() + ref.offset);
      return;
    }
    case config::FieldType::kBlock:
      Die("%s: %s is a block; name one of its fields", where, name.c_str());
  }
}

}  // namespace nxconf
