// Pieces shared by the files of the FTP client: the process-wide buffers and
// small socket helpers. Not for users of the client.
#pragma once

#include <cstddef>

#include "ftp/ftplib_glob.h"

inline constexpr const char* kFtpSourceName = "ftplib_glob";
inline constexpr std::size_t kFtpHostNameSize = 256;
inline constexpr std::size_t kFtpUniqueNameSize = 4096;

// The name of the last host connected to.
extern char g_ftp_host_name[kFtpHostNameSize];
// The result of ftp_unique_name.
extern char g_ftp_unique_name[kFtpUniqueNameSize];

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
