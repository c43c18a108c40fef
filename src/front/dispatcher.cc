#include "front/dispatcher.h"

#include <cstdio>
#include <cstring>

#include "cgi/cgi_request.h"
#include "front/handler_table.h"
#include "front/response_epilogue.h"
#include "platform/file_lock.h"

namespace {

char g_err_msg[kCgiErrMsgSize];

void WriteErrorPage(const char* cgi_name, const char* message) {
  CgiPrintContentType("text/html");
  WriteAlert(cgi_name, message);
}

}  // namespace

char* CgiErrMsgBuffer() { return g_err_msg; }

int CgiDispatch(int argc, char** argv) { return CgiDispatchWithTable(argc, argv, kCgiHandlerTable); }

int CgiDispatchWithTable(int argc, char** argv, const CgiHandlerEntry* table) {
  if (argc < 1 || argv[0] == nullptr) return 0;
  const char* slash = std::strrchr(argv[0], '/');
  const char* cgi_name = slash != nullptr ? slash + 1 : argv[0];

  const CgiHandlerEntry* row = CgiFindHandler(table, cgi_name);
  if (row == nullptr || row->handler == nullptr) {
    std::printf("NOT Found Cgi Func: %s<br>\n", cgi_name);
    return 0;
  }

  std::memset(g_err_msg, 0, sizeof g_err_msg);
  int result = row->handler(g_err_msg);
  // An edit that waited too long for another one saved nothing, whatever
  // the handler made of its failed load: the answer says so.
  if (const char* busy = platform::EditLockBusyPath()) {
    CgiSetErrMsg(g_err_msg, "[%s] is being edited by another request: nothing changed", busy);
    result = -1;
  }
  if (result < 0) {
    // The handler may have filled the buffer to the last byte.
    g_err_msg[kCgiErrMsgSize - 1] = '\0';
    WriteErrorPage(cgi_name, g_err_msg);
    return 0;
  }
  if (result == 0) return 0;
  return CgiResponseEpilogue(cgi_name);
}
