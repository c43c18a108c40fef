// DiCgiConf.bin (service 1): the CGI notification sent on digital inputs;
// one CGI name per port.
#pragma once

#include "config/layouts/svc_cond.h"
#include "config/record_layout.h"

namespace config {

inline constexpr Field kDiCgiPortEntryFields[] = {
    Char("CgiName", 0, 256),
    Blocks("Cond", 256, kSvcCond, kSvcCondCount),
};
inline constexpr Layout kDiCgiPortEntry{"DiCgiPortEntry", 952, kDiCgiPortEntryFields};

inline constexpr Field kDiCgiConfFields[] = {
    U32("Rsv0", 0).Reserved(), U32("EnableSvc", 4),
    Char("IpAddrMain", 8, 40), Char("IpAddrAux", 48, 40).Times(3, 40).From(1),
    U32("SvcPort", 168),       U32("SvcMode", 172),
    Char("CgiPath", 176, 256), Char("User", 432, 32),
    Char("Passwd", 464, 32),   Blocks("Port", 496, kDiCgiPortEntry, 4),
};
inline constexpr Layout kDiCgiConf{"DiCgiConf", 4304, kDiCgiConfFields};

}  // namespace config
