#include "config/catalogue.h"

#include <unistd.h>

#include <cstdio>

#include "config/cfg_file.h"
#include "platform/host_root.h"
#include "platform/le_bytes.h"
#include "platform/regular_file.h"

namespace config {

CatalogueWalk WalkCatalogue(std::span<const std::uint8_t> bytes, CatalogueShape shape, std::uint32_t needed,
                            std::span<CatalogueRecord> records) {
  if (needed < shape.size_offset + 4) needed = shape.size_offset + 4;
  CatalogueWalk walk;
  std::uint64_t offset = 0;
  while (offset < bytes.size()) {
    walk.stop_offset = offset;
    if (static_cast<std::size_t>(walk.count) == records.size()) {
      walk.end = CatalogueEnd::kFull;
      return walk;
    }
    const std::uint64_t left = bytes.size() - offset;
    if (left < needed) {
      walk.end = CatalogueEnd::kCutShort;
      return walk;
    }
    const std::uint32_t size = platform::LoadU32(bytes, offset + shape.size_offset);
    records[walk.count++] = {static_cast<std::uint32_t>(offset), size,
                             static_cast<std::uint32_t>(size < left ? size : left)};
    if (size < shape.fixed_size) {
      walk.end = CatalogueEnd::kSizeTooSmall;
      walk.stop_offset = offset + size;
      return walk;
    }
    offset += size;
  }
  walk.stop_offset = offset;
  walk.end = CatalogueEnd::kWhole;
  return walk;
}

int ReadCatalogue(const char* file_name, const char* factory_path, std::uint8_t* buffer, int capacity,
                  int min_size) {
  const int count = CfgFileRead(kCfgRootModule, file_name, {buffer, static_cast<std::size_t>(capacity)});
  if (count >= min_size && count < capacity) return count;
  const platform::HostPath path = platform::MapPath(factory_path);
  const int fd = platform::OpenRegularFile(path.c_str());
  std::FILE* factory = fd >= 0 ? fdopen(fd, "rb") : nullptr;
  if (factory == nullptr) {
    if (fd >= 0) close(fd);
    return -1;
  }
  const std::size_t got = std::fread(buffer, 1, static_cast<std::size_t>(capacity), factory);
  const bool failed = std::ferror(factory) != 0;
  std::fclose(factory);
  return failed ? -1 : static_cast<int>(got);
}

}  // namespace config
