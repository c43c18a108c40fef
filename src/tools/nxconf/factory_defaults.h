// Factory contents of the fixed-size records: zero bytes, the fixed values
// of the layouts (the condition records' 0xFF bytes and words), then the
// default rows below, applied to every instance of their layout (a SvcCond
// row reaches every condition record of every entry). docs/factory-defaults.md
// lists the same rows for people.
#pragma once

#include <span>
#include <string_view>

#include "config/record_layout.h"
#include "tools/nxconf/file_bytes.h"

namespace nxconf {

struct DefaultRow {
  const config::Layout* layout;
  std::string_view path;
  std::string_view value;  // as `nxconf set` takes it
};

std::span<const DefaultRow> FactoryDefaultRows();

// A record of the layout with every factory value applied.
Bytes DefaultRecord(const config::Layout& layout);

}  // namespace nxconf
