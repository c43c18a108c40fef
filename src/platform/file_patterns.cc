#include "platform/file_patterns.h"

#include <glob.h>
#include <unistd.h>

#include <algorithm>

#include "platform/host_root.h"

namespace platform {

int RemoveMatchingFiles(std::string_view patterns) {
  int removed = 0;
  while (!patterns.empty()) {
    const std::size_t start = patterns.find_first_not_of(" \t");
    if (start == std::string_view::npos) break;
    patterns.remove_prefix(start);
    const std::size_t end = std::min(patterns.find_first_of(" \t"), patterns.size());
    const std::string_view word = patterns.substr(0, end);
    patterns.remove_prefix(end);
    // The host root is a prefix of the path, never a pattern itself.
    FixedText<kMaxHostPath> pattern;
    if (word.front() == '/' && word != "/dev/null") {
      for (const char c : HostRoot()) {
        if (c == '*' || c == '?' || c == '[' || c == '\\') pattern.Append("\\");
        pattern.Append(std::string_view(&c, 1));
      }
    }
    pattern.Append(word);
    glob_t matches{};
    if (!pattern.overflow() && glob(pattern.c_str(), GLOB_NOSORT, nullptr, &matches) == 0) {
      for (std::size_t i = 0; i < matches.gl_pathc; ++i) removed += unlink(matches.gl_pathv[i]) == 0;
    }
    globfree(&matches);
  }
  return removed;
}

}  // namespace platform
