// The sensor link settings of isensd: its own UDP port and the peer's IP
// address and UDP port, kept in the text configuration file
// /opt/vsb/etc/NxIsensNe.conf as four key=value lines (VERSION,
// NE_UDP_PORT, CE_UDP_PORT, CE_IP_ADDRESS). NE is this unit's side, CE the
// peer's.
#pragma once

#include <cstddef>
#include <cstdint>

#include "config/text/tcfg_util.h"

inline constexpr const char* kNxIsensNeCfgPath = "/opt/vsb/etc/NxIsensNe.conf";
inline constexpr std::size_t kNxIsensCeIpAddressSize = 100;

struct NxIsensNeCfg {
  int32_t version;
  uint16_t ne_udp_port;
  uint16_t ce_udp_port;
  char ce_ip_address[kNxIsensCeIpAddressSize];  // NUL-terminated, possibly empty
};

// A new record loaded from the file (see LoadNxIsensNeCfg), or null.
NxIsensNeCfg* NewNxIsensNeCfg(int create_flag);
// Fills the record from the file: 1, or 0 on failure. A file that lacks a
// key (or holds a value too long) is replaced by the default file and the
// record reset to the defaults. A missing file fails unless create_flag is
// set, which makes the default file.
int LoadNxIsensNeCfg(NxIsensNeCfg* cfg, int create_flag);
// Resets the record to the defaults and rewrites the file (made when
// missing) with them: 1, or 0.
int SetDefaultNxIsensNeCfg(NxIsensNeCfg* cfg, const char* path);
// Rewrites the existing file from the record: 1, or 0.
int SaveNxIsensNeCfg(NxIsensNeCfg* cfg);
// Appends the four lines of the record to the object and saves it: 1, or 0.
int SaveNxIsensNeCfgIntoTextCfgFile(NxIsensNeCfg* cfg, Tcfg* text_cfg);
void DeleteNxIsensNeCfg(NxIsensNeCfg* cfg);
// The record on standard error, headed by the caller's function and line.
void PrintNxIsensNeCfg(const NxIsensNeCfg* cfg, const char* function, int line);
