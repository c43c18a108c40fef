// Moving a file directly between the secondary and the primary server: the
// secondary listens (PASV), the primary connects to it (PORT). Reached only
// while a secondary connection is active.
#include <cstdio>
#include <cstring>

#include "ftp/client/ftp_internal.h"
#include "platform/sleep.h"

namespace {

constexpr unsigned kStartPauseSeconds = 2;

}  // namespace

int ftp_third_party(ftp_session* s, const char* command, const char* local, const char* remote) {
  // The secondary takes `command` with the remote name, the primary the
  // opposite direction with the local name.
  const bool secondary_sends = std::strcmp(command, "RETR") == 0;
  const char* primary_command = secondary_sends ? (s->store_unique ? "STOU" : "STOR") : "RETR";
  const char* secondary_name = remote != nullptr ? remote : local;
  const char* primary_name = local != nullptr ? local : remote;

  ftp_switch_conn(s, 0);
  const bool primary_connected = s->connected != 0;
  ftp_switch_conn(s, 1);
  if (!primary_connected) {
    std::printf("No primary connection\n");
    std::fflush(stdout);
    s->reply_code = -1;
    return 0;
  }
  if (s->cur_type != s->type) ftp_change_type(s, s->type, 0);
  if (ftp_command(s, "PASV\r\n") != 2) {
    std::printf("proxy server does not support third party transfers.\n");
    std::fflush(stdout);
    return 0;
  }
  char address[sizeof s->pasv_text];
  std::memcpy(address, s->pasv_text, sizeof address);

  ftp_switch_conn(s, 0);
  if (s->cur_type != s->type) ftp_change_type(s, s->type, 0);
  if (ftp_command(s, "PORT %s\r\n", address) != 2 ||
      ftp_command(s, "%s %s\r\n", primary_command, primary_name) != 1) {
    ftp_switch_conn(s, 1);
    return 0;
  }
  platform::SleepSeconds(kStartPauseSeconds);

  ftp_switch_conn(s, 1);
  if (ftp_command(s, "%s %s\r\n", command, secondary_name) != 1) {
    // The primary waits for a connection that will not come.
    ftp_switch_conn(s, 0);
    (void)ftp_abort(s, -1);
    ftp_switch_conn(s, 1);
    return 0;
  }
  (void)ftp_read_reply(s, 0);
  ftp_switch_conn(s, 0);
  (void)ftp_read_reply(s, 0);
  ftp_switch_conn(s, 1);
  std::printf("local: %s remote: %s\n", primary_name, secondary_name);
  std::fflush(stdout);
  return 1;
}
