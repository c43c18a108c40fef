// Receiving transfers (RETR and listings) into a local file or standard
// output, and the abort of a transfer on the server.
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ftp/client/ftp_internal.h"
#include "platform/host_root.h"

namespace {

// Downloads are read and written in blocks of at least this size (more when
// the local file prefers larger ones): a disk's 4 KiB block costs a system
// call pair per 4 KiB and left the client far behind other clients. Against
// curl on one 512 MiB file: 16 KiB 0.96, 64 KiB 0.81-0.85, 128 KiB
// 0.55-0.62, 256 KiB 0.43-0.49 of its time; 128 KiB keeps a good margin
// for half the memory of 256.
constexpr int kMinReceiveBlock = 128 * 1024;
constexpr int kAbortWaitSeconds = 10;
constexpr std::size_t kDiscardSize = 8192;

void LocalError(const char* name) { std::fprintf(stderr, "local: %s: %s\n", name, std::strerror(errno)); }

// Makes sure the local file may be written; returns the name to write to
// (maybe a unique one) or null after a message. Local names are device paths;
// only the calls that touch the file system see the host path.
const char* CheckLocalTarget(ftp_session* s, const char* local) {
  if (access(platform::MapPath(local).c_str(), W_OK) == 0) {
    if (!s->recv_unique) return local;
    return ftp_unique_name(local);
  }
  const int failure = errno;
  if (failure != ENOENT && failure != EACCES) {
    LocalError(local);
    return nullptr;
  }
  char* dir = s->work_buf;
  if (!ftp_dir_part(local, dir, kFtpWorkBufferSize)) {
    std::fprintf(stderr, "local: %s: %s\n", local, std::strerror(ENAMETOOLONG));
    return nullptr;
  }
  if (access(platform::MapPath(dir).c_str(), W_OK) < 0) {
    LocalError(dir);
    return nullptr;
  }
  if (failure == EACCES) {
    if (s->recv_unique) return ftp_unique_name(local);
    if (chmod(platform::MapPath(local).c_str(), 0600) < 0) {
      LocalError(local);
      return nullptr;
    }
  }
  return local;
}

// Skips an ASCII local file to the restart point (every LF counts twice).
bool SkipAsciiRestart(ftp_session* s, std::FILE* file, const char* local) {
  std::rewind(file);
  long counted = 0;
  while (counted < s->restart_offset) {
    const int c = std::getc(file);
    if (c == EOF) {
      if (!std::ferror(file)) errno = EINVAL;
      LocalError(local);
      return false;
    }
    counted += c == '\n' ? 2 : 1;
  }
  std::fseek(file, 0, SEEK_CUR);
  return true;
}

// The binary loop; the byte count, -1 after a network error.
long ReceiveBinary(ftp_session* s, int in, std::FILE* file, const char* local, bool retr, ftp_marks& marks) {
  const int out = fileno(file);
  long bytes = 0;
  errno = 0;
  ssize_t got;
  ssize_t wrote = 0;
  // A server that stops sending ends the transfer at the deadline.
  while ((got = ftp_wait_readable(s, in, 0)
                    ? recv(in, s->xfer_buf, static_cast<std::size_t>(s->xfer_buf_size), 0)
                    : -1) > 0) {
    wrote = write(out, s->xfer_buf, static_cast<std::size_t>(got));
    if (wrote != got) break;
    bytes += got;
    ftp_marks_step(s, marks, bytes, retr);
  }
  ftp_marks_done(s, marks, bytes, retr, true);
  if (got < 0) {
    if (errno != EPIPE) std::perror("netin");
    bytes = -1;
  }
  if (got > 0 && wrote < got) {
    if (wrote < 0) {
      LocalError(local);
    } else {
      std::fprintf(stderr, "%s: short write\n", local);
    }
  }
  return bytes;
}

// The ASCII loop: CR LF becomes LF unless CRs are kept.
long ReceiveAscii(ftp_session* s, int in, std::FILE* file, const char* local, bool retr, ftp_marks& marks) {
  const bool keep_cr = !s->strip_cr && retr;
  long bytes = 0;
  long bare_linefeeds = 0;
  int c = sgetc(s, in);
  while (c != -1) {
    if (c != '\r') {
      if (c == '\n') ++bare_linefeeds;
      std::putc(c, file);
      ftp_marks_step(s, marks, ++bytes, retr);
      c = sgetc(s, in);
      continue;
    }
    ++bytes;  // the CR, written or dropped
    if (std::ferror(file)) break;
    c = sgetc(s, in);
    if (c == '\n' && !keep_cr) {
      std::putc('\n', file);
      ftp_marks_step(s, marks, ++bytes, retr);
      c = sgetc(s, in);
      continue;
    }
    std::putc('\r', file);
    if (c == '\0') {
      ++bytes;
      c = sgetc(s, in);
    } else if (c == '\n') {
      std::putc('\n', file);
      ftp_marks_step(s, marks, ++bytes, retr);
      c = sgetc(s, in);
    }
  }
  ftp_marks_done(s, marks, bytes, retr, false);
  if (bare_linefeeds != 0) {
    std::printf("WARNING! %ld bare linefeeds received in ASCII mode\n", bare_linefeeds);
    std::printf("File may not have transferred correctly.\n");
    std::fflush(stdout);
  }
  if (std::ferror(file)) LocalError(local);
  return bytes;
}

void FreeTransferBuffer(ftp_session* s) {
  std::free(s->xfer_buf);
  s->xfer_buf = nullptr;
  s->xfer_buf_size = 0;
}

}  // namespace

int ftp_recv(ftp_session* s, const char* command, const char* local, const char* remote,
             const char* open_mode, int print_names) {
  const bool retr = std::strcmp(command, "RETR") == 0;
  if (retr && s->verbose && print_names) {
    if (local[0] != '-') std::printf("local: %s ", local);
    if (remote != nullptr) std::printf("remote: %s\n", remote);
    std::fflush(stdout);
  }
  if (retr && s->secondary_active) {
    (void)ftp_third_party(s, command, local, remote);
    return -1;
  }
  const bool to_stdout = std::strcmp(local, "-") == 0;
  if (!to_stdout) {
    local = CheckLocalTarget(s, local);
    if (local == nullptr) {
      s->reply_code = -1;
      return -1;
    }
  }
  if (retr) {
    if (s->cur_type != s->type) ftp_change_type(s, s->type, 0);
  } else if (s->cur_type != kFtpTypeAscii) {
    ftp_change_type(s, kFtpTypeAscii, 0);
  }
  if (ftp_data_init(s) != 0) {
    s->reply_code = -1;
    return -1;
  }
  if (retr && s->restart_offset != 0 && ftp_command(s, "REST %ld\r\n", s->restart_offset) != 3) {
    ftp_close_socket(s->data_fd, SHUT_RDWR);
    return -1;
  }
  const int reply =
      remote != nullptr ? ftp_command(s, "%s %s\r\n", command, remote) : ftp_command(s, "%s\r\n", command);
  if (reply != 1) {
    // The server will not use the prepared socket.
    ftp_close_socket(s->data_fd, SHUT_RDWR);
    return -1;
  }

  timeval start{};
  timeval stop{};
  long bytes = 0;
  std::FILE* file = nullptr;
  const int in = ftp_data_accept(s);
  if (in >= 0) {
    if (to_stdout) {
      std::fflush(stdout);
      file = stdout;
    } else {
      file = std::fopen(platform::MapPath(local).c_str(), open_mode);
      if (file == nullptr) LocalError(local);
    }
  }
  if (file != nullptr) {
    struct stat status;
    int block = kMinReceiveBlock;
    if (fstat(fileno(file), &status) == 0 && status.st_blksize > block)
      block = static_cast<int>(status.st_blksize);
    if (block > s->xfer_buf_size) {
      std::free(s->xfer_buf);
      s->xfer_buf = static_cast<char*>(std::malloc(static_cast<std::size_t>(block)));
      if (s->xfer_buf == nullptr) {
        std::perror("malloc");
        s->xfer_buf_size = 0;
      } else {
        s->xfer_buf_size = block;
      }
    }
  }
  if (file == nullptr || s->xfer_buf == nullptr) {
    // Abort: the server has started the transfer.
    gettimeofday(&stop, nullptr);
    if (file != nullptr && file != stdout) std::fclose(file);
    FreeTransferBuffer(s);
    if (!s->cmd_pending) {
      ftp_close_socket(s->data_fd, SHUT_RDWR);
      s->reply_code = -1;
      return -1;
    }
    (void)ftp_abort(s, in);
    s->reply_code = -1;
    if (s->data_fd >= 0) ftp_close_socket(s->data_fd, in >= 0 ? SHUT_WR : SHUT_RDWR);
    return 0;
  }

  gettimeofday(&start, nullptr);
  ftp_marks marks;
  if (s->cur_type == kFtpTypeImage || s->cur_type == kFtpTypeLocal) {
    if (s->restart_offset != 0 && lseek(fileno(file), s->restart_offset, SEEK_SET) < 0) {
      LocalError(local);
      if (file != stdout) std::fclose(file);
      FreeTransferBuffer(s);
      ftp_close_socket(s->data_fd, SHUT_RDWR);
      return -1;
    }
    bytes = ReceiveBinary(s, in, file, local, retr, marks);
  } else if (s->cur_type == kFtpTypeAscii) {
    if (s->restart_offset != 0 && !SkipAsciiRestart(s, file, local)) {
      if (file != stdout) std::fclose(file);
      FreeTransferBuffer(s);
      ftp_close_socket(s->data_fd, SHUT_RDWR);
      return -1;
    }
    bytes = ReceiveAscii(s, in, file, local, retr, marks);
  }
  if (file != stdout) {
    std::fclose(file);
  } else {
    std::fflush(stdout);
  }
  gettimeofday(&stop, nullptr);
  ftp_close_socket(s->data_fd, SHUT_WR);
  (void)ftp_read_reply(s, 0);
  if (bytes > 0 && retr) ftp_report_rate(s, "received", bytes, &start, &stop);
  FreeTransferBuffer(s);
  return 0;
}

int getfile(ftp_session* s, const char* local, const char* remote) {
  const int result = ftp_recv(s, "RETR", local, remote, "wb", 0);
  // Whatever the server said last, a download the deadline cut short failed.
  return result == 0 && ftp_wait_ms(s, 0) == 0 ? -1 : result;
}

int ftp_abort(ftp_session* s, int data_socket) {
  const unsigned char interrupt[3] = {255, 244, 255};  // IAC IP IAC
  if (send(s->ctrl_out, interrupt, sizeof interrupt, MSG_OOB | MSG_NOSIGNAL) != sizeof interrupt) {
    std::perror("abort");
  }
  char abort_command[8];
  const int length = std::snprintf(abort_command, sizeof abort_command, "%cABOR\r\n", 242);  // DM
  (void)send(s->ctrl_out, abort_command, static_cast<std::size_t>(length), MSG_NOSIGNAL);

  fd_set readable;
  FD_ZERO(&readable);
  int highest = -1;
  if (s->ctrl_in >= 0 && s->ctrl_in < FD_SETSIZE) {
    FD_SET(s->ctrl_in, &readable);
    highest = s->ctrl_in;
  }
  const bool watch_data = data_socket >= 0 && data_socket < FD_SETSIZE;
  if (watch_data) {
    FD_SET(data_socket, &readable);
    if (data_socket > highest) highest = data_socket;
  }
  const int wait = ftp_wait_ms(s, kAbortWaitSeconds);
  timeval limit{wait / 1000, wait % 1000 * 1000};
  const int ready = select(highest + 1, &readable, nullptr, nullptr, &limit);
  if (ready <= 0) {
    if (ready < 0) std::perror("abort");
    ftp_lost_peer(s);
  }
  if (ready > 0 && watch_data && FD_ISSET(data_socket, &readable)) {
    char discard[kDiscardSize];
    while (ftp_wait_readable(s, data_socket, 0) && read(data_socket, discard, sizeof discard) > 0) {
    }
  }
  int reply = ftp_read_reply(s, 0);
  if (reply == 5 && s->reply_code == 552) reply = ftp_read_reply(s, 0);
  reply = ftp_read_reply(s, 0);
  return reply;
}
