// nxiholdcln.cgi: deletes the held images of one module's port.
#include <cstdio>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "handlers/handler.h"
#include "platform/file_patterns.h"
#include "platform/fixed_text.h"

// The invalid-field lines go to the page itself; the error page that follows
// quotes an empty buffer.
int NxCgi_IholdClnFunc(char*) {
  CgiPrintContentType("text/html");

  char version[kFieldBufferSize];
  if (!IsAcceptedVersion(ReadVersionField(version))) {
    std::printf("nxiholdcln.cgi: invalid NxCgiVer=%s\n", version);
    return -1;
  }
  char module_text[kFieldBufferSize];
  const IdField module = ReadModuleIdField(module_text);
  if (!IsValidId(module)) {
    std::printf("nxiholdcln.cgi: invalid NxModId=%s\n", module_text);
    return -1;
  }
  char port_text[kFieldBufferSize];
  const IdField port = ReadPortIdField(PortIdBits::kWhole, port_text);
  if (!IsValidId(port)) {
    std::printf("nxiholdcln.cgi: invalid PortId=%s\n", port_text);
    return -1;
  }

  platform::FixedText<64> held;
  held.AppendFormat("/tmp/advbuf/keep/mod%d/hold/port%d", static_cast<int>(module.value),
                    static_cast<int>(port.value));
  platform::RemoveFilesOfDirectory(held.view());
  return 1;
}
