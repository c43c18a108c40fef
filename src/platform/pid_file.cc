#include "platform/pid_file.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <string_view>

#include "platform/host_root.h"
#include "platform/regular_file.h"

namespace platform {
namespace {

// A pid file holds one short line; a longer one was not written by a daemon.
constexpr std::size_t kMaxPidFileSize = 64;

constexpr bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The strict form of a process id: blanks, 1..INT_MAX in decimal, blanks.
bool ParsePid(std::string_view text, pid_t* pid) {
  std::size_t at = 0;
  while (at < text.size() && IsBlank(text[at])) ++at;
  long long value = 0;
  std::size_t digits = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at, ++digits) {
    value = value * 10 + (text[at] - '0');
    if (value > INT_MAX) return false;
  }
  while (at < text.size() && IsBlank(text[at])) ++at;
  if (digits == 0 || at != text.size() || value < 1) return false;
  *pid = static_cast<pid_t>(value);
  return true;
}

// The whole file, when it is no longer than kMaxPidFileSize bytes.
bool ReadPidFile(int fd, char (&text)[kMaxPidFileSize + 1], std::size_t* size) {
  std::size_t total = 0;
  while (total < sizeof text) {
    const ssize_t got = read(fd, text + total, sizeof text - total);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) break;
    total += static_cast<std::size_t>(got);
  }
  *size = total;
  return total <= kMaxPidFileSize;
}

// Whether the process may be the daemon: its name as the kernel keeps it
// (at most 15 bytes) is the daemon's. This is the machine's own /proc, not
// one below the host root: the daemons are processes of this machine. Where
// it cannot be read there is nothing to compare, and kill() decides.
bool MayBeTheDaemon(pid_t pid, std::string_view daemon) {
  char path[32];
  std::snprintf(path, sizeof path, "/proc/%d/comm", static_cast<int>(pid));
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return true;
  char name[32];
  const ssize_t got = read(fd, name, sizeof name);
  close(fd);
  if (got <= 0) return true;
  std::string_view comm(name, static_cast<std::size_t>(got));
  if (comm.ends_with('\n')) comm.remove_suffix(1);
  return comm == daemon.substr(0, 15);
}

}  // namespace

PidSignal SignalPidFile(const char* pid_file, const char* daemon, int signal) {
  const HostPath host = MapPath(pid_file);
  const int fd = OpenRegularFile(host.c_str());
  if (fd < 0) return PidSignal::kNoPidFile;
  char text[kMaxPidFileSize + 1];
  std::size_t size = 0;
  const bool read_whole = ReadPidFile(fd, text, &size);
  close(fd);
  pid_t pid = 0;
  if (!read_whole || !ParsePid({text, size}, &pid)) return PidSignal::kNoPid;
  if (pid == 1 || !MayBeTheDaemon(pid, daemon)) {
    std::fprintf(stderr, "[%s] pid %d is not %s: no signal sent\n", pid_file, static_cast<int>(pid), daemon);
    return PidSignal::kNotTheDaemon;
  }
  return kill(pid, signal) == 0 ? PidSignal::kSent : PidSignal::kKillFailed;
}

}  // namespace platform
