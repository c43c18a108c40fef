#include "front/handler_table.h"

#include <cstring>

#include "ftp/ftp_handlers.h"
#include "handlers/device/device_handlers.h"
#include "handlers/maint/maint_handlers.h"
#include "handlers/service/buffer_handlers.h"
#include "handlers/service/condition_handler.h"
#include "handlers/service/ptz_handlers.h"
#include "handlers/service/sensor_handler.h"
#include "handlers/service/service_handlers.h"

// Rows stand one per line as {"name.cgi", handler}: the install step reads
// the names from these lines. A null handler answers "NOT Found Cgi Func".
constexpr CgiHandlerEntry kCgiHandlerTable[] = {
    {"nxuartset.cgi", NxCgi_UartSetFunc},
    {"nxuoutset.cgi", NxCgi_UartOutSetFunc},
    {"nxuoutctr.cgi", NxCgi_UartOutCtrFunc},
    {"nxptzset.cgi", NxCgi_PtzConfSetCgifunc},
    {"nxptzmodset.cgi", NxCgi_PtzModSetCgifunc},
    {"nxptzportset.cgi", NxCgi_PtzPortSetCgifunc},
    {"nxsnsset.cgi", NxCgi_SensorSetCgifunc},
    {"nxibufdev.cgi", NxCgi_ImgBufDevFunc},
    {"nxibufdevport.cgi", NxCgi_ImgBufDevPortFunc},
    {"nxcondcfg.cgi", NxCgi_SvcCondCfgFunc},
    {"nxftpdur.cgi", NxCgi_FtpDurSvcCfgFunc},
    {"nxftpdurport.cgi", NxCgi_FtpDurSvcPortCfgFunc},
    {"nxftpsig.cgi", NxCgi_FtpSigSvcCfgFunc},
    {"nxftpsigport.cgi", NxCgi_FtpSigSvcPortCfgFunc},
    {"nxftpmkdir.cgi", NxCgi_FtpMkDirCgifunc},
    {"nxftpbinget.cgi", NxCgi_FtpBinGetCgifunc},
    {"nxmailsvc.cgi", NxCgi_MailSvcCfgFunc},
    {"nxmailsvcport.cgi", NxCgi_MailSvcPortCfgFunc},
    {"nxdicgi.cgi", NxCgi_DiCgiSvcCfgFunc},
    {"nxdicgiport.cgi", NxCgi_DiCgiSvcPortCfgFunc},
    {"nxdosvc.cgi", NxCgi_DoSvcCfgFunc},
    {"nxdosvcport.cgi", NxCgi_DoSvcPortCfgFunc},
    {"nxiholdsvc.cgi", NxCgi_IholdSvcCfgFunc},
    {"nxiholdsvcport.cgi", NxCgi_IholdSvcPortCfgFunc},
    {"nxiholdcln.cgi", NxCgi_IholdClnFunc},
    {"nxaoip.cgi", NxCgi_AoipCfgFunc},
    {"nxcall.cgi", NxCgi_CallCfgFunc},
    {"nxdialup.cgi", NxCgi_DialUpFunc},
    {"nxrdskbuff.cgi", NxCgi_RdskBuffFunc},
    {"nxadvsvc.cgi", NxCgi_AdvSvcFunc},
    {"nxdosyscmd.cgi", NxCgi_DoSysCmdFunc},
    {"nxevtnote.cgi", NxCgi_EvtNoteFunc},
    {"nxcamgpctl.cgi", NxCgi_CamGpCtlFunc},
    {"nxesmtaset.cgi", NxCgi_EsmtaSetFunc},
    {"nxisensconf.cgi", NxCgi_IsensConf},
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
