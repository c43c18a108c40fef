// SvcCond: the 232-byte condition record. Every service entry ends in a
// table of three (Cond0..2): the date and time window, the weekdays and the
// input edges and levels on which the service acts. Times are signed, -1
// meaning not given. The Fixed* words are written by the condition handler
// on every save; what they mean belongs to the service daemons.
#pragma once

#include "config/record_layout.h"

namespace config {

inline constexpr Field kSvcCondFields[] = {
    U32("Rsv0", 0).Reserved(),
    U32("Used", 4),
    Raw("Fixed8", 8, 3).Fixed(0xFF),
    Raw("Rsv11", 11, 1).Reserved(),
    U32("Rsv12", 12).Reserved(),
    U32("Rsv16", 16).Reserved(),
    I32("SMon", 20),
    I32("EMon", 24),
    U32("Fixed28", 28).Fixed(1),
    I32("SDay", 32),
    I32("EDay", 36),
    U32("Fixed40", 40).Fixed(0),
    I32("SHour", 44),
    I32("EHour", 48),
    U32("Fixed52", 52).Fixed(1),
    I32("SMin", 56),
    I32("EMin", 60),
    U32("Weekday", 64),
    U32("EdgeRise", 68),
    U32("Rsv72", 72).Reserved(),
    U32("EdgeFall", 76),
    U32("Rsv80", 80).Reserved(),
    U32("LevelHig", 84),
    U32("LevelHig_AuxEvent", 88),
    U32("LevelLow", 92),
    U32("Rsv96", 96).Reserved(),
    U8("Fixed100", 100).Fixed(0),
    Raw("Rsv101", 101, 3).Reserved(),
    Char("Desc", 104, 128),
};
inline constexpr Layout kSvcCond{"SvcCond", 232, kSvcCondFields};

// Records per condition table.
inline constexpr std::uint32_t kSvcCondCount = 3;

}  // namespace config
