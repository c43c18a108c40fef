#include "tools/nxconf/file_bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/config_write.h"
#include "tools/nxconf/tool_error.h"

namespace nxconf {

Bytes ReadFileBytes(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) Die("%s: cannot open: %s", path.c_str(), std::strerror(errno));
  struct stat status;
  if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    close(fd);
    Die("%s: not a regular file", path.c_str());
  }
  Bytes bytes;
  std::uint8_t block[65536];
  for (;;) {
    const ssize_t got = read(fd, block, sizeof block);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      const int saved = errno;
      close(fd);
      Die("%s: read error: %s", path.c_str(), std::strerror(saved));
    }
    if (got == 0) break;
    bytes.insert(bytes.end(), block, block + got);
  }
  close(fd);
  return bytes;
}

void WriteFileBytes(const std::string& path, const Bytes& bytes) {
  switch (platform::WriteConfigFile(path.c_str(), bytes.data(), bytes.size())) {
    case platform::WriteStatus::kOk:
      return;
    case platform::WriteStatus::kOpenFailed:
      Die("%s: cannot write: %s", path.c_str(), std::strerror(errno));
    case platform::WriteStatus::kWriteFailed:
      Die("%s: write failed", path.c_str());
  }
}

}  // namespace nxconf
