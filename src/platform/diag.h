// Developer diagnostics on standard error behind the location prefix
// "[function:source(line)]\t". The source name is the module's own name
// (NxCgiUtil, tcfg_util, ...), not the file name.
#pragma once

#include <cstdio>

#define NX_DIAG_AT(source, function, line, ...)                    \
  do {                                                             \
    std::fprintf(stderr, "[%s:%s(%d)]\t", function, source, line); \
    std::fprintf(stderr, __VA_ARGS__);                             \
  } while (0)

#define NX_DIAG(source, ...)                                           \
  do {                                                                 \
    std::fprintf(stderr, "[%s:%s(%d)]\t", __func__, source, __LINE__); \
    std::fprintf(stderr, __VA_ARGS__);                                 \
  } while (0)
