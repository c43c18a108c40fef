// Model catalogues (PtzModel.bin, SensorModel.bin): a sequence of
// variable-length records, each a fixed part (the catalogue's layout, which
// tells the record's size in its RecordSize word) followed by the record's
// data. The one walk that numbers the records, for the handlers and for
// nxconf, and the one read of a catalogue with its factory fallback.
//
// A catalogue is untrusted input: a record whose size is below the fixed
// part ends the walk after it (a size of 0 would never step on), and the
// walk never reads past the bytes read.
#pragma once

#include <cstdint>
#include <span>

#include "config/record_layout.h"

namespace config {

// Room the handlers give a walk (more models than any catalogue file holds).
inline constexpr int kMaxCatalogueModels = 128;

// Where a catalogue's records keep what the walk needs: the size of the
// fixed part and the offset of the RecordSize word. Taken from the layout at
// compile time by the handlers, so their walk carries no layout tables.
struct CatalogueShape {
  std::uint32_t fixed_size;
  std::uint32_t size_offset;
};

constexpr CatalogueShape ShapeOf(const Layout& fixed_part) {
  return {fixed_part.size, FindField(fixed_part, "RecordSize").offset};
}

struct CatalogueRecord {
  std::uint32_t offset;   // where the record starts
  std::uint32_t size;     // as the record tells it
  std::uint32_t present;  // bytes of it that were read: less than size only for a cut last record
};

enum class CatalogueEnd : std::uint8_t {
  kWhole,         // the sizes reached the bytes read
  kCutShort,      // a further record began, but fewer bytes than needed of it were read
  kSizeTooSmall,  // the last record counted tells a size below the fixed part
  kFull,          // the room for records ran out
};

struct CatalogueWalk {
  int count = 0;
  CatalogueEnd end = CatalogueEnd::kWhole;
  std::uint64_t stop_offset = 0;  // where the first record not counted would start
};

// Numbers the records from 0, stepping by each record's size, until the sizes
// reach the bytes read; the last record's size may reach past them. A record
// counts when at least `needed` of its bytes were read (the words its reader
// takes from it; the size word is always needed). At most records.size()
// records are stored.
CatalogueWalk WalkCatalogue(std::span<const std::uint8_t> bytes, CatalogueShape shape, std::uint32_t needed,
                            std::span<CatalogueRecord> records);

// Reads a catalogue from the configuration root, or from the factory copy
// below the web root when the root's copy is missing or its size is not in
// [min_size, capacity). Returns the count read, -1 when neither opens.
int ReadCatalogue(const char* file_name, const char* factory_path, std::uint8_t* buffer, int capacity,
                  int min_size);

}  // namespace config
