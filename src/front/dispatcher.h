// The dispatcher: picks the handler by the name the process was started
// under, lends it the cleared error-message buffer and turns its result into
// the rest of the answer.
#pragma once

#include "front/handler_table.h"

// Returns the exit status, 0 in every case it handles.
int CgiDispatch(int argc, char** argv);

// The same over another table (ended by a null row); tests use it.
int CgiDispatchWithTable(int argc, char** argv, const CgiHandlerEntry* table);

// The process-wide error-message buffer (kCgiErrMsgSize bytes).
char* CgiErrMsgBuffer();
