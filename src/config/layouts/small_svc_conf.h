// The service records with small headers: nTimeConf.bin (3), ImgHoldConf.bin
// (4), DOutSvcConf.bin (5), AoipConf.bin (7) and CallConf.bin (8). nTime,
// AoIP and call have one condition table of their own instead of port
// entries.
#pragma once

#include "config/layouts/svc_cond.h"
#include "config/record_layout.h"

namespace config {

// The nTime header belongs wholly to its daemon: no handler writes it.
inline constexpr Field kNTimeConfFields[] = {
    U32("Rsv0", 0).Reserved(),
    U32("EnableSvc", 4).Reserved(),
    Raw("Rsv8", 8, 68).Reserved(),
    Blocks("Cond", 76, kSvcCond, kSvcCondCount),
};
inline constexpr Layout kNTimeConf{"nTimeConf", 772, kNTimeConfFields};

inline constexpr Field kImgHoldPortEntryFields[] = {
    U32("QueueCount", 0),
    U32("ImageCount", 4),
    U32("PauseTime", 8),
    Blocks("Cond", 12, kSvcCond, kSvcCondCount),
};
inline constexpr Layout kImgHoldPortEntry{"ImgHoldPortEntry", 708, kImgHoldPortEntryFields};

inline constexpr Field kImgHoldConfFields[] = {
    U32("Rsv0", 0).Reserved(),
    U32("EnableSvc", 4),
    Blocks("Port", 8, kImgHoldPortEntry, 4),
};
inline constexpr Layout kImgHoldConf{"ImgHoldConf", 2840, kImgHoldConfFields};

inline constexpr Field kDOutPortEntryFields[] = {
    U32("DoDuration", 0),
    Blocks("Cond", 4, kSvcCond, kSvcCondCount),
};
inline constexpr Layout kDOutPortEntry{"DOutPortEntry", 700, kDOutPortEntryFields};

inline constexpr Field kDOutSvcConfFields[] = {
    U32("Rsv0", 0).Reserved(),
    U32("EnableSvc", 4),
    Blocks("Port", 8, kDOutPortEntry, 4),
};
inline constexpr Layout kDOutSvcConf{"DOutSvcConf", 2808, kDOutSvcConfFields};

inline constexpr Field kAoipConfFields[] = {
    U32("Rsv0", 0).Reserved(), U32("EnableSvc", 4), Char("Server", 8, 64),
    U32("RegisterId", 72),     U32("HttpAoip", 76), U32("NvcpAoip", 80),
    U32("VdcpAoip", 84),       U32("ReseAoip", 88), Blocks("Cond", 92, kSvcCond, kSvcCondCount),
};
inline constexpr Layout kAoipConf{"AoipConf", 788, kAoipConfFields};

inline constexpr Field kCallConfFields[] = {
    U32("Rsv0", 0).Reserved(),
    U32("EnableSvc", 4),
    Blocks("Cond", 8, kSvcCond, kSvcCondCount),
};
inline constexpr Layout kCallConf{"CallConf", 704, kCallConfFields};

}  // namespace config
