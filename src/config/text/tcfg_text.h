// Internal pieces shared by the sources of the text configuration library:
// piece splitting, bounded copies into caller buffers and the row splice.
#pragma once

#include <cstddef>
#include <cstdint>

#include "config/text/tcfg_util.h"

namespace tcfg_text {

// The bytes of a delimiter set as a lookup table. The NUL that ends the text
// is its own class, so a scan never runs past it.
class DelimiterSet {
 public:
  explicit DelimiterSet(const char* delimiters) {
    for (int i = 0; i < 256; ++i) kind_[i] = kOrdinary;
    if (delimiters != nullptr) {
      for (const char* d = delimiters; *d != '\0'; ++d) kind_[static_cast<unsigned char>(*d)] = kDelimiter;
    }
    kind_[0] = kEnd;
  }
  bool IsDelimiter(char c) const { return kind_[static_cast<unsigned char>(c)] == kDelimiter; }
  bool IsOrdinary(char c) const { return kind_[static_cast<unsigned char>(c)] == kOrdinary; }

 private:
  static constexpr uint8_t kOrdinary = 0;
  static constexpr uint8_t kDelimiter = 1;
  static constexpr uint8_t kEnd = 2;
  uint8_t kind_[256];
};

// Splits text (NUL-terminated at text + size, possibly earlier) at LF and CR
// into at most max_rows rows, exactly as split_string with "\n\r" does, but
// scanning a word at a time.
int SplitLines(char* text, std::size_t size, char** rows, int max_rows);

// Where a value sits in its row.
struct ValueSpan {
  std::size_t offset;
  std::size_t length;
};

// buffer[0] = NUL when there is room for it.
inline void EmptyBuffer(char* buffer, std::size_t buffer_size) {
  if (buffer != nullptr && buffer_size > 0) buffer[0] = '\0';
}

// Copies the span of row into the buffer with the shared size rule: the value
// and its NUL must fit. Otherwise empties the buffer, reports
// "insufficient string buffer size" and returns false.
bool CopyValueOut(const char* row, ValueSpan span, char* buffer, std::size_t buffer_size);

// Makes the owned line "row before the span" + value + "row after the span"
// and shows it at the slot. The text after the span is limited to 127
// characters. 0, or -1 with the object unchanged.
int SpliceRow(Tcfg* cfg, int row, ValueSpan span, const char* value);

}  // namespace tcfg_text
