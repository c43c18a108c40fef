// The handler contract and the 37 handlers, one per CGI name.
//
// A handler takes the error-message buffer (kCgiErrMsgSize bytes, zeroed
// before the call; write it with CgiSetErrMsg) and returns:
//   below 0  failure: the dispatcher answers with the alert page quoting the
//            buffer (the handler may have written output already);
//   0        the handler wrote the whole answer itself;
//   above 0  success: the response epilogue writes the rest of the answer.
// It reads the form through the form vocabulary (cgi/form_fields.h) and
// writes the content-type header itself before any page content.
#pragma once

#include "cgi/err_msg.h"

using CgiHandler = int (*)(char* err_msg);

// Service settings (service/): one pattern and a field list per handler.
int NxCgi_MailSvcCfgFunc(char* err_msg);        // nxmailsvc.cgi
int NxCgi_MailSvcPortCfgFunc(char* err_msg);    // nxmailsvcport.cgi
int NxCgi_DiCgiSvcCfgFunc(char* err_msg);       // nxdicgi.cgi
int NxCgi_DiCgiSvcPortCfgFunc(char* err_msg);   // nxdicgiport.cgi
int NxCgi_FtpSigSvcCfgFunc(char* err_msg);      // nxftpsig.cgi
int NxCgi_FtpSigSvcPortCfgFunc(char* err_msg);  // nxftpsigport.cgi
int NxCgi_FtpDurSvcCfgFunc(char* err_msg);      // nxftpdur.cgi
int NxCgi_FtpDurSvcPortCfgFunc(char* err_msg);  // nxftpdurport.cgi
int NxCgi_IholdSvcCfgFunc(char* err_msg);       // nxiholdsvc.cgi
int NxCgi_IholdSvcPortCfgFunc(char* err_msg);   // nxiholdsvcport.cgi
int NxCgi_DoSvcCfgFunc(char* err_msg);          // nxdosvc.cgi
int NxCgi_DoSvcPortCfgFunc(char* err_msg);      // nxdosvcport.cgi
int NxCgi_AoipCfgFunc(char* err_msg);           // nxaoip.cgi
int NxCgi_CallCfgFunc(char* err_msg);           // nxcall.cgi

// Conditions, buffers and links, PTZ, sensor (service/).
int NxCgi_SvcCondCfgFunc(char* err_msg);     // nxcondcfg.cgi
int NxCgi_ImgBufDevFunc(char* err_msg);      // nxibufdev.cgi
int NxCgi_ImgBufDevPortFunc(char* err_msg);  // nxibufdevport.cgi
int NxCgi_RdskBuffFunc(char* err_msg);       // nxrdskbuff.cgi
int NxCgi_DialUpFunc(char* err_msg);         // nxdialup.cgi
int NxCgi_PtzConfSetCgifunc(char* err_msg);  // nxptzset.cgi
int NxCgi_PtzModSetCgifunc(char* err_msg);   // nxptzmodset.cgi
int NxCgi_PtzPortSetCgifunc(char* err_msg);  // nxptzportset.cgi
int NxCgi_SensorSetCgifunc(char* err_msg);   // nxsnsset.cgi

// Devices and daemons (device/).
int NxCgi_UartSetFunc(char* err_msg);      // nxuartset.cgi
int NxCgi_UartOutSetFunc(char* err_msg);   // nxuoutset.cgi
int NxCgi_UartOutCtrFunc(char* err_msg);   // nxuoutctr.cgi
int NxCgi_CamGpCtlFunc(char* err_msg);     // nxcamgpctl.cgi
int NxCgi_EsmtaSetFunc(char* err_msg);     // nxesmtaset.cgi
int NxCgi_IsensConf(char* err_msg);        // nxisensconf.cgi
int NxCgi_ChgHwOptionFunc(char* err_msg);  // nxchghwoption.cgi

// Maintenance (maint/).
int NxCgi_IholdClnFunc(char* err_msg);     // nxiholdcln.cgi
int NxCgi_AdvSvcFunc(char* err_msg);       // nxadvsvc.cgi
int NxCgi_DoSysCmdFunc(char* err_msg);     // nxdosyscmd.cgi
int NxCgi_EvtNoteFunc(char* err_msg);      // nxevtnote.cgi
int NxCgi_SetTextFileFunc(char* err_msg);  // nxsettextfile.cgi

// FTP (ftp/).
int NxCgi_FtpMkDirCgifunc(char* err_msg);   // nxftpmkdir.cgi
int NxCgi_FtpBinGetCgifunc(char* err_msg);  // nxftpbinget.cgi
