// The FTP reply reader over a socket pair: the input (after one byte of
// settings) is written into one end and that end's sending side shut, so
// every byte is there before reading starts and the end of the input reads
// as the end of the connection. Replies are read until the reader reports
// the connection's end.
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ftp/client/ftp_client.h"
#include "ftp/client/ftp_internal.h"
#include "fuzz_target.h"

namespace {

void Check(bool condition) {
  if (!condition) __builtin_trap();
}

// Far more than the reader can answer (3 bytes per Telnet option), so that
// its answers never block on the unread end.
constexpr std::size_t kMaxInput = 65536;

ftp_session* g_session = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Echoed replies go nowhere.
  std::fflush(stdout);
  if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  if (size == 0 || size > kMaxInput) return 0;
  ftp_reset_process_state();
  if (g_session == nullptr) {
    g_session = ftp_create(1, 0, 0, 2121);
    Check(g_session != nullptr);
  }
  ftp_session* s = g_session;
  int ends[2];
  Check(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
  int buffer_size = 4 * static_cast<int>(kMaxInput);
  setsockopt(ends[0], SOL_SOCKET, SO_RCVBUF, &buffer_size, sizeof buffer_size);
  setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &buffer_size, sizeof buffer_size);
  setsockopt(ends[1], SOL_SOCKET, SO_RCVBUF, &buffer_size, sizeof buffer_size);

  std::size_t sent = 1;
  while (sent < size) {
    const ssize_t wrote = write(ends[1], data + sent, size - sent);
    Check(wrote > 0);
    sent += static_cast<std::size_t>(wrote);
  }
  shutdown(ends[1], SHUT_WR);

  s->ctrl_in = ends[0];
  s->ctrl_out = ends[0];
  s->connected = 1;
  s->verbose = (data[0] & 3) == 3 ? -1 : (data[0] & 3) >> 1;
  const int expect_eof = (data[0] >> 2) & 1;
  std::memset(s->pasv_text, 0, sizeof s->pasv_text);

  // Each reply consumes at least one byte, so this ends.
  for (std::size_t replies = 0; replies <= size; ++replies) {
    // The class is the first byte of the last line less '0', whatever byte
    // that is, so it is not checked here.
    ftp_read_reply(s, expect_eof);
    Check(std::memchr(s->pasv_text, '\0', sizeof s->pasv_text) != nullptr);
    if (s->reply_code == 221 || s->reply_code == 421) break;
  }
  close(ends[0]);
  close(ends[1]);
  s->ctrl_in = -1;
  s->ctrl_out = -1;
  s->connected = 0;
  return 0;
}
