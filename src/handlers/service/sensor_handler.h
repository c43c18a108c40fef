// nxsnsset.cgi: the external sensor's settings; which fields apply depends
// on the type of the selected catalogue model.
#pragma once

int NxCgi_SensorSetCgifunc(char* err_msg);
