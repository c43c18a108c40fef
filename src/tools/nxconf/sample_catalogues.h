// Sample model catalogues for development devices and tests: PTZ models with
// different default baud rates (one of them, 14400, not in the PTZ baud-rate
// table) and sensor models of every type 0 to 4.
#pragma once

#include "tools/nxconf/file_bytes.h"

namespace nxconf {

Bytes SamplePtzModelCatalogue();
Bytes SampleSensorModelCatalogue();

}  // namespace nxconf
