// The one function through which every configuration file (binary and text)
// is written, so that how files are replaced on storage is decided in one
// place.
#pragma once

#include <cstddef>

namespace platform {

enum class WriteStatus {
  kOk,
  kOpenFailed,   // the file could not be created or truncated; errno is kept
  kWriteFailed,  // nothing, or less than asked, reached the file
};

// Creates or truncates the file at the device path (mapped below the host
// root) with mode 0666 less the umask and writes the bytes. On kOpenFailed
// errno tells why.
WriteStatus WriteConfigFile(const char* device_path, const void* bytes, std::size_t size);

}  // namespace platform
