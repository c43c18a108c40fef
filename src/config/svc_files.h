// The nine service files by service id: file name, record layout, and where
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

struct SvcFile {
  const char* file_name;
  const config::Layout* layout;
};

inline constexpr SvcFile kSvcFiles[kSvcCount] = {
    {"MailConf.bin", &config::kMailConf},           {"DiCgiConf.bin", &config::kDiCgiConf},
    {"FtpSigSvcConf.bin", &config::kFtpSigSvcConf}, {"nTimeConf.bin", &config::kNTimeConf},
    {"ImgHoldConf.bin", &config::kImgHoldConf},     {"DOutSvcConf.bin", &config::kDOutSvcConf},
    {"FtpDurSvcConf.bin", &config::kFtpDurSvcConf}, {"AoipConf.bin", &config::kAoipConf},
    {"CallConf.bin", &config::kCallConf},
};

// The service's file and layout; ids outside 0..8 have none (null).
constexpr const SvcFile* FindSvcFile(int service_id) {
  if (service_id < 0 || service_id >= kSvcCount) return nullptr;
  return &kSvcFiles[service_id];
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
