// Applying form fields to a record through its layout: the common step of
// the buffer, PTZ and sensor handlers. A field is applied only when its value
// was read whole and is not empty.
#pragma once

#include <cstdint>
#include <span>

#include "config/record_layout.h"

// Reads a form field as a number (StrToNum); false when not given.
bool ReadFormNumber(const char* form_name, uint32_t* value);

// The NxCgiVer test: given, and its low 16 bits 0 or 1.
bool FormVersionOk();

// Stores the number of the form field at the field, cut to its width.
void ApplyFormNumber(std::span<uint8_t> record, const config::FieldRef& field, const char* form_name);

// A heap working copy of a record, released when it goes out of scope.
class WorkingCopy {
 public:
  explicit WorkingCopy(std::span<const uint8_t> image);
  ~WorkingCopy();
  WorkingCopy(const WorkingCopy&) = delete;
  WorkingCopy& operator=(const WorkingCopy&) = delete;

  bool ok() const { return bytes_ != nullptr; }
  std::span<uint8_t> bytes() { return {bytes_, size_}; }
  // Copies the edited record back over the image.
  void StoreInto(std::span<uint8_t> image) const;

 private:
  uint8_t* bytes_;
  std::size_t size_;
};
