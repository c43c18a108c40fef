#include "cgi/cgi_request.h"
#include "front/nx_cgi_util.h"
#include "handlers/form_fields.h"
#include "handlers/maint/maint_handlers.h"
#include "platform/command.h"
#include "platform/sleep.h"

namespace {

constexpr int kFieldSize = 128;

}  // namespace

int NxCgi_AdvSvcFunc(char*) {
  CgiPrintContentType("text/html");

  char version[kFieldSize];
  char start[kFieldSize];
  if (!ReadGivenField("NxCgiVer", version) ||
      !IsAcceptedVersion(VersionOf(version)) ||
      !ReadGivenField("AdvSvcStart", start)) {
    return -1;
  }

  platform::ShellCommand command;
  command.Path("/etc/init.d/advsvc").Text(StrToNum(start) != 0 ? " start" : " stop").Text(" >/dev/null");
  platform::RunCommand(command);
  platform::SleepSeconds(1);
  return 1;
}
