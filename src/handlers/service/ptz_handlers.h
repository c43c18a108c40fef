// PTZ settings: the line and model (nxptzset.cgi), one module's installation
// (nxptzmodset.cgi) and one port's preset names (nxptzportset.cgi).
#pragma once

int NxCgi_PtzConfSetCgifunc(char* err_msg);
int NxCgi_PtzModSetCgifunc(char* err_msg);
int NxCgi_PtzPortSetCgifunc(char* err_msg);
