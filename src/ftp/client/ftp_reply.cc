// The control connection's command sending and reply reading.
#include <poll.h>
#include <sys/socket.h>

#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "cgi/answer_text.h"
#include "ftp/client/ftp_internal.h"

namespace {

constexpr int kReplySilenceSeconds = 5;
constexpr std::size_t kReplyScratchSize = 8192;
// The reply text echoed goes into the page: at most this much of one reply.
constexpr std::size_t kMaxEchoedReply = 1024;

constexpr int kIac = 255;
constexpr int kWill = 251;
constexpr int kWont = 252;
constexpr int kDo = 253;
constexpr int kDont = 254;

void AnswerOption(const ftp_session* s, int verb, int option) {
  const unsigned char answer[3] = {kIac, static_cast<unsigned char>(verb),
                                   static_cast<unsigned char>(option)};
  (void)send(s->ctrl_out, answer, sizeof answer, MSG_NOSIGNAL);
}

}  // namespace

int ftp_wait_ms(const ftp_session* s, int seconds) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const long long left = (s->started.tv_sec + s->deadline_seconds - now.tv_sec) * 1000LL +
                         (s->started.tv_nsec - now.tv_nsec) / 1000000;
  if (left <= 0) return 0;
  return seconds > 0 && seconds * 1000LL < left ? seconds * 1000 : static_cast<int>(left);
}

bool ftp_wait_readable(const ftp_session* s, int fd, int seconds) {
  const int wait = ftp_wait_ms(s, seconds);
  // Past the deadline not even bytes already there are read: an endless
  // reply at full speed never leaves the socket empty.
  pollfd entry{fd, POLLIN, 0};
  const int ready = fd >= 0 && wait > 0 ? poll(&entry, 1, wait) : 0;
  if (ready == 0) errno = ETIMEDOUT;
  return ready > 0;
}

int sgetc(const ftp_session* s, int fd) {
  if (!ftp_wait_readable(s, fd, kReplySilenceSeconds)) {
    std::fprintf(stderr, "%s[%d]:sgetc() error\n", kFtpSourceName, __LINE__);
    return -1;
  }
  unsigned char byte;
  if (recv(fd, &byte, 1, 0) != 1) return -1;
  return byte;
}

int ftp_command(ftp_session* s, const char* format, ...) {
  char command[kFtpCommandSize];
  va_list args;
  va_start(args, format);
  const int length = std::vsnprintf(command, sizeof command, format, args);
  va_end(args);
  const bool fits = length >= 0 && static_cast<std::size_t>(length) < sizeof command;

  if (s->debug) {
    std::printf("---> ");
    if (std::strncmp(format, "PASS ", 5) == 0) {
      std::printf("PASS XXXX");
    } else {
      std::fputs(command, stdout);
    }
    std::printf("\n");
    std::fflush(stdout);
  }
  if (s->ctrl_out < 0) {
    std::perror("No control connection for command");
    s->reply_code = -1;
    return 0;
  }
  // A command cut short could name another file or directory: never send it.
  if (!fits) {
    s->reply_code = -1;
    return 0;
  }
  (void)send(s->ctrl_out, command, static_cast<std::size_t>(length), MSG_NOSIGNAL);
  s->cmd_pending = 1;
  return ftp_read_reply(s, std::strncmp(command, "QUIT", 4) == 0);
}

int ftp_read_reply(ftp_session* s, int expect_eof) {
  char* scratch = static_cast<char*>(std::malloc(kReplyScratchSize));
  if (scratch == nullptr) return 0;

  int first_code = 0;
  int continuation = 0;
  enum { kPasvIdle, kPasvArmed, kPasvCapturing, kPasvDone } pasv = kPasvIdle;
  std::size_t pasv_pos = 0;
  std::size_t kept = 0;
  std::size_t echoed = 0;
  int first = 0;

  for (;;) {
    s->reply_code = 0;
    int count = 0;
    first = 0;
    int c;
    while ((c = sgetc(s, s->ctrl_in)) != '\n') {
      if (c == kIac) {
        c = sgetc(s, s->ctrl_in);
        if (c == kWill || c == kWont) {
          c = sgetc(s, s->ctrl_in);
          if (c != -1) AnswerOption(s, kDont, c);
        } else if (c == kDo || c == kDont) {
          c = sgetc(s, s->ctrl_in);
          if (c != -1) AnswerOption(s, kWont, c);
        }
        if (c != -1) continue;
      }
      if (c == -1) {
        std::free(scratch);
        if (expect_eof) {
          s->reply_code = 221;
          return 0;
        }
        ftp_lost_peer(s);
        if (s->verbose) {
          std::printf("421 Service not available, remote server has closed connection\n");
          std::fflush(stdout);
        }
        s->reply_code = 421;
        return 4;
      }
      ++count;
      if (c != '\r' && (s->verbose > 0 || (s->verbose == 0 && first == '5' && count >= 5)) &&
          echoed++ < kMaxEchoedReply) {
        const char text = static_cast<char>(c);
        PrintHtmlText({&text, 1});
      }
      if (count < 4 && std::isdigit(c)) s->reply_code = s->reply_code * 10 + (c - '0');
      if (pasv == kPasvIdle && s->reply_code == 227) pasv = kPasvArmed;
      if (pasv == kPasvArmed && count >= 5 && std::isdigit(c)) {
        pasv = kPasvCapturing;
        pasv_pos = 0;
      }
      if (pasv == kPasvCapturing) {
        if (c == '\r' || c == ')') {
          pasv = kPasvDone;
        } else if (pasv_pos < sizeof s->pasv_text - 1) {
          s->pasv_text[pasv_pos++] = static_cast<char>(c);
        }
        s->pasv_text[pasv_pos] = '\0';
      }
      if (count == 4 && c == '-') {
        if (continuation != 0) s->reply_code = 0;
        ++continuation;
      }
      if (first == 0) first = c;
      if (kept < kReplyScratchSize - 1) scratch[kept++] = static_cast<char>(c);
    }
    if (s->verbose > 0 || (s->verbose == 0 && first == '5')) std::putchar('\n');
    if (continuation != 0 && s->reply_code != first_code) {
      if (first_code == 0) first_code = s->reply_code;
      continue;
    }
    break;
  }
  std::fflush(stdout);
  std::free(scratch);
  if (first != '1') s->cmd_pending = 0;
  if (s->reply_code == 421 || first_code == 421) ftp_lost_peer(s);
  return first - '0';
}
