// Directory and file operations of one command each; CWD, MKD and RMD fall
// back to the old X-forms when the server does not know the new ones.
#include <cstdio>

#include "ftp/client/ftp_internal.h"

namespace {

constexpr int kNotRecognised = 500;

int CommandWithOldForm(ftp_session* s, const char* verb, const char* argument) {
  const int reply = ftp_command(s, "%s %s\r\n", verb, argument);
  if (reply == 2) return 1;
  if (reply != 5 || s->reply_code != kNotRecognised) return 0;
  if (s->verbose) {
    std::printf("%s command not recognized, trying X%s\n", verb, verb);
    std::fflush(stdout);
  }
  return ftp_command(s, "X%s %s\r\n", verb, argument) == 2 ? 1 : 0;
}

}  // namespace

int ftp_cwd(ftp_session* s, const char* dir) { return CommandWithOldForm(s, "CWD", dir); }
int ftp_mkd(ftp_session* s, const char* dir) { return CommandWithOldForm(s, "MKD", dir); }
int ftp_rmd(ftp_session* s, const char* dir) { return CommandWithOldForm(s, "RMD", dir); }

int ftp_chmod(ftp_session* s, const char* mode, const char* file) {
  return ftp_command(s, "SITE CHMOD %s %s\r\n", mode, file) == 2 ? 1 : 0;
}

int ftp_rename(ftp_session* s, const char* from, const char* to) {
  if (ftp_command(s, "RNFR %s\r\n", from) != 3) return 0;
  return ftp_command(s, "RNTO %s\r\n", to) == 2 ? 1 : 0;
}

int ftp_delete(ftp_session* s, const char* file) { return ftp_command(s, "DELE %s\r\n", file) == 2 ? 1 : 0; }
