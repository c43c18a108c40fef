// nxisensconf.cgi: the sensor link settings of isensd from a form; the
// daemon is told to re-read them with SIGUSR1.
#include <csignal>
#include <cstdint>

#include "cgi/cgi_request.h"
#include "cgi/nx_cgi_util.h"
#include "config/sensor_link_file.h"
#include "handlers/handler.h"
#include "platform/diag.h"
#include "platform/file_lock.h"
#include "platform/pid_file.h"

namespace {

constexpr const char* kSource = "IsensCfgCgi";
constexpr const char* kIsensdPidFile = "/var/run/isensd.pid";

void SendSignalToIsensd() {
  if (platform::SignalPidFile(kIsensdPidFile, "isensd", SIGUSR1) == platform::PidSignal::kNoPidFile) {
    NX_DIAG(kSource, "fail to open isensd pid info file");
  }
}

}  // namespace

int NxCgi_IsensConf(char* err_msg) {
  CgiPrintContentType("text/html");

  uint16_t version = 0xFFFF;
  if (CgiGetNCheckVersion(&version, err_msg) == 0) {
    NX_DIAG(kSource, "Error CgiVer: %d\n", version);
    return -1;
  }

  // From the load to the save and the signal, no other request edits the file.
  const platform::EditLockScope edit(kNxIsensNeCfgPath);
  NxIsensNeCfg* cfg = NewNxIsensNeCfg(0);
  if (cfg == nullptr) {
    NX_DIAG(kSource, "fail to create isens ne cfg");
    return -1;
  }

  // All three are applied; any change saves the file and wakes the daemon.
  int changed = CgiCheckFieldOfUShortType(&cfg->ne_udp_port, "NeUdpPort", err_msg);
  changed |= CgiCheckFieldOfUShortType(&cfg->ce_udp_port, "CeUdpPort", err_msg);
  changed |= CgiCheckFieldOfStringType(cfg->ce_ip_address, sizeof cfg->ce_ip_address, "CeIpAddress", err_msg);
  if (changed) {
    SaveNxIsensNeCfg(cfg);
    SendSignalToIsensd();
  }
  DeleteNxIsensNeCfg(cfg);
  return 1;
}
