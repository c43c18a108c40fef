// UartOutConf.bin (root): the serial output service's line settings.
// ParityBit holds a character code ('N', 'E', 'O').
#pragma once

#include "config/record_layout.h"

namespace config {

inline constexpr Field kUartOutConfFields[] = {
    U32("Rsv0", 0).Reserved(), U16("Mode485On", 4), U16("BaudRate", 6), U8("DataBit", 8),
    U8("StopBit", 9),          U8("ParityBit", 10), U8("X10Mode", 11),
};
inline constexpr Layout kUartOutConf{"UartOutConf", 12, kUartOutConfFields};

}  // namespace config
