// The common end of every successful request: the save command, the
// configuration-changed mark, and the returned page or redirect.
#pragma once

// Reads the form's control fields, writes to standard output, returns 0.
int CgiResponseEpilogue();

// The web root pages are taken from.
inline constexpr const char* kWebRoot = "/web";
