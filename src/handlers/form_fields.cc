#include "handlers/form_fields.h"

#include <cstdlib>
#include <cstring>

#include "cgi/cgi_request.h"
#include "config/field_access.h"
#include "front/nx_cgi_util.h"

namespace {
constexpr int kFieldSize = 128;
}  // namespace

bool ReadGivenField(const char* name, std::span<char> buffer) {
  return CgiGetField(name, buffer.data(), static_cast<int>(buffer.size())) == CGI_FIELD_OK;
}

uint16_t VersionOf(const char* text) { return static_cast<uint16_t>(StrToNum(text)); }

bool ReadFormNumber(const char* form_name, uint32_t* value) {
  char text[kFieldSize];
  if (CgiGetField(form_name, text, sizeof text) != CGI_FIELD_OK) return false;
  *value = static_cast<uint32_t>(StrToNum(text));
  return true;
}

bool FormVersionOk() {
  uint32_t version = 0;
  return ReadFormNumber("NxCgiVer", &version) && (version & 0xffff) <= 1;
}

void ApplyFormNumber(std::span<uint8_t> record, const config::FieldRef& field, const char* form_name) {
  uint32_t value = 0;
  if (ReadFormNumber(form_name, &value)) config::StoreNumber(record, field, value);
}

WorkingCopy::WorkingCopy(std::span<const uint8_t> image)
    : bytes_(static_cast<uint8_t*>(std::malloc(image.size()))), size_(image.size()) {
  if (bytes_ != nullptr) std::memcpy(bytes_, image.data(), size_);
}

WorkingCopy::~WorkingCopy() { std::free(bytes_); }

void WorkingCopy::StoreInto(std::span<uint8_t> image) const { std::memcpy(image.data(), bytes_, size_); }
