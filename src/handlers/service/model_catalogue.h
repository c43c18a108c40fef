// Walks a model catalogue (PtzModel.bin, SensorModel.bin): variable-length
// records, each starting with a fixed part and telling its own size. A
// catalogue is untrusted input: a size of 0 or smaller than the fixed part
// ends the walk, and so does a size that reaches the end of the bytes read,
// after counting the record whose fixed part is whole.
#pragma once

#include <cstdint>
#include <span>

inline constexpr int kMaxCatalogueModels = 128;

struct ModelCatalogue {
  int count = 0;
  uint32_t offsets[kMaxCatalogueModels] = {};  // start of each model's record
};

// bytes: what was read; fixed_size: the fixed part of a record;
// size_offset: where a record keeps its size.
ModelCatalogue WalkCatalogue(std::span<const uint8_t> bytes, uint32_t fixed_size, uint32_t size_offset);

// Reads a catalogue from the configuration root, or from the factory copy
// below the web root when the root's copy is missing or its size is not in
// [min_size, capacity). Returns the count read, -1 when neither opens.
int ReadCatalogue(const char* file_name, const char* factory_path, uint8_t* buffer, int capacity,
                  int min_size);
