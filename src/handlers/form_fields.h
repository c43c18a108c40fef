// Form reads shared by the handlers, and applying form fields to a record
// through its layout. A field counts as given only when it is present, not
// empty and not cut short.
#pragma once

#include <cstdint>
#include <span>

#include "config/record_layout.h"

// Reads a field into the buffer; true only when it was given: present, not
// empty and not cut short.
bool ReadGivenField(const char* name, std::span<char> buffer);

// The interface version is accepted when the low 16 bits of its number are
// 0 or 1.
uint16_t VersionOf(const char* text);
inline bool IsAcceptedVersion(uint16_t version) { return version <= 1; }

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
