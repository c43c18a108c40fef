// Editing a binary record from a form: the heap working copy a handler edits
// before it stores the record back into its image, and form numbers applied
// to the record's fields through the layouts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "config/record_layout.h"

// Stores the number of the form field at the field, cut to its width; a
// field not given changes nothing.
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
