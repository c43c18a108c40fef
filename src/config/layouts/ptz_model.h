// The fixed part of one record of the PTZ model catalogue PtzModel.bin. The
// catalogue is a sequence of records of RecordSize bytes each: this fixed
// part, then the variable fields that the descriptors measure, in descriptor
// order (first and second field of PairDesc0..52, then SingleDesc0..7).
// Link and address words are filled in memory by the readers; in the file
// they mean nothing.
#pragma once

#include "config/record_layout.h"

namespace config {

inline constexpr Field kPtzModelPairDescFields[] = {
    Raw("Rsv0", 0, 1).Reserved(),   U8("FirstLength", 1),
    Raw("Rsv2", 2, 2).Reserved(),   U32("FirstAddr", 4),
    Raw("Rsv8", 8, 5).Reserved(),   U8("SecondLength", 13),
    Raw("Rsv14", 14, 2).Reserved(), U32("SecondAddr", 16),
    Raw("Rsv20", 20, 4).Reserved(),
};
inline constexpr Layout kPtzModelPairDesc{"PtzModelPairDesc", 24, kPtzModelPairDescFields};

inline constexpr Field kPtzModelSingleDescFields[] = {
    Raw("Rsv0", 0, 1).Reserved(), U8("Length", 1), Raw("Rsv2", 2, 2).Reserved(), U32("Addr", 4),
    Raw("Rsv8", 8, 4).Reserved(),
};
inline constexpr Layout kPtzModelSingleDesc{"PtzModelSingleDesc", 12, kPtzModelSingleDescFields};

inline constexpr std::uint32_t kPtzModelPairDescCount = 53;
inline constexpr std::uint32_t kPtzModelSingleDescCount = 8;

// CatalogMark: in the first record it must be 1, else the catalogue counts
// as empty. ModelNumber is filled in memory (0 for the first record).
inline constexpr Field kPtzModelFields[] = {
    U32("CatalogMark", 0),
    U32("RecordSize", 4),
    U32("NextLink", 8),
    Raw("Rsv12", 12, 32).Reserved(),
    U32("ModelNumber", 44),
    I32("DefaultBaud", 48),
    Raw("Rsv52", 52, 12).Reserved(),
    U32("DefaultLineMode", 64),
    Raw("Rsv68", 68, 60).Reserved(),
    Blocks("PairDesc", 128, kPtzModelPairDesc, kPtzModelPairDescCount),
    Blocks("SingleDesc", 1400, kPtzModelSingleDesc, kPtzModelSingleDescCount),
};
inline constexpr Layout kPtzModel{"PtzModel", 1496, kPtzModelFields};

// Largest catalogue the readers take.
inline constexpr std::uint32_t kPtzModelFileLimit = 173824;

}  // namespace config
