// The fourteen service settings handlers (module level and port level).
#pragma once

int NxCgi_MailSvcCfgFunc(char* err_msg);
int NxCgi_MailSvcPortCfgFunc(char* err_msg);
int NxCgi_DiCgiSvcCfgFunc(char* err_msg);
int NxCgi_DiCgiSvcPortCfgFunc(char* err_msg);
int NxCgi_FtpSigSvcCfgFunc(char* err_msg);
int NxCgi_FtpSigSvcPortCfgFunc(char* err_msg);
int NxCgi_FtpDurSvcCfgFunc(char* err_msg);
int NxCgi_FtpDurSvcPortCfgFunc(char* err_msg);
int NxCgi_IholdSvcCfgFunc(char* err_msg);
int NxCgi_IholdSvcPortCfgFunc(char* err_msg);
int NxCgi_DoSvcCfgFunc(char* err_msg);
int NxCgi_DoSvcPortCfgFunc(char* err_msg);
int NxCgi_AoipCfgFunc(char* err_msg);
int NxCgi_CallCfgFunc(char* err_msg);
