#include <cstdio>

#include "cgi/cgi_request.h"
#include "handlers/device/device_handlers.h"
#include "handlers/device/shell_word.h"
#include "handlers/form_fields.h"
#include "platform/command.h"

namespace {

constexpr int kFieldSize = 128;

// The first character of a port mode, "." when the field is not given.
char PortMode(const char* name) {
  char value[kFieldSize];
  return ReadGivenField(name, value) ? value[0] : '.';
}

}  // namespace

int NxCgi_UartSetFunc(char*) {
  CgiPrintContentType("text/html");

  char value[kFieldSize];
  const uint16_t version = ReadGivenField("NxCgiVer", value) ? VersionOf(value) : 0xffff;
  if (!IsAcceptedVersion(version)) {
    std::printf(" CgiVer is error %04x\n", version);
    return 0;
  }

  const char data[] = {'/', PortMode("Ttys0_Mode"), ',', '/', PortMode("Ttys1_Mode"), '\0'};
  platform::ShellCommand store;
  store.Path("/usr/sbin/fuc").Text(" -sh sft-config offset=0 data=");
  device::AppendQuotedWord(store, data);
  store.Text(" >/dev/null");
  platform::RunCommand(store);
  return 1;
}
