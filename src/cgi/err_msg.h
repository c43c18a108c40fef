// The error-message buffer a handler receives: 1024 bytes, zeroed before the
// call. What a failing handler leaves in it is quoted by the error page.
#pragma once

#include <cstddef>

inline constexpr std::size_t kCgiErrMsgSize = 1024;

// Writes one formatted text into the buffer, cut to fit.
__attribute__((format(printf, 2, 3))) void CgiSetErrMsg(char* err_msg, const char* format, ...);
