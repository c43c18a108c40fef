#include "config/text/tcfg_text.h"

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tcfg_text {
namespace {

// Text after a replaced value that a splice keeps.
constexpr std::size_t kMaxSpliceTail = 127;

constexpr uint64_t kEveryByte = 0x0101010101010101ull;
constexpr uint64_t kHighBits = 0x8080808080808080ull;

// Non-zero when some byte of word is zero (exact for "any", the usual trick).
constexpr uint64_t ZeroByteFlags(uint64_t word) { return (word - kEveryByte) & ~word & kHighBits; }

// The lowest flag marks the first NUL, LF or CR of the word exactly: bytes
// below the first match never borrow.
constexpr uint64_t LineStopFlags(uint64_t word) {
  return ZeroByteFlags(word) | ZeroByteFlags(word ^ (kEveryByte * '\n')) |
         ZeroByteFlags(word ^ (kEveryByte * '\r'));
}

constexpr bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

// First NUL, LF or CR at or after p; *end is NUL, so the scan stops there at
// the latest. Whole words are only read while they lie before end.
char* FindLineStop(char* p, const char* end) {
  while (end - p >= 8) {
    uint64_t word;
    std::memcpy(&word, p, sizeof word);
    const uint64_t flags = LineStopFlags(word);
    if (flags != 0) {
      if constexpr (std::endian::native == std::endian::little) return p + (std::countr_zero(flags) >> 3);
      break;
    }
    p += 8;
  }
  while (*p != '\0' && !IsLineEnd(*p)) ++p;
  return p;
}

}  // namespace

namespace {

// Any mix of LF, CR and an early NUL, a word at a time.
int SplitAtAnyLineEnd(char* text, std::size_t size, char** rows, int max_rows) {
  char* const end = text + size;
  char* p = text;
  int count = 0;
  while (count < max_rows) {
    while (IsLineEnd(*p)) ++p;
    if (*p == '\0') break;
    rows[count++] = p;
    p = FindLineStop(p, end);
    if (*p == '\0') break;
    *p++ = '\0';
  }
  return count;
}

// LF is the only line end and there is no NUL before the end: memchr finds
// every line end at library speed.
int SplitAtLf(char* text, std::size_t size, char** rows, int max_rows) {
  char* const end = text + size;
  char* p = text;
  int count = 0;
  while (count < max_rows && p < end) {
    char* newline = static_cast<char*>(std::memchr(p, '\n', static_cast<std::size_t>(end - p)));
    if (newline == nullptr) {
      rows[count++] = p;
      break;
    }
    if (newline > p) rows[count++] = p;
    *newline = '\0';
    p = newline + 1;
  }
  return count;
}

}  // namespace

int SplitLines(char* text, std::size_t size, char** rows, int max_rows) {
  // Two quick looks over the whole text pick the fast path for the usual file.
  if (std::memchr(text, '\r', size) == nullptr && std::memchr(text, '\0', size) == nullptr) {
    return SplitAtLf(text, size, rows, max_rows);
  }
  return SplitAtAnyLineEnd(text, size, rows, max_rows);
}

bool CopyValueOut(const char* row, ValueSpan span, char* buffer, std::size_t buffer_size) {
  if (buffer == nullptr || span.length >= buffer_size) {
    EmptyBuffer(buffer, buffer_size);
    std::fputs("insufficient string buffer size\n", stderr);
    return false;
  }
  std::memcpy(buffer, row + span.offset, span.length);
  buffer[span.length] = '\0';
  return true;
}

int SpliceRow(Tcfg* cfg, int row, ValueSpan span, const char* value) {
  const char* line = cfg->rows[row];
  const std::size_t line_length = std::strlen(line);
  const std::size_t tail_offset = span.offset + span.length;
  const std::size_t tail_length = line_length - tail_offset;
  if (tail_length > kMaxSpliceTail) return -1;
  const std::size_t value_length = std::strlen(value);
  char* spliced = static_cast<char*>(std::malloc(line_length + value_length + 1));
  if (spliced == nullptr) {
    std::perror("malloc error");
    return -1;
  }
  std::memcpy(spliced, line, span.offset);
  std::memcpy(spliced + span.offset, value, value_length);
  std::memcpy(spliced + span.offset + value_length, line + tail_offset, tail_length);
  spliced[span.offset + value_length + tail_length] = '\0';
  // The old line may be the owned one: it is released only after the copy.
  std::free(cfg->owned[row]);
  cfg->owned[row] = spliced;
  cfg->rows[row] = spliced;
  return 0;
}

}  // namespace tcfg_text
