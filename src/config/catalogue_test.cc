// The one walk of a model catalogue, over untrusted bytes: records whose
// fixed part is 8 bytes, with their size word at offset 4. The handlers'
// rows in tests/cases walk real catalogues up to their limits: records read
// just as far as needed or one byte less, sizes below the fixed part.
#include "config/catalogue.h"

#include <gtest/gtest.h>

#include "platform/le_bytes.h"

namespace {

TEST(Catalogue, WalkStopsWhereTheBytesOrTheSizesEnd) {
  // The size words (each stored where the record before steps to), the bytes
  // read, the bytes needed of a record, the room for records; the records
  // counted as offset/size/present, how the walk ended and where.
  // clang-format off
  const std::tuple<std::vector<uint32_t>, std::size_t, uint32_t, std::size_t, std::string> rows[] = {
      {{}, 0, 8, 4, "whole@0"},
      {{8, 12}, 16, 8, 4, "0/8/8 8/12/8 whole@20"},       // the last may reach past the end
      {{8, 12}, 15, 0, 4, "0/8/8 cut@8"},                 // the size word is always needed
      {{0}, 16, 8, 4, "0/0/0 small@0"},
      {{8, 8, 8}, 24, 8, 2, "0/8/8 8/8/8 full@16"},
      {{8, 8}, 16, 8, 2, "0/8/8 8/8/8 whole@16"}};
  // clang-format on
  for (const auto& [sizes, length, needed, room, expected] : rows) {
    std::vector<uint8_t> bytes(64, 0xEE);
    for (uint32_t i = 0, at = 0; i < sizes.size(); at += sizes[i++])
      platform::StoreU32(bytes, at + 4, sizes[i]);
    std::vector<config::CatalogueRecord> records(room);
    const config::CatalogueWalk walk =
        config::WalkCatalogue(std::span(bytes).first(length), config::CatalogueShape{8, 4}, needed, records);
    std::string seen;
    for (const config::CatalogueRecord& r : std::span(records).first(walk.count))
      seen += std::to_string(r.offset) + "/" + std::to_string(r.size) + "/" + std::to_string(r.present) + " ";
    seen += std::array{"whole", "cut", "small", "full"}[static_cast<int>(walk.end)] + std::string("@");
    EXPECT_EQ(seen + std::to_string(walk.stop_offset), expected) << length << " bytes read";
  }
}

}  // namespace
