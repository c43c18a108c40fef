// Whole files as byte vectors. nxconf's FILE arguments are host paths: the
// tool clears NXCGI_ROOT for dump and set so that the platform layer leaves
// them alone.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace nxconf {

using Bytes = std::vector<std::uint8_t>;

// The file's bytes; dies with a one-line message when it can't be read.
Bytes ReadFileBytes(const std::string& path);

// Rewrites the file through the platform's configuration writer; dies on
// failure.
void WriteFileBytes(const std::string& path, const Bytes& bytes);

}  // namespace nxconf
