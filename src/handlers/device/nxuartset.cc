// nxuartset.cgi: the modes of the two serial ports stored by the flash
// utility.
#include <cstdio>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "handlers/handler.h"
#include "platform/command.h"

namespace {

// The first character of a port mode, "." when the field is not given.
char PortMode(const char* name) {
  char value[kFieldBufferSize];
  return ReadGivenField(name, value) ? value[0] : '.';
}

}  // namespace

int NxCgi_UartSetFunc(char*) {
  CgiPrintContentType("text/html");

  const IdField version = ReadVersionField();
  if (!IsAcceptedVersion(version)) {
    std::printf(" CgiVer is error %04x\n", version.ValueOr(0xffff));
    return 0;
  }

  const char data[] = {'/', PortMode("Ttys0_Mode"), ',', '/', PortMode("Ttys1_Mode"), '\0'};
  platform::ShellCommand store;
  store.Path("/usr/sbin/fuc").Text(" -sh sft-config offset=0 data=").QuotedWord(data).Text(" >/dev/null");
  platform::RunCommand(store);
  return 1;
}
