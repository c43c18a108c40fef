// A known binary file in memory: its type, its records (one, or each record
// of a catalogue), and fields addressed by dotted paths ("Port2.ImageCount";
// in a catalogue "Record1.DefaultBaud").
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "config/layouts/known_files.h"
#include "config/record_layout.h"
#include "tools/nxconf/file_bytes.h"

namespace nxconf {

struct RecordSpan {
  std::uint32_t offset;
  std::uint32_t size;  // the whole record (catalogues: fixed part plus data)
};

struct LoadedFile {
  std::string path;
  const config::KnownFile* type = nullptr;
  Bytes bytes;
  std::vector<RecordSpan> records;
};

// The file's type from --type (a file or layout name) or from its name.
const config::KnownFile& DetectType(const std::string& path, const std::string& forced_type);

// Reads the file and splits it into records; dies on a short or malformed file.
LoadedFile LoadKnownFile(const std::string& path, const std::string& forced_type);

// A field resolved inside the whole file: ref.offset is absolute.
config::FieldRef ResolveField(const LoadedFile& file, std::string_view path);

// Parses a value for the field and stores it; dies (file untouched on disk)
// when it does not fit. Texts are stored with the rest of the field zeroed.
// `where` names the file in messages.
void StoreValue(std::span<std::uint8_t> bytes, const config::FieldRef& ref, std::string_view path,
                std::string_view value, const char* where);

}  // namespace nxconf
