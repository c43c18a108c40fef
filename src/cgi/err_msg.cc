#include "cgi/err_msg.h"

#include <cstdarg>
#include <cstdio>

void CgiSetErrMsg(char* err_msg, const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vsnprintf(err_msg, kCgiErrMsgSize, format, args);
  va_end(args);
}
