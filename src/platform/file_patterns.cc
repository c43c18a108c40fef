#include "platform/file_patterns.h"

#include <dirent.h>
#include <fcntl.h>
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
    if (IsMapped(word)) {
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

int RemoveFilesOfDirectory(std::string_view device_dir) {
  int fd = open(MapPath("/").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  for (std::string_view rest = device_dir; fd >= 0 && !rest.empty();) {
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    FixedText<256> name;
    name.Append(rest.substr(0, slash));
    rest.remove_prefix(std::min(slash + 1, rest.size()));
    if (name.size() == 0) continue;
    const int next = openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    close(fd);
    fd = next;
  }
  DIR* const dir = fd >= 0 ? fdopendir(fd) : nullptr;
  if (dir == nullptr) {
    if (fd >= 0) close(fd);
    return 0;
  }
  int removed = 0;
  // readdir64: a 32-bit program under an emulator gets 64-bit directory offsets.
  while (const dirent64* entry = readdir64(dir)) {
    if (entry->d_name[0] != '.') removed += unlinkat(fd, entry->d_name, 0) == 0;
  }
  closedir(dir);
  return removed;
}

}  // namespace platform
