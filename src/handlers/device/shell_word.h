// Text from outside put into a shell command as one single-quoted word: a
// quote inside it becomes '\'' so that nothing in it (";", "$(...)",
// back-quotes, quotes, blanks) is ever read by the shell as syntax.
#pragma once

#include <string_view>

#include "platform/command.h"

namespace device {

inline void AppendQuotedWord(platform::ShellCommand& command, std::string_view text) {
  command.Text("'");
  for (std::size_t quote = text.find('\''); quote != std::string_view::npos; quote = text.find('\'')) {
    command.Text(std::string_view(text.data(), quote)).Text("'\\''");
    text.remove_prefix(quote + 1);
  }
  command.Text(text).Text("'");
}

}  // namespace device
