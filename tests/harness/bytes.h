// Byte images of binary configuration files for tests: a recognisable
// pattern to start from, little-endian and string patches, and a readable
// difference when two images disagree.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace harness {

using Bytes = std::string;

// size bytes whose values follow a pattern that no field write produces by
// chance, so an unexpected change of any byte shows.
Bytes PatternBytes(std::size_t size, unsigned seed = 0);

void PutU8(Bytes& bytes, std::size_t offset, uint8_t value);
void PutU16(Bytes& bytes, std::size_t offset, uint16_t value);
void PutU32(Bytes& bytes, std::size_t offset, uint32_t value);
// The text and its terminating NUL; the bytes after it stay.
void PutString(Bytes& bytes, std::size_t offset, std::string_view text);
void PutZeros(Bytes& bytes, std::size_t offset, std::size_t count);

uint32_t GetU32(const Bytes& bytes, std::size_t offset);
uint16_t GetU16(const Bytes& bytes, std::size_t offset);

// "" when equal, else the sizes and the first differing ranges.
std::string DescribeDifference(const Bytes& expected, const Bytes& actual);

}  // namespace harness
