// The FTP reply reader over a socket pair: the input (after one byte of
// settings) is written into one end and that end's sending side shut, so
// every byte is there before reading starts and the end of the input reads
// as the end of the connection. Replies are read until the reader reports
// the connection's end.
#include "fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  // Well within the socket buffers (208 KiB by default), also with the
  // reader's answers (3 bytes per Telnet option), so that no write blocks.
  if (size == 0 || size > 65536) return 0;
  ftp_reset_process_state();
  ftp_session* s = ftp_create(1, 0, 0, 2121);
  int ends[2];
  Check(quiet && s != nullptr && socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
  Check(write(ends[1], data + 1, size - 1) == static_cast<ssize_t>(size - 1));
  shutdown(ends[1], SHUT_WR);
  s->ctrl_in = s->ctrl_out = ends[0];
  s->connected = 1;
  s->verbose = (data[0] & 3) == 3 ? -1 : (data[0] & 3) >> 1;
  // Each reply consumes at least one byte, so this ends. The class is the
  // first byte of the last line less '0', whatever byte that is: not checked.
  for (std::size_t replies = 0; replies <= size && s->reply_code != 221 && s->reply_code != 421; ++replies) {
    ftp_read_reply(s, (data[0] >> 2) & 1);
    Check(std::memchr(s->pasv_text, '\0', sizeof s->pasv_text) != nullptr);
  }
  for (const int end : ends) close(end);
  ftp_free(s);
  return 0;
}
