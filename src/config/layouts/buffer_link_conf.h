// The small buffer and link files: ImgBufConf.bin (per module: pre-buffer
// depth and pause of each port), RdskBuffConf.bin (root: keep ratios of four
// buffers) and DialUpConf.bin (root: the dial-up link's medium).
#pragma once

#include "config/record_layout.h"

namespace config {

inline constexpr Field kImgBufConfFields[] = {
    U32("Rsv0", 0).Reserved(),
    U32("BuffDepth", 4).Times(4, 8),
    U32("PauseTime", 8).Times(4, 8),
};
inline constexpr Layout kImgBufConf{"ImgBufConf", 36, kImgBufConfFields};

// The second and third tables are cleared whenever a ratio changes.
inline constexpr Field kRdskBuffConfFields[] = {
    I32("KeepPerTempRatio", 0).Times(4, 4),
    U32("SecondTable", 16).Times(4, 4),
    U32("ThirdTable", 32).Times(4, 4),
};
inline constexpr Layout kRdskBuffConf{"RdskBuffConf", 48, kRdskBuffConfFields};

inline constexpr Field kDialUpConfFields[] = {
    U32("Rsv0", 0).Reserved(),
    U32("MediaType", 4),
};
inline constexpr Layout kDialUpConf{"DialUpConf", 8, kDialUpConfFields};

}  // namespace config
