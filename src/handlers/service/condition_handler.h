// nxcondcfg.cgi: rewrites one condition record of any service's file.
#pragma once

int NxCgi_SvcCondCfgFunc(char* err_msg);
