// Texts from a request, a file or a server, written into the answer escaped
// for where they land, so that none of them can end the context it is
// written in. Texts without the escaped characters come out unchanged.
#pragma once

#include <string_view>

// Inside a "..." string of a script block: a backslash and a quote get a
// backslash, "</" becomes "<\/" and "<!--" becomes "\x3C!--", so neither the
// string nor the script element can end early.
void PrintScriptStringText(std::string_view text);

// In the page's HTML text: & < > " as character references.
void PrintHtmlText(std::string_view text);
