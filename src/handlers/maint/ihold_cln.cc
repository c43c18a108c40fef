#include <cstdint>
#include <cstdio>

#include "cgi/cgi_request.h"
#include "front/nx_cgi_util.h"
#include "handlers/form_fields.h"
#include "handlers/maint/maint_handlers.h"
#include "platform/command.h"

namespace {

constexpr int kFieldSize = 128;
constexpr uint32_t kLastId = 3;

}  // namespace

// The invalid-field lines go to the page itself; the error page that follows
// quotes an empty buffer.
int NxCgi_IholdClnFunc(char*) {
  CgiPrintContentType("text/html");

  char version[kFieldSize];
  if (!ReadGivenField("NxCgiVer", version) ||
      !IsAcceptedVersion(VersionOf(version))) {
    std::printf("nxiholdcln.cgi: invalid NxCgiVer=%s\n", version);
    return -1;
  }
  char module_text[kFieldSize];
  const bool has_module = ReadGivenField("NxModId", module_text);
  const auto module_id = static_cast<uint16_t>(StrToNum(module_text));
  if (!has_module || module_id > kLastId) {
    std::printf("nxiholdcln.cgi: invalid NxModId=%s\n", module_text);
    return -1;
  }
  char port_text[kFieldSize];
  const bool has_port = ReadGivenField("PortId", port_text);
  const auto port_id = static_cast<uint32_t>(StrToNum(port_text));
  if (!has_port || port_id > kLastId) {
    std::printf("nxiholdcln.cgi: invalid PortId=%s\n", port_text);
    return -1;
  }

  platform::FixedText<64> held;
  held.AppendFormat("/tmp/advbuf/keep/mod%d/hold/port%d", module_id, static_cast<int>(port_id));
  platform::ShellCommand remove;
  remove.Text("rm ").Path(held.view()).Text("/*").Text(" >/dev/null");
  platform::RunCommand(remove);
  return 1;
}
