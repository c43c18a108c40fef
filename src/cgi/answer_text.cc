#include "cgi/answer_text.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

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

namespace {

struct HtmlReference {
  char c;
  const char* text;
};
constexpr HtmlReference kHtmlReferences[] = {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}};

}  // namespace

void PrintHtmlText(std::string_view text) {
  for (const char c : text) {
    const auto* row = std::find_if(std::begin(kHtmlReferences), std::end(kHtmlReferences),
                                   [c](const HtmlReference& r) { return r.c == c; });
    if (row != std::end(kHtmlReferences)) {
      std::fputs(row->text, stdout);
    } else {
      std::putchar(c);
    }
  }
}
