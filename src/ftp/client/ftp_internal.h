// Pieces shared by the files of the FTP client: the process-wide buffers,
// the byte reader of the connections and small socket helpers. Not for
// users of the client.
#pragma once

#include <cstddef>

#include "ftp/client/ftp_client.h"

inline constexpr const char* kFtpSourceName = "ftplib_glob";
inline constexpr std::size_t kFtpHostNameSize = 256;
inline constexpr std::size_t kFtpUniqueNameSize = 4096;

// The name of the last host connected to.
extern char g_ftp_host_name[kFtpHostNameSize];
// The result of ftp_unique_name.
extern char g_ftp_unique_name[kFtpUniqueNameSize];

// The next byte of a connection (0..255), or EOF at its end, after 5 s of
// silence, past the session's deadline or on an error (reported on standard
// error).
int sgetc(const ftp_session* s, int fd);
// The milliseconds a wait of `seconds` (0: no limit of its own) may take: cut
// to the time left before the session's deadline, 0 once that has passed.
int ftp_wait_ms(const ftp_session* s, int seconds);
// Waits up to ftp_wait_ms(s, seconds) until fd can be read; false (errno
// ETIMEDOUT after a time-out) when it cannot.
bool ftp_wait_readable(const ftp_session* s, int fd, int seconds);
// connect() that ends by the session's deadline (errno ETIMEDOUT then); later
// sends on the socket wait no longer than the time left when it connected.
int ftp_connect_socket(const ftp_session* s, int fd, const sockaddr_in& to);

// The data connection of a transfer, and the transfers behind getfile, the
// puts and the third-party copy.
int ftp_data_init(ftp_session* s);
int ftp_data_accept(ftp_session* s);
int ftp_recv(ftp_session* s, const char* command, const char* local, const char* remote,
             const char* open_mode, int print_names);
int ftp_send(ftp_session* s, const char* command, const char* local, const char* remote, int print_names);
void ftp_report_rate(ftp_session* s, const char* direction, long bytes, const timeval* start,
                     const timeval* stop);
// A local name not yet taken, made from `local` (the process-wide buffer).
char* ftp_unique_name(const char* local);

// The local-name text that stands for a memory block ("+0x...:0x..."); the
// address is written with all of its bits. `out` must hold kFtpMemNameSize.
inline constexpr std::size_t kFtpMemNameSize = 48;
void ftp_mem_name(char* out, const void* block, unsigned length);

// Sets the IP type of service; a failure is reported and ignored.
void ftp_set_tos(int fd, int tos);
// Shuts a socket down in the given direction (SHUT_*), closes it and sets
// the descriptor to -1. Does nothing for -1.
void ftp_close_socket(int& fd, int how);
// Writes the directory part of a path ("." when it has no "/") into out;
// false when it does not fit.
bool ftp_dir_part(const char* path, char* out, std::size_t size);

// Hash marks and progress ticks of a transfer.
struct ftp_marks {
  long threshold = 1024;
};
void ftp_marks_step(const ftp_session* s, ftp_marks& marks, long bytes, bool allowed);
void ftp_marks_done(const ftp_session* s, const ftp_marks& marks, long bytes, bool allowed, bool binary);

// Puts the process-wide buffers back as a new process has them.
void ftp_reset_process_state();
