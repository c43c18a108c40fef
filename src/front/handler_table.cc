#include "front/handler_table.h"

#include <cstring>

// Rows stand one per line as {"name.cgi", "purpose", handler}: the install
// step reads the names from these lines. A null handler answers "NOT Found
// Cgi Func".
constexpr CgiHandlerEntry kCgiHandlerTable[] = {
    {"nxuartset.cgi", "serial port modes", NxCgi_UartSetFunc},
    {"nxuoutset.cgi", "serial output settings", NxCgi_UartOutSetFunc},
    {"nxuoutctr.cgi", "send and receive data on the serial output", NxCgi_UartOutCtrFunc},
    {"nxptzset.cgi", "PTZ settings", NxCgi_PtzConfSetCgifunc},
    {"nxptzmodset.cgi", "PTZ installation of a module", NxCgi_PtzModSetCgifunc},
    {"nxptzportset.cgi", "PTZ presets of a port", NxCgi_PtzPortSetCgifunc},
    {"nxsnsset.cgi", "sensor settings", NxCgi_SensorSetCgifunc},
    {"nxibufdev.cgi", "image buffer settings", NxCgi_ImgBufDevFunc},
    {"nxibufdevport.cgi", "image buffer settings of a port", NxCgi_ImgBufDevPortFunc},
    {"nxcondcfg.cgi", "service condition records", NxCgi_SvcCondCfgFunc},
    {"nxftpdur.cgi", "periodic FTP upload service", NxCgi_FtpDurSvcCfgFunc},
    {"nxftpdurport.cgi", "periodic FTP upload service of a port", NxCgi_FtpDurSvcPortCfgFunc},
    {"nxftpsig.cgi", "event-triggered FTP upload service", NxCgi_FtpSigSvcCfgFunc},
    {"nxftpsigport.cgi", "event-triggered FTP upload service of a port", NxCgi_FtpSigSvcPortCfgFunc},
    {"nxftpmkdir.cgi", "create directories on an FTP server", NxCgi_FtpMkDirCgifunc},
    {"nxftpbinget.cgi", "fetch files from an FTP server", NxCgi_FtpBinGetCgifunc},
    {"nxmailsvc.cgi", "mail service", NxCgi_MailSvcCfgFunc},
    {"nxmailsvcport.cgi", "mail service of a port", NxCgi_MailSvcPortCfgFunc},
    {"nxdicgi.cgi", "digital-input CGI notification service", NxCgi_DiCgiSvcCfgFunc},
    {"nxdicgiport.cgi", "digital-input CGI notification service of a port", NxCgi_DiCgiSvcPortCfgFunc},
    {"nxdosvc.cgi", "digital output service", NxCgi_DoSvcCfgFunc},
    {"nxdosvcport.cgi", "digital output service of a port", NxCgi_DoSvcPortCfgFunc},
    {"nxiholdsvc.cgi", "image hold service", NxCgi_IholdSvcCfgFunc},
    {"nxiholdsvcport.cgi", "image hold service of a port", NxCgi_IholdSvcPortCfgFunc},
    {"nxiholdcln.cgi", "delete the held images of a port", NxCgi_IholdClnFunc},
    {"nxaoip.cgi", "AoIP service settings", NxCgi_AoipCfgFunc},
    {"nxcall.cgi", "call service", NxCgi_CallCfgFunc},
    {"nxdialup.cgi", "dial-up settings", NxCgi_DialUpFunc},
    {"nxrdskbuff.cgi", "buffer keep ratios", NxCgi_RdskBuffFunc},
    {"nxadvsvc.cgi", "start or stop the auxiliary service", NxCgi_AdvSvcFunc},
    {"nxdosyscmd.cgi", "run shell commands", NxCgi_DoSysCmdFunc},
    {"nxevtnote.cgi", "log an event note", NxCgi_EvtNoteFunc},
    {"nxcamgpctl.cgi", "camera general-purpose I/O control", NxCgi_CamGpCtlFunc},
    {"nxesmtaset.cgi", "mail and SMS transmitter settings", NxCgi_EsmtaSetFunc},
    {"nxisensconf.cgi", "sensor link configuration", NxCgi_IsensConf},
    {"nxsettextfile.cgi", "write a text file", NxCgi_SetTextFileFunc},
    {"nxchghwoption.cgi", "hardware option string", NxCgi_ChgHwOptionFunc},
    {nullptr, nullptr, nullptr},
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
