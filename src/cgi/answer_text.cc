#include "cgi/answer_text.h"

#include <cstdio>

void PrintScriptStringText(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const std::string_view rest = text.substr(i);
    if (c == '\\' || c == '"') {
      std::putchar('\\');
      std::putchar(c);
    } else if (rest.starts_with("</")) {
      std::fputs("<\\", stdout);
    } else if (rest.starts_with("<!--")) {
      std::fputs("\\x3C", stdout);
    } else {
      std::putchar(c);
    }
  }
}

void PrintHtmlText(std::string_view text) {
  for (const char c : text) {
    switch (c) {
      case '&':
        std::fputs("&amp;", stdout);
        break;
      case '<':
        std::fputs("&lt;", stdout);
        break;
      case '>':
        std::fputs("&gt;", stdout);
        break;
      case '"':
        std::fputs("&quot;", stdout);
        break;
      default:
        std::putchar(c);
    }
  }
}
