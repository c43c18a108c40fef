#include "handlers/service/model_catalogue.h"

#include <cstdio>

#include "config/cfg_file.h"
#include "config/le_bytes.h"
#include "config/svc_cfg_file.h"
#include "platform/host_root.h"

ModelCatalogue WalkCatalogue(std::span<const uint8_t> bytes, uint32_t fixed_size, uint32_t size_offset) {
  ModelCatalogue catalogue;
  uint64_t offset = 0;
  while (catalogue.count < kMaxCatalogueModels && offset + fixed_size <= bytes.size()) {
    catalogue.offsets[catalogue.count++] = static_cast<uint32_t>(offset);
    const uint32_t size = config::LoadU32(bytes, offset + size_offset);
    if (size < fixed_size) break;
    offset += size;
  }
  return catalogue;
}

int ReadCatalogue(const char* file_name, const char* factory_path, uint8_t* buffer, int capacity,
                  int min_size) {
  const int count = CfgFileRead(kCfgRootModule, file_name, {buffer, static_cast<std::size_t>(capacity)});
  if (count >= min_size && count < capacity) return count;
  const platform::HostPath path = platform::MapPath(factory_path);
  std::FILE* factory = std::fopen(path.c_str(), "rb");
  if (factory == nullptr) return -1;
  const std::size_t got = std::fread(buffer, 1, static_cast<std::size_t>(capacity), factory);
  const bool failed = std::ferror(factory) != 0;
  std::fclose(factory);
  return failed ? -1 : static_cast<int>(got);
}
