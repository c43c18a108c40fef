// The FTP operations the handlers use: a ready session, the directories of a
// naming scheme, and the end of a session.
#pragma once

#include "ftp/client/ftp_client.h"

// Directory naming schemes (DirNameFlag values).
inline constexpr int kDirSchemeCameras = 1;
inline constexpr int kDirSchemeWeekdays = 4;
inline constexpr int kDirSchemeMonths = 8;
inline constexpr int kDirSchemeDays = 16;
inline constexpr int kDirSchemeHours = 32;
inline constexpr int kDirSchemeServerName = 256;

// What a failed login's message shows in place of the password.
inline constexpr const char* kHiddenPassword = "****";

// A connected, logged-in session in binary type, or null. ctrl_port in host
// order, 0 = the services database's ftp port.
ftp_session* ftp_make(const char* host, const char* user, const char* password, int ctrl_port);
void ftp_close(ftp_session* s);
// 0 on success, -1 on failure.
int ftp_mkdirs(ftp_session* s, const char* base_dir, int scheme);
