// Form reads shared by the device and maintenance handlers: a field counts as
// given only when it is present, not empty and not cut short.
#pragma once

#include <cstdint>
#include <span>

#include "cgi/cgi_request.h"
#include "front/nx_cgi_util.h"

namespace handlers {

inline bool ReadGivenField(const char* name, std::span<char> buffer) {
  return CgiGetField(name, buffer.data(), static_cast<int>(buffer.size())) == CGI_FIELD_OK;
}

// The interface version is accepted when the low 16 bits of its number are 0
// or 1.
inline uint16_t VersionOf(const char* text) { return static_cast<uint16_t>(StrToNum(text)); }
inline bool IsAcceptedVersion(uint16_t version) { return version <= 1; }

}  // namespace handlers
