// The CGI request layer: the submitted form as a process-wide list of
// decoded name/value entries, the two field accessors through which handlers
// read it, and the content-type header.
#pragma once

#include <cstddef>

// Field result codes: the only values the two accessors return.
enum CgiFieldResult {
  CGI_FIELD_OK = 0,
  CGI_FIELD_TRUNCATED = 1,
  CGI_FIELD_EMPTY = 3,
  CGI_FIELD_NOT_FOUND = 4,
};

struct CgiFormEntry {
  char* name;
  char* value;
  CgiFormEntry* next;
};

// Copies the value of the first field of that name into the buffer (size
// includes the terminator), dropping every CR and LF byte.
int CgiGetField(const char* name, char* buffer, int size);
// The same for an entry the caller walked to (CgiFormHead), without a lookup.
int CgiGetEntryValue(const CgiFormEntry* entry, char* buffer, int size);
// The same, keeping line structure: each run of CR and LF bytes becomes as
// many LF bytes as the larger of its CR and LF counts.
int CgiGetTextField(const char* name, char* buffer, int size);

// Writes "Content-type: <type>" and the blank line that ends the header.
void CgiPrintContentType(const char* type);

CgiFormEntry* CgiFindEntry(const char* name);
// Appends the fields of url-encoded form data; 0, or 1 when memory ran out.
int CgiParseForm(const char* data, std::size_t length);
// Url-decodes length bytes into a new string owned by the caller (free());
// 0, or 1 when memory ran out.
int CgiUnescape(const char* source, std::size_t length, char** decoded);
void CgiFreeForm();
int CgiStrEqNoCase(const char* left, const char* right);

// The head of the form list (null without a form).
CgiFormEntry* CgiFormHead();
