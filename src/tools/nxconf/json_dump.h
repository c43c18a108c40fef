// Every field of a loaded file as JSON. Object keys are the path segments
// that `nxconf set` takes: .fields.Port2.Cond1.SMon is Port2.Cond1.SMon.
#pragma once

#include <string>

#include "tools/nxconf/record_access.h"

namespace nxconf {

std::string DumpJson(const LoadedFile& file);

}  // namespace nxconf
