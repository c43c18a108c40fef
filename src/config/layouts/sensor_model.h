// The fixed part of one record of the sensor model catalogue SensorModel.bin.
// Records follow each other by RecordSize; the variable fields follow the
// fixed part, their lengths in VarLength0..15 in field order. The address
// words (VarAddr0..16) and NextLink are filled in memory by the readers.
#pragma once

#include "config/record_layout.h"

namespace config {

inline constexpr std::uint32_t kSensorVarFieldCount = 16;

inline constexpr Field kSensorModelFields[] = {
    U32("RecordSize", 0),
    U32("NextLink", 4),
    Raw("Rsv8", 8, 32).Reserved(),
    U32("ModelType", 40),
    Raw("Rsv44", 44, 20).Reserved(),
    U32("VarLength", 64).From(0),
    U32("VarAddr", 68).Times(9, 4),
    U32("VarLength", 104).Times(8, 4).From(1),
    Raw("Rsv136", 136, 36).Reserved(),
    U32("VarAddr", 172).Times(8, 4).From(9),
    U32("VarLength", 204).Times(7, 4).From(9),
    Raw("Rsv232", 232, 56).Reserved(),
};
inline constexpr Layout kSensorModel{"SensorModel", 288, kSensorModelFields};

// Largest catalogue the readers take.
inline constexpr std::uint32_t kSensorModelFileLimit = 6080;

}  // namespace config
