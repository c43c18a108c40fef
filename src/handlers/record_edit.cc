#include "handlers/record_edit.h"

#include <cstdlib>
#include <cstring>

#include "cgi/form_fields.h"
#include "config/field_access.h"

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
