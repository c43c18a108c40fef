// SensorConf.bin (root): the external sensor's settings. Bytes 8..19 hold one
// of several field sets; the type of the selected catalogue model decides
// which (type 0 or no model, 1, 3, 4; type 2 and others take none).
#pragma once

#include "config/record_layout.h"

namespace config {

inline constexpr Field kSensorType0Fields[] = {
    U32("SnsAimPosition", 8),
    U32("CamAimPosition", 12),
    U32("AddVehicleLeng", 16),
};

inline constexpr Field kSensorType1Fields[] = {
    Raw("Unused8", 8, 8).Reserved(),
    U16("LinkedModId", 16),
    U8("LinkedPortId", 18),
    Raw("Pad19", 19, 1).Padding(),
};

inline constexpr Field kSensorType2Fields[] = {
    Raw("Unused8to19", 8, 12).Reserved(),
};

inline constexpr Field kSensorType3Fields[] = {
    U32("OsdStartX", 8),    U32("OsdStartY", 12),          U16("LinkedModId", 16),
    U8("LinkedPortId", 18), Raw("Pad19", 19, 1).Padding(),
};

inline constexpr Field kSensorType4Fields[] = {
    Ipv4("RelayIpAddr", 8),
    U16("RelayTcpPort", 12),
    U16("RelayUdpPort", 14),
    Raw("Unused16", 16, 4).Reserved(),
};

inline constexpr Alternative kSensorConfAlternatives[] = {
    {"Type0", "model type 0, or no model", kSensorType0Fields},
    {"Type1", "model type 1", kSensorType1Fields},
    {"Type2", "model type 2 or above 4: no type-dependent fields", kSensorType2Fields},
    {"Type3", "model type 3", kSensorType3Fields},
    {"Type4", "model type 4", kSensorType4Fields},
};

// SnsInitStreamLen is recomputed from SnsInitStream on every save.
inline constexpr Field kSensorConfFields[] = {
    U32("Rsv0", 0).Reserved(),   I32("SensorModel", 4),          U32("LowerLimit", 20),
    U32("UpperLimit", 24),       U32("EnableDelay", 28),         U32("ProcessDelay", 32),
    U32("SnsInitStreamLen", 36), Char("SnsInitStream", 40, 120),
};
inline constexpr Layout kSensorConf{"SensorConf", 160, kSensorConfFields, kSensorConfAlternatives};

}  // namespace config
