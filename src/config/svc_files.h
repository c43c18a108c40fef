// The nine service files by service id (rows of the known files), and where
// each entry's condition table lies. Everything here is derived from the
// layout descriptions, so the record layouts are the one source of offsets.
#pragma once

#include <cstdint>

#include "config/layouts/known_files.h"
#include "config/layouts/svc_cond.h"
#include "config/record_layout.h"

enum SvcId : int {
  SSVCID_MAIL = 0,
  SSVCID_DICGI = 1,
  SSVCID_SFTP = 2,
  SSVCID_NTIME = 3,
  SSVCID_IHOLD = 4,
  SSVCID_DOUT = 5,
  SSVCID_DFTP = 6,
  SSVCID_AOIP = 7,
  SSVCID_CALL = 8,
};

inline constexpr int kSvcCount = 9;

// The service files are the first rows of the known files, in service id
// order.
using SvcFile = config::KnownFile;

consteval bool ServiceRowsLeadTheKnownFiles() {
  for (int id = 0; id < kSvcCount; ++id) {
    const config::KnownFile& file = config::kKnownFiles[id];
    if (file.scope != config::FileScope::kModule || file.kind != config::FileKind::kRecord) return false;
    if (!config::FindField(*file.layout, "Cond").found() && !config::FindField(*file.layout, "Port").found())
      return false;
  }
  return true;
}
static_assert(ServiceRowsLeadTheKnownFiles());

// The service's file and layout; ids outside 0..8 have none (null).
constexpr const SvcFile* FindSvcFile(int service_id) {
  if (service_id < 0 || service_id >= kSvcCount) return nullptr;
  return &config::kKnownFiles[service_id];
}

// Offset of the condition table of an entry inside a service record: for a
// record with port entries, entry p's "Cond" array; for the single-table
// records the record's own "Cond" array whatever the entry. The entry is not
// range-checked (callers pass 0..3; a larger one lies past the record).
constexpr std::uint32_t SvcCondTableOffset(const config::Layout& layout, int entry) {
  const config::FieldRef ports = config::FindField(layout, "Port");
  if (!ports.found()) return config::FindField(layout, "Cond").offset;
  const config::FieldRef conds = config::FindField(*ports.block, "Cond");
  return ports.offset + static_cast<std::uint32_t>(entry) * ports.stride + conds.offset;
}
