// nxisensconf.cgi: the sensor link settings of isensd from a form; the
// daemon is told to re-read them with SIGUSR1.
#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdlib>

#include "cgi/cgi_request.h"
#include "config/kvt_nx_isens_ne_cfg.h"
#include "front/nx_cgi_util.h"
#include "handlers/device/device_handlers.h"
#include "platform/diag.h"
#include "platform/host_root.h"

namespace {

constexpr const char* kSource = "IsensCfgCgi";
constexpr const char* kIsensdPidFile = "/var/run/isensd.pid";
constexpr std::size_t kPidTextSize = 32;

}  // namespace

void SendSignalToIsensd() {
  const platform::HostPath host = platform::MapPath(kIsensdPidFile);
  const int fd = open(host.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    NX_DIAG(kSource, "fail to open isensd pid info file");
    return;
  }
  // One byte more than is read, so the text always ends.
  char text[kPidTextSize + 1] = {};
  // An unreadable or empty file leaves the text empty: no number, no signal.
  if (read(fd, text, kPidTextSize) < 0) text[0] = '\0';
  close(fd);
  const long pid = std::strtol(text, nullptr, 10);
  // A number beyond the pid range would wrap to a negative pid, which kill()
  // takes as a whole process group.
  if (pid > 0 && pid <= INT_MAX) kill(static_cast<pid_t>(pid), SIGUSR1);
}

int NxCgi_IsensConf(char* err_msg) {
  CgiPrintContentType("text/html");

  uint16_t version = 0xFFFF;
  if (CgiGetNCheckVersion(&version, err_msg) == 0) {
    NX_DIAG(kSource, "Error CgiVer: %d\n", version);
    return -1;
  }

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
