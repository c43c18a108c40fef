// The device's server name from "/etc/sysconfig/names.conf".
#pragma once

#include <cstddef>

inline constexpr int kServerNameNoFile = -1;
inline constexpr int kServerNameTooLong = -2;

// Reads the value of SERVER_NAME through the text configuration library into
// name (empty when the key is absent): 0, kServerNameNoFile when the file does
// not exist, kServerNameTooLong when the value does not fit name (name is
// then empty). A value of 128 characters or more is not found at all, as for
// every text configuration value read through a 128-byte buffer.
int ftp_read_server_name(char* name, std::size_t size);
