// Handlers that talk to devices and daemons directly.
#pragma once

// nxuoutctr.cgi: one request to the serial output service and its reply.
int NxCgi_UartOutCtrFunc(char* err_msg);
// nxcamgpctl.cgi: camera control lines pulsed or set through the GPIO device.
int NxCgi_CamGpCtlFunc(char* err_msg);
// nxchghwoption.cgi: part of the product string overwritten and stored.
int NxCgi_ChgHwOptionFunc(char* err_msg);
// nxuartset.cgi: the modes of the two serial ports stored.
int NxCgi_UartSetFunc(char* err_msg);
// nxuoutset.cgi: the serial output service's line settings stored.
int NxCgi_UartOutSetFunc(char* err_msg);
// nxisensconf.cgi: the sensor link settings of isensd stored.
int NxCgi_IsensConf(char* err_msg);
// Sends SIGUSR1 to the isensd named in its pid file, if any.
void SendSignalToIsensd();
// nxesmtaset.cgi: the mail and SMS transmitter settings stored.
int NxCgi_EsmtaSetFunc(char* err_msg);
