// nxadvsvc.cgi: starts or stops the auxiliary service by its start script.
#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "handlers/handler.h"
#include "platform/command.h"
#include "platform/sleep.h"

int NxCgi_AdvSvcFunc(char*) {
  CgiPrintContentType("text/html");

  char start[kFieldBufferSize];
  if (!FormVersionOk() || !ReadGivenField("AdvSvcStart", start)) return -1;

  platform::RunServiceScript("/etc/init.d/advsvc", StrToNum(start) != 0 ? "start" : "stop");
  platform::SleepSeconds(1);
  return 1;
}
