#include "tools/nxconf/json_dump.h"

#include <cinttypes>
#include <cstdio>

#include "config/field_access.h"
#include "platform/le_bytes.h"

namespace nxconf {
namespace {

class JsonWriter {
 public:
  explicit JsonWriter(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::string& out() { return out_; }

  void Indent(int depth) { out_.append(static_cast<std::size_t>(depth) * 2, ' '); }

  void Key(int depth, std::string_view key, bool* first) {
    out_ += *first ? "\n" : ",\n";
    *first = false;
    Indent(depth);
    String(key);
    out_ += ": ";
  }

  void String(std::string_view text) {
    out_ += '"';
    for (unsigned char c : text) {
      if (c == '"' || c == '\\') {
        out_ += '\\';
        out_ += static_cast<char>(c);
      } else if (c < 0x20 || c >= 0x7F) {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x", c);
        out_ += escape;
      } else {
        out_ += static_cast<char>(c);
      }
    }
    out_ += '"';
  }

  void Hex(std::uint32_t offset, std::uint32_t width) {
    out_ += '"';
    for (std::uint32_t i = 0; i < width; ++i) {
      char digits[4];
      std::snprintf(digits, sizeof digits, "%02x", bytes_[offset + i]);
      out_ += digits;
    }
    out_ += '"';
  }

  void Number(std::int64_t value) { out_ += std::to_string(value); }

  void Value(const config::Field& field, std::uint32_t at) {
    config::FieldRef ref;
    ref.offset = at;
    ref.type = field.type;
    ref.width = field.width;
    switch (field.type) {
      case config::FieldType::kU8:
      case config::FieldType::kU16:
      case config::FieldType::kU32:
      case config::FieldType::kI32:
        Number(config::LoadNumber(bytes_, ref));
        break;
      case config::FieldType::kChar:
        String(config::LoadText(bytes_, ref));
        break;
      case config::FieldType::kIpv4: {
        char text[20];
        std::snprintf(text, sizeof text, "%u.%u.%u.%u", bytes_[at], bytes_[at + 1], bytes_[at + 2],
                      bytes_[at + 3]);
        String(text);
        break;
      }
      case config::FieldType::kRaw:
      case config::FieldType::kBlock:
        Hex(at, field.width);
        break;
    }
  }

  void Fields(std::span<const config::Field> fields, std::uint32_t base, int depth, bool* first) {
    for (const config::Field& field : fields) {
      for (std::uint32_t i = 0; i < field.elements(); ++i) {
        std::string key(field.name);
        if (field.indexed()) key += std::to_string(field.first_index + i);
        Key(depth, key, first);
        const std::uint32_t at = base + field.ElementOffset(i);
        if (field.type == config::FieldType::kBlock) {
          Object(*field.block, at, depth);
        } else {
          Value(field, at);
        }
      }
    }
  }

  // The layout's fields as one object; alternatives follow under their names.
  void Object(const config::Layout& layout, std::uint32_t base, int depth) {
    out_ += '{';
    bool first = true;
    Fields(layout.fields, base, depth + 1, &first);
    for (const config::Alternative& alternative : layout.alternatives) {
      Key(depth + 1, alternative.name, &first);
      out_ += '{';
      bool inner_first = true;
      Key(depth + 2, "when", &inner_first);
      String(alternative.when);
      Fields(alternative.fields, base, depth + 2, &inner_first);
      out_ += '\n';
      Indent(depth + 1);
      out_ += '}';
    }
    out_ += '\n';
    Indent(depth);
    out_ += '}';
  }

 private:
  std::span<const std::uint8_t> bytes_;
  std::string out_;
};

}  // namespace

std::string DumpJson(const LoadedFile& file) {
  JsonWriter json(file.bytes);
  std::string& out = json.out();
  const config::Layout& layout = *file.type->layout;
  bool first = true;
  out += '{';
  json.Key(1, "file", &first);
  json.String(file.path);
  json.Key(1, "type", &first);
  json.String(layout.name);
  json.Key(1, "size", &first);
  json.Number(static_cast<std::int64_t>(file.bytes.size()));
  if (file.type->kind == config::FileKind::kRecord) {
    json.Key(1, "record_size", &first);
    json.Number(layout.size);
    json.Key(1, "fields", &first);
    json.Object(layout, 0, 1);
    if (file.bytes.size() > layout.size) {
      json.Key(1, "extra_bytes", &first);
      json.Number(static_cast<std::int64_t>(file.bytes.size() - layout.size));
    }
  } else {
    json.Key(1, "records", &first);
    out += '[';
    for (std::size_t r = 0; r < file.records.size(); ++r) {
      const RecordSpan& record = file.records[r];
      out += r == 0 ? "\n" : ",\n";
      json.Indent(2);
      out += '{';
      bool record_first = true;
      json.Key(3, "record", &record_first);
      json.Number(static_cast<std::int64_t>(r));
      json.Key(3, "offset", &record_first);
      json.Number(record.offset);
      json.Key(3, "size", &record_first);
      json.Number(record.size);
      json.Key(3, "fields", &record_first);
      json.Object(layout, record.offset, 3);
      json.Key(3, "data", &record_first);
      json.Hex(record.offset + layout.size, record.size - layout.size);
      out += '\n';
      json.Indent(2);
      out += '}';
    }
    out += "\n  ]";
  }
  out += "\n}\n";
  return out;
}

}  // namespace nxconf
