// Sending transfers: STOR, STOU or APPE from a local file, standard input or
// a memory block.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "ftp/client/ftp_internal.h"
#include "ftp/client/ftp_source.h"
#include "platform/host_root.h"

namespace {

constexpr std::size_t kSendBlockSize = 8192;

// Steps every kind of source shares before its source is set up; false when
// the transfer is already over, with its result in `result`.
bool SendPrologue(ftp_session* s, const char* command, const char* local, const char* remote, int print_names,
                  int& result) {
  if (s->verbose && print_names) {
    if (local[0] != '-') std::printf("local: %s ", local);
    if (remote != nullptr) std::printf("remote: %s\n", remote);
    std::fflush(stdout);
  }
  if (s->secondary_active) {
    result = ftp_third_party(s, command, local, remote);
    return false;
  }
  if (s->cur_type != s->type) ftp_change_type(s, s->type, 0);
  return true;
}

long SendAll(int fd, const char* data, long length, ssize_t& last) {
  long done = 0;
  while (done < length) {
    last = send(fd, data + done, static_cast<std::size_t>(length - done), MSG_NOSIGNAL);
    if (last <= 0) break;
    done += last;
  }
  return done;
}

void SendBinary(ftp_session* s, ftp_source& source, const char* local, ftp_marks& marks) {
  char block[kSendBlockSize];
  long got;
  ssize_t sent = 0;
  while ((got = source.read_block(source.handle, block, 1, sizeof block)) > 0) {
    source.bytes += got;
    SendAll(s->data_fd, block, got, sent);
    ftp_marks_step(s, marks, source.bytes, true);
  }
  ftp_marks_done(s, marks, source.bytes, true, true);
  if (got < 0) std::fprintf(stderr, "local: %s: %s\n", local, std::strerror(errno));
  if (sent < 0) {
    if (errno != EPIPE) std::perror("netout");
    source.bytes = -1;
  }
}

void SendAscii(ftp_session* s, ftp_source& source, ftp_marks& marks) {
  int c;
  while ((c = source.read_byte(source.handle)) != -1) {
    if (c == '\n') {
      ftp_marks_step(s, marks, source.bytes, true);
      const char cr = '\r';
      (void)send(s->data_fd, &cr, 1, MSG_NOSIGNAL);
      ++source.bytes;
    }
    const char byte = static_cast<char>(c);
    (void)send(s->data_fd, &byte, 1, MSG_NOSIGNAL);
    ++source.bytes;
  }
  ftp_marks_done(s, marks, source.bytes, true, false);
}

int SendFromSource(ftp_session* s, const char* command, ftp_source& source, const char* local,
                   const char* remote) {
  if (ftp_data_init(s) != 0) {
    s->reply_code = -1;
    ftp_source_close(source);
    return 0;
  }
  const bool restartable = std::strcmp(command, "STOR") == 0 || std::strcmp(command, "APPE") == 0;
  if (s->restart_offset != 0 && restartable) {
    if (source.seek(source.handle, s->restart_offset) < 0) {
      std::fprintf(stderr, "local: %s: %s\n", local, std::strerror(errno));
      s->restart_offset = 0;
      ftp_source_close(source);
      ftp_close_socket(s->data_fd, SHUT_RDWR);
      return 0;
    }
    if (ftp_command(s, "REST %ld\r\n", s->restart_offset) != 3) {
      s->restart_offset = 0;
      ftp_source_close(source);
      ftp_close_socket(s->data_fd, SHUT_RDWR);
      return 0;
    }
    s->restart_offset = 0;
    source.mode_text = "r+w";
  }
  const int reply =
      remote != nullptr ? ftp_command(s, "%s %s\r\n", command, remote) : ftp_command(s, "%s\r\n", command);
  if (reply != 1) {
    ftp_source_close(source);
    ftp_close_socket(s->data_fd, SHUT_RDWR);
    return 0;
  }
  timeval start{};
  timeval stop{};
  if (ftp_data_accept(s) < 0) {
    gettimeofday(&stop, nullptr);
    ftp_source_close(source);
    if (!s->cmd_pending) {
      s->reply_code = -1;
      return 0;
    }
    ftp_close_socket(s->data_fd, SHUT_RDWR);
    (void)ftp_read_reply(s, 0);
    s->reply_code = -1;
    if (source.bytes > 0) {
      ftp_report_rate(s, "sent", source.bytes, &start, &stop);
      return 1;
    }
    return 0;
  }
  gettimeofday(&start, nullptr);
  ftp_marks marks;
  if (s->cur_type == kFtpTypeImage || s->cur_type == kFtpTypeLocal) {
    SendBinary(s, source, local, marks);
  } else if (s->cur_type == kFtpTypeAscii) {
    SendAscii(s, source, marks);
  }
  gettimeofday(&stop, nullptr);
  ftp_source_close(source);
  ftp_close_socket(s->data_fd, SHUT_WR);
  (void)ftp_read_reply(s, 0);
  if (source.bytes > 0) {
    ftp_report_rate(s, "sent", source.bytes, &start, &stop);
    return 1;
  }
  return 0;
}

int SendBlock(ftp_session* s, const char* command, const void* block, std::size_t length, const char* remote,
              int print_names) {
  char name[kFtpMemNameSize];
  ftp_mem_name(name, block, static_cast<unsigned>(length));
  int result = 0;
  if (!SendPrologue(s, command, name, remote, print_names, result)) return result;
  ftp_mem_file file{static_cast<const unsigned char*>(block), 0, length};
  ftp_source source;
  ftp_source_from_mem(source, &file);
  return SendFromSource(s, command, source, name, remote);
}

const char* UploadCommand(const ftp_session* s, int append) {
  if (append == 'a') return "APPE";
  return s->store_unique ? "STOU" : "STOR";
}

}  // namespace

void ftp_mem_name(char* out, const void* block, unsigned length) {
  std::snprintf(out, kFtpMemNameSize, "+0x%016" PRIxPTR ":0x%08x", reinterpret_cast<uintptr_t>(block),
                length);
}

int ftp_send(ftp_session* s, const char* command, const char* local, const char* remote, int print_names) {
  if (local[0] == '+') {
    // A memory block; the address may have 8 or 16 hex digits.
    uintptr_t address = 0;
    unsigned length = 0;
    if (std::sscanf(local, "+0x%" SCNxPTR ":0x%x", &address, &length) < 2) {
      int result = 0;
      if (!SendPrologue(s, command, local, remote, print_names, result)) return result;
      s->reply_code = -1;
      return 0;
    }
    return SendBlock(s, command, reinterpret_cast<const void*>(address), length, remote, print_names);
  }
  int result = 0;
  if (!SendPrologue(s, command, local, remote, print_names, result)) return result;
  ftp_source source;
  if (std::strcmp(local, "-") == 0) {
    ftp_source_from_stdin(source);
  } else {
    const bool binary = s->cur_type == kFtpTypeImage || s->cur_type == kFtpTypeLocal;
    std::FILE* file = std::fopen(platform::MapPath(local).c_str(), binary ? "rb" : "r");
    if (file == nullptr) {
      std::fprintf(stderr, "local: %s: %s\n", local, std::strerror(errno));
      s->reply_code = -1;
      return 0;
    }
    struct stat status;
    if (fstat(fileno(file), &status) < 0 || !S_ISREG(status.st_mode)) {
      std::printf("%s: not a plain file.\n", local);
      std::fflush(stdout);
      std::fclose(file);
      s->reply_code = -1;
      return 0;
    }
    ftp_source_from_file(source, file);
  }
  return SendFromSource(s, command, source, local, remote);
}

int ftp_put_mem(ftp_session* s, int append, const void* block, unsigned length, const char* remote) {
  return SendBlock(s, UploadCommand(s, append), block, length, remote, 0);
}

int ftp_put(ftp_session* s, int append, const char* local, const char* remote) {
  return ftp_send(s, UploadCommand(s, append), local, remote, 0);
}
