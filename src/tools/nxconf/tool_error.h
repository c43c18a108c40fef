// nxconf reports every refusal as one line on standard error and exits 1.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace nxconf {

[[noreturn]] __attribute__((format(printf, 1, 2))) inline void Die(const char* format, ...) {
  std::fputs("nxconf: ", stderr);
  va_list args;
  va_start(args, format);
  std::vfprintf(stderr, format, args);
  va_end(args);
  std::fputc('\n', stderr);
  std::exit(1);
}

}  // namespace nxconf
