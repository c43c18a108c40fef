#include "config/sensor_link_file.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "config/text/tcfg_field_util.h"
#include "config/text/tcfg_owner.h"
#include "platform/diag.h"

namespace {

constexpr const char* kSource = "KvtNxIsensNeCfg";

constexpr const char* kVersionKey = "VERSION";
constexpr const char* kNeUdpPortKey = "NE_UDP_PORT";
constexpr const char* kCeUdpPortKey = "CE_UDP_PORT";
constexpr const char* kCeIpAddressKey = "CE_IP_ADDRESS";

constexpr int32_t kDefaultVersion = 0;
constexpr uint16_t kDefaultNeUdpPort = 12002;
constexpr uint16_t kDefaultCeUdpPort = 12001;

}  // namespace

NxIsensNeCfg* NewNxIsensNeCfg(int create_flag) {
  NxIsensNeCfg* cfg = static_cast<NxIsensNeCfg*>(std::calloc(1, sizeof(NxIsensNeCfg)));
  if (cfg == nullptr) {
    NX_DIAG(kSource, "malloc error\n");
    return nullptr;
  }
  if (LoadNxIsensNeCfg(cfg, create_flag) == 0) {
    NX_DIAG(kSource, "cannot load nx isens ne cfg\n");
    DeleteNxIsensNeCfg(cfg);
    return nullptr;
  }
  return cfg;
}

int LoadNxIsensNeCfg(NxIsensNeCfg* cfg, int create_flag) {
  if (cfg == nullptr) {
    NX_DIAG(kSource, "nx isens ne cfg is NULL\n");
    return 0;
  }
  TcfgOwner text(new_cfg(kNxIsensNeCfgPath, 0));
  if (text.get() == nullptr) {
    if (create_flag == 0) {
      NX_DIAG(kSource, "fail to create cfg file: %s\n", kNxIsensNeCfgPath);
      return 0;
    }
    const int made = SetDefaultNxIsensNeCfg(cfg, kNxIsensNeCfgPath);
    if (made == 0) NX_DIAG(kSource, "cannot make default isens ne cfg\n");
    return made;
  }
  if (load_cfg(text.get()) == -1) {
    NX_DIAG(kSource, "fail to load cfg file: %s\n", kNxIsensNeCfgPath);
    return 0;
  }
  // All four are read even when an earlier one is missing, so that each
  // missing key shows on standard error.
  int found = LoadIntFieldOfTcfg(text.get(), kVersionKey, &cfg->version);
  found &= LoadUShortFieldOfTcfg(text.get(), kNeUdpPortKey, &cfg->ne_udp_port);
  found &= LoadUShortFieldOfTcfg(text.get(), kCeUdpPortKey, &cfg->ce_udp_port);
  found &= LoadStringFieldOfTcfg(text.get(), kCeIpAddressKey, cfg->ce_ip_address, sizeof cfg->ce_ip_address);
  if (found) return 1;
  // isensd needs every key: an incomplete file is replaced whole.
  return SetDefaultNxIsensNeCfg(cfg, kNxIsensNeCfgPath);
}

int SetDefaultNxIsensNeCfg(NxIsensNeCfg* cfg, const char* path) {
  if (cfg == nullptr) {
    NX_DIAG(kSource, "argument is NULL");
    return 0;
  }
  if (path == nullptr || path[0] == '\0') {
    NX_DIAG(kSource, "%s is invalid path\n", path == nullptr ? "" : path);
    return 0;
  }
  std::memset(cfg, 0, sizeof *cfg);
  TcfgOwner text(new_cfg(path, 1));
  if (text.get() == nullptr) {
    NX_DIAG(kSource, "fail to create cfg file: %s\n", path);
    return 0;
  }
  cfg->version = kDefaultVersion;
  cfg->ne_udp_port = kDefaultNeUdpPort;
  cfg->ce_udp_port = kDefaultCeUdpPort;
  cfg->ce_ip_address[0] = '\0';
  return SaveNxIsensNeCfgIntoTextCfgFile(cfg, text.get());
}

int SaveNxIsensNeCfg(NxIsensNeCfg* cfg) {
  if (cfg == nullptr) {
    NX_DIAG(kSource, "argument is NULL\n");
    return 0;
  }
  TcfgOwner text(new_cfg(kNxIsensNeCfgPath, 0));
  if (text.get() == nullptr) {
    NX_DIAG(kSource, "fail to create cfg %s\n", kNxIsensNeCfgPath);
    return 0;
  }
  return SaveNxIsensNeCfgIntoTextCfgFile(cfg, text.get());
}

int SaveNxIsensNeCfgIntoTextCfgFile(NxIsensNeCfg* cfg, Tcfg* text_cfg) {
  if (cfg == nullptr || text_cfg == nullptr) {
    NX_DIAG(kSource, "argument is NULL");
    return 0;
  }
  int appended = AppendIntFieldOfTcfg(text_cfg, kVersionKey, cfg->version);
  appended &= AppendIntFieldOfTcfg(text_cfg, kNeUdpPortKey, cfg->ne_udp_port);
  appended &= AppendIntFieldOfTcfg(text_cfg, kCeUdpPortKey, cfg->ce_udp_port);
  appended &= AppendStringFieldOfTcfg(text_cfg, kCeIpAddressKey, cfg->ce_ip_address);
  if (!appended) {
    NX_DIAG(kSource, "fail to make default cfg i\n");
    return 0;
  }
  if (save_cfg(text_cfg) == -1) {
    NX_DIAG(kSource, "fail to save cfg into file\n");
    return 0;
  }
  return 1;
}

void DeleteNxIsensNeCfg(NxIsensNeCfg* cfg) { std::free(cfg); }

void PrintNxIsensNeCfg(const NxIsensNeCfg* cfg, const char* function, int line) {
  if (cfg == nullptr) return;
  std::fprintf(stderr, "[NxIsensNeCfg Info (%s:%d)]\n", function, line);
  std::fprintf(stderr, "\t ne udp port: %d\n", cfg->ne_udp_port);
  std::fprintf(stderr, "\t ce ip address: %s, ce udp port: %d\n", cfg->ce_ip_address, cfg->ce_udp_port);
}
