// FtpSigSvcConf.bin (service 2, upload on events) and FtpDurSvcConf.bin
// (service 6, upload at intervals). The interval header has SeqModulo after
// BaseFile, so every later header field lies 4 bytes further on.
#pragma once

#include "config/layouts/svc_cond.h"
#include "config/record_layout.h"

namespace config {

inline constexpr Field kFtpSigPortEntryFields[] = {
    U32("QueueCount", 0),
    U32("ImageCount", 4),
    U32("PauseTime", 8),
    U32("ReadyTime", 12),
    Blocks("Cond", 16, kSvcCond, kSvcCondCount),
};
inline constexpr Layout kFtpSigPortEntry{"FtpSigPortEntry", 712, kFtpSigPortEntryFields};

inline constexpr Field kFtpSigSvcConfFields[] = {
    U32("Rsv0", 0).Reserved(),
    U32("EnableSvc", 4),
    Char("ServerIp", 8, 64),
    Char("User", 72, 32),
    Char("Passwd", 104, 32),
    Char("BaseDir", 136, 64),
    Char("BaseFile", 200, 10),
    Raw("Pad210", 210, 2).Padding(),
    U32("DirNameFlag", 212),
    U32("FileNameFlag", 216),
    U8("PassiveMode", 220),
    U8("DateDescMode", 221),
    U16("FtpCtrlPort", 222),
    U32("FixedPort", 224),
    Blocks("Port", 228, kFtpSigPortEntry, 4),
};
inline constexpr Layout kFtpSigSvcConf{"FtpSigSvcConf", 3076, kFtpSigSvcConfFields};

inline constexpr Field kFtpDurPortEntryFields[] = {
    U32("PauseTime", 0),
    Blocks("Cond", 4, kSvcCond, kSvcCondCount),
};
inline constexpr Layout kFtpDurPortEntry{"FtpDurPortEntry", 700, kFtpDurPortEntryFields};

inline constexpr Field kFtpDurSvcConfFields[] = {
    U32("Rsv0", 0).Reserved(), U32("EnableSvc", 4),
    Char("ServerIp", 8, 64),   Char("User", 72, 32),
    Char("Passwd", 104, 32),   Char("BaseDir", 136, 64),
    Char("BaseFile", 200, 10), Raw("Pad210", 210, 2).Padding(),
    U32("SeqModulo", 212),     U32("DirNameFlag", 216),
    U32("FileNameFlag", 220),  U8("PassiveMode", 224),
    U8("DateDescMode", 225),   U16("FtpCtrlPort", 226),
    U32("FixedPort", 228),     Blocks("Port", 232, kFtpDurPortEntry, 4),
};
inline constexpr Layout kFtpDurSvcConf{"FtpDurSvcConf", 3032, kFtpDurSvcConfFields};

}  // namespace config
