// PtzConf.bin (root): the PTZ line settings and model, then per module the
// installation flag and base address and per port 256 preset names.
#pragma once

#include "config/record_layout.h"

namespace config {

inline constexpr std::uint32_t kPtzPresetCount = 256;

inline constexpr Field kPtzPortBlockFields[] = {
    Raw("Rsv0", 0, 4).Reserved(),
    Char("PresetName", 4, 64).Times(kPtzPresetCount, 64),
    Raw("Rsv16388", 16388, 32).Reserved(),
};
inline constexpr Layout kPtzPortBlock{"PtzPortBlock", 16420, kPtzPortBlockFields};

inline constexpr Field kPtzModuleBlockFields[] = {
    U32("PtzBaseAddr", 0),
    U32("PtzInstFlag", 4),
    Blocks("Port", 8, kPtzPortBlock, 4),
};
inline constexpr Layout kPtzModuleBlock{"PtzModuleBlock", 65688, kPtzModuleBlockFields};

// PtzDeviceId 0xFFFF: no PTZ device. PtzBaudRateIdx and PtzLineMode 0xFF:
// take the model's default.
inline constexpr Field kPtzConfFields[] = {
    Raw("Rsv0", 0, 3).Reserved(), U8("PtzCtlMode", 3),  U16("PtzDeviceId", 4),
    U8("PtzBaudRateIdx", 6),      U8("PtzLineMode", 7), Blocks("Module", 8, kPtzModuleBlock, 4),
};
inline constexpr Layout kPtzConf{"PtzConf", 262760, kPtzConfFields};

}  // namespace config
