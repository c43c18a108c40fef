// MailConf.bin (service 0): mail server and recipients in the header, then
// four port entries with the message texts and image counts.
#pragma once

#include "config/layouts/svc_cond.h"
#include "config/record_layout.h"

namespace config {

inline constexpr Field kMailPortEntryFields[] = {
    Char("Subject", 0, 64),
    Char("TextMessage", 64, 64).Times(4, 68),
    U8("ValueCatType", 128).Times(4, 68),
    Raw("Pad129", 129, 3).Padding(),
    Raw("Pad197", 197, 3).Padding(),
    Raw("Pad265", 265, 3).Padding(),
    Raw("Pad333", 333, 3).Padding(),
    U32("QueueCount", 336),
    U32("ImageCount", 340),
    U32("PauseTime", 344),
    Blocks("Cond", 348, kSvcCond, kSvcCondCount),
};
inline constexpr Layout kMailPortEntry{"MailPortEntry", 1044, kMailPortEntryFields};

inline constexpr Field kMailConfFields[] = {
    U32("Rsv0", 0).Reserved(),
    U32("EnableSvc", 4),
    Char("SmtpServer", 8, 64),
    U8("AuthLogin", 72),
    Raw("Pad73", 73, 1).Padding(),
    U16("SmtpPort", 74),
    Char("UserId", 76, 32),
    Char("PassWd", 108, 32),
    Char("Sender", 140, 64),
    Char("Recipient", 204, 64).Times(3, 64),
    Blocks("Port", 396, kMailPortEntry, 4),
};
inline constexpr Layout kMailConf{"MailConf", 4572, kMailConfFields};

}  // namespace config
