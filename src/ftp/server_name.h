// The device's server name from "/etc/sysconfig/names.conf".
#pragma once

#include <cstddef>

inline constexpr int kServerNameNoFile = -1;
inline constexpr int kServerNameTooLong = -2;

// Reads the value of SERVER_NAME into name (empty when the key is absent):
// 0, kServerNameNoFile when the file cannot be read, kServerNameTooLong when
// the value does not fit (name is then empty).
int ftp_read_server_name(char* name, std::size_t size);
