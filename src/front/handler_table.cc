#include "front/handler_table.h"

#include <cstring>

#include "handlers/device/device_handlers.h"
#include "handlers/maint/maint_handlers.h"

// Rows stand one per line as {"name.cgi", handler}: the install step reads
// the names from these lines. A null handler answers "NOT Found Cgi Func".
constexpr CgiHandlerEntry kCgiHandlerTable[] = {
    {"nxuartset.cgi", NxCgi_UartSetFunc},
    {"nxuoutset.cgi", nullptr},
    {"nxuoutctr.cgi", NxCgi_UartOutCtrFunc},
    {"nxptzset.cgi", nullptr},
    {"nxptzmodset.cgi", nullptr},
    {"nxptzportset.cgi", nullptr},
    {"nxsnsset.cgi", nullptr},
    {"nxibufdev.cgi", nullptr},
    {"nxibufdevport.cgi", nullptr},
    {"nxcondcfg.cgi", nullptr},
    {"nxftpdur.cgi", nullptr},
    {"nxftpdurport.cgi", nullptr},
    {"nxftpsig.cgi", nullptr},
    {"nxftpsigport.cgi", nullptr},
    {"nxftpmkdir.cgi", nullptr},
    {"nxftpbinget.cgi", nullptr},
    {"nxmailsvc.cgi", nullptr},
    {"nxmailsvcport.cgi", nullptr},
    {"nxdicgi.cgi", nullptr},
    {"nxdicgiport.cgi", nullptr},
    {"nxdosvc.cgi", nullptr},
    {"nxdosvcport.cgi", nullptr},
    {"nxiholdsvc.cgi", nullptr},
    {"nxiholdsvcport.cgi", nullptr},
    {"nxiholdcln.cgi", NxCgi_IholdClnFunc},
    {"nxaoip.cgi", nullptr},
    {"nxcall.cgi", nullptr},
    {"nxdialup.cgi", nullptr},
    {"nxrdskbuff.cgi", nullptr},
    {"nxadvsvc.cgi", NxCgi_AdvSvcFunc},
    {"nxdosyscmd.cgi", NxCgi_DoSysCmdFunc},
    {"nxevtnote.cgi", NxCgi_EvtNoteFunc},
    {"nxcamgpctl.cgi", NxCgi_CamGpCtlFunc},
    {"nxesmtaset.cgi", nullptr},
    {"nxisensconf.cgi", nullptr},
    {"nxsettextfile.cgi", NxCgi_SetTextFileFunc},
    {"nxchghwoption.cgi", NxCgi_ChgHwOptionFunc},
    {nullptr, nullptr},
};

std::span<const CgiHandlerEntry> CgiHandlerRows() {
  return {kCgiHandlerTable, std::size(kCgiHandlerTable) - 1};
}

const CgiHandlerEntry* CgiFindHandler(const CgiHandlerEntry* table, const char* cgi_name) {
  for (const CgiHandlerEntry* row = table; row->name != nullptr; ++row) {
    if (std::strcmp(row->name, cgi_name) == 0) return row;
  }
  return nullptr;
}
