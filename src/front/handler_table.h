// The handler table: one row per CGI name under which the executable is
// installed, scanned in table order by the dispatcher.
#pragma once

#include <span>

#include "handlers/handler.h"

struct CgiHandlerEntry {
  const char* name;
  const char* purpose;  // one line, for people and tools
  CgiHandler handler;
};

// The rows, ended by a row whose name, purpose and handler are all null.
extern const CgiHandlerEntry kCgiHandlerTable[];

// The named rows, without the end row.
std::span<const CgiHandlerEntry> CgiHandlerRows();

// The row of a CGI name in a table (case-sensitive, table order), or null.
const CgiHandlerEntry* CgiFindHandler(const CgiHandlerEntry* table, const char* cgi_name);
