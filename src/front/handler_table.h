// The handler table: one row per CGI name under which the executable is
// installed, scanned in table order by the dispatcher.
#pragma once

#include <cstddef>
#include <span>

// Size of the error-message buffer every handler receives, zeroed.
inline constexpr std::size_t kCgiErrMsgSize = 1024;

// Below 0: failure (the dispatcher shows the error page); 0: the handler
// wrote the whole answer; above 0: success, the response epilogue runs.
using CgiHandler = int (*)(char* err_msg);

struct CgiHandlerEntry {
  const char* name;
  CgiHandler handler;
};

// The rows, ended by a row whose name and handler are both null.
extern const CgiHandlerEntry kCgiHandlerTable[];

// The named rows, without the end row.
std::span<const CgiHandlerEntry> CgiHandlerRows();

// The row of a CGI name in a table (case-sensitive, table order), or null.
const CgiHandlerEntry* CgiFindHandler(const CgiHandlerEntry* table, const char* cgi_name);
