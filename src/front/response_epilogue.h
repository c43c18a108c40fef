// The common end of every successful request: the save command, the
// configuration-changed mark, and the returned page or redirect.
#pragma once

// Reads the form's control fields, writes to standard output, returns 0.
// A redirect off the site is refused with the alert page of `cgi_name`.
int CgiResponseEpilogue(const char* cgi_name);

// The alert page's body: the message, escaped, quoted in an alert, and a
// step back in the browser's history.
void WriteAlert(const char* cgi_name, const char* message);

// The web root pages are taken from.
inline constexpr const char* kWebRoot = "/web";
