// Key, column and substring look-ups on the rows of a Tcfg, and the in-place
// replacement of the values they find.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "config/text/tcfg_text.h"
#include "config/text/tcfg_util.h"

namespace {

using tcfg_text::CopyValueOut;
using tcfg_text::DelimiterSet;
using tcfg_text::EmptyBuffer;
using tcfg_text::ValueSpan;

// A replaced value is first read through a buffer of this size, so values of
// 128 characters or more cannot be replaced.
constexpr std::size_t kReplaceBufferSize = 128;
// Columns a row is split into; an index above this is a caller error.
constexpr int kMaxColumns = 128;

// The row starts with the key's key_length characters. A NUL in the row
// differs from every key character, so short rows stop the comparison at
// their end.
bool KeyMatchesBytewise(const char* row, const char* key, std::size_t key_length) {
  for (std::size_t i = 0; i < key_length; ++i) {
    if (row[i] != key[i]) return false;
  }
  return true;
}

// The row starts with the key and a separator ("=", blank or tab) follows,
// given how many bytes from the row's start may be read. Rows in the content buffer may be compared whole
// words at a time up to the buffer's end: what follows a row's NUL there is other rows, and a NUL inside the
// row still differs from the key. Lookups that scan every row of a large file spend most of their time here.
bool KeyMatches(const char* row, const char* key, std::size_t key_length, std::size_t readable) {
  if (key_length >= 8 && readable > key_length) {
    uint64_t row_head, key_head, row_tail, key_tail;
    std::memcpy(&row_head, row, 8);
    std::memcpy(&key_head, key, 8);
    std::memcpy(&row_tail, row + key_length - 8, 8);
    std::memcpy(&key_tail, key + key_length - 8, 8);
    if (row_head != key_head || row_tail != key_tail) return false;
    if (key_length > 16 && !KeyMatchesBytewise(row + 8, key + 8, key_length - 16)) return false;
  } else if (!KeyMatchesBytewise(row, key, key_length)) {
    return false;
  }
  const char separator = row[key_length];
  return separator == '=' || separator == ' ' || separator == '\t';
}

// Bytes that may be read from the row's start: up to the end of the content
// buffer for rows in it, only the row itself (unknown here) for owned lines.
std::size_t ReadableBytes(const Tcfg* cfg, const char* row) {
  if (cfg->content == nullptr) return 0;
  const auto start = reinterpret_cast<uintptr_t>(cfg->content);
  const auto end = start + cfg->size + 1;
  const auto at = reinterpret_cast<uintptr_t>(row);
  return at >= start && at < end ? end - at : 0;
}

constexpr bool IsQuote(char c) { return c == '"' || c == '\''; }

constexpr bool EndsValue(char c) {
  return c == '\0' || c == ';' || c == '"' || c == '\'' || c == '#' || c == '\r';
}

ValueSpan KeyValueSpan(const char* row, std::size_t key_length) {
  std::size_t start = key_length;
  while (row[start] == ' ' || row[start] == '\t' || row[start] == '=') ++start;
  if (IsQuote(row[start])) ++start;
  std::size_t end = start;
  while (!EndsValue(row[end])) ++end;
  return {start, end - start};
}

const char* RowAt(const Tcfg* cfg, int row) {
  if (cfg == nullptr || row < 0 || row >= kTcfgMaxRows) return nullptr;
  return cfg->rows[row];
}

// Column col of the line split at the delimiters, runs of delimiters counting
// as one, at most kMaxColumns columns; one leading quote is skipped and the
// value stops at a delimiter or a quote.
bool FindColumnSpan(const char* line, int col, const DelimiterSet& delimiters, ValueSpan* span) {
  if (col < 0) return false;
  const char* p = line;
  for (int index = 0;; ++index) {
    while (delimiters.IsDelimiter(*p)) ++p;
    if (*p == '\0' || index >= kMaxColumns) return false;
    if (index == col) break;
    while (delimiters.IsOrdinary(*p)) ++p;
  }
  const char* start = IsQuote(*p) ? p + 1 : p;
  const char* end = start;
  while (delimiters.IsOrdinary(*end) && !IsQuote(*end)) ++end;
  span->offset = static_cast<std::size_t>(start - line);
  span->length = static_cast<std::size_t>(end - start);
  return true;
}

int LocateColumn(Tcfg* cfg, int row, int col, const char* delimiters, char* buffer, std::size_t buffer_size,
                 ValueSpan* span) {
  if (col > kMaxColumns) {
    EmptyBuffer(buffer, buffer_size);
    std::fputs("too large col\n", stderr);
    return -1;
  }
  const char* line = RowAt(cfg, row);
  if (line == nullptr || !FindColumnSpan(line, col, DelimiterSet(delimiters), span)) {
    EmptyBuffer(buffer, buffer_size);
    return -1;
  }
  if (!CopyValueOut(line, *span, buffer, buffer_size)) return -1;
  return row;
}

// The n-th row whose key column is exactly key, or -1.
int FindMatchingRow(Tcfg* cfg, int key_col, const char* key, const char* delimiters, int n) {
  if (cfg == nullptr || key == nullptr) return -1;
  if (key_col > kMaxColumns) {
    std::fputs("too large col\n", stderr);
    return -1;
  }
  const DelimiterSet set(delimiters);
  const std::size_t key_length = std::strlen(key);
  int skip = n;
  for (int i = 0; i < cfg->row_count; ++i) {
    const char* line = cfg->rows[i];
    ValueSpan span;
    if (line == nullptr || !FindColumnSpan(line, key_col, set, &span)) continue;
    if (span.length != key_length || std::memcmp(line + span.offset, key, key_length) != 0) continue;
    if (skip > 0) {
      --skip;
      continue;
    }
    return i;
  }
  return -1;
}

}  // namespace

int find_value(Tcfg* cfg, const char* key, char* buffer, std::size_t buffer_size, int* value_offset,
               int* value_length, int n, int start_row) {
  if (cfg == nullptr || key == nullptr || start_row < 0 || cfg->row_count <= start_row) return -1;
  const std::size_t key_length = std::strlen(key);
  int skip = n;
  for (int i = start_row; i < cfg->row_count; ++i) {
    const char* row = cfg->rows[i];
    if (row == nullptr || !KeyMatches(row, key, key_length, ReadableBytes(cfg, row))) continue;
    if (skip > 0) {
      --skip;
      continue;
    }
    const ValueSpan span = KeyValueSpan(row, key_length);
    if (!CopyValueOut(row, span, buffer, buffer_size)) return -1;
    if (value_offset != nullptr) *value_offset = static_cast<int>(span.offset);
    if (value_length != nullptr) *value_length = static_cast<int>(span.length);
    return i;
  }
  EmptyBuffer(buffer, buffer_size);
  return -1;
}

int get_value(Tcfg* cfg, const char* key, char* buffer, std::size_t buffer_size) {
  return find_value(cfg, key, buffer, buffer_size, nullptr, nullptr, 0, 0);
}

int get_value_from_row(Tcfg* cfg, const char* key, char* buffer, std::size_t buffer_size, int start_row) {
  return find_value(cfg, key, buffer, buffer_size, nullptr, nullptr, 0, start_row);
}

int get_nth_value(Tcfg* cfg, const char* key, char* buffer, std::size_t buffer_size, int n) {
  return find_value(cfg, key, buffer, buffer_size, nullptr, nullptr, n, 0);
}

int replace_value(Tcfg* cfg, const char* key, const char* value, int n, int start_row) {
  if (value == nullptr) return -1;
  char current[kReplaceBufferSize];
  int offset = 0;
  int length = 0;
  const int row = find_value(cfg, key, current, sizeof current, &offset, &length, n, start_row);
  if (row < 0) return -1;
  return tcfg_text::SpliceRow(cfg, row, {static_cast<std::size_t>(offset), static_cast<std::size_t>(length)},
                              value);
}

int set_value(Tcfg* cfg, const char* key, const char* value) { return replace_value(cfg, key, value, 0, 0); }

int set_value_from_row(Tcfg* cfg, const char* key, const char* value, int start_row) {
  return replace_value(cfg, key, value, 0, start_row);
}

int set_nth_value(Tcfg* cfg, const char* key, const char* value, int n) {
  return replace_value(cfg, key, value, n, 0);
}

int get_str_after(Tcfg* cfg, const char* search, const char* stops, char* buffer, std::size_t buffer_size) {
  if (cfg != nullptr && search != nullptr) {
    const std::size_t search_length = std::strlen(search);
    for (int i = 0; i < cfg->row_count; ++i) {
      const char* row = cfg->rows[i];
      if (row == nullptr) continue;
      const char* hit = std::strstr(row, search);
      if (hit == nullptr) continue;
      const char* after = hit + search_length;
      const ValueSpan span{static_cast<std::size_t>(after - row),
                           stops != nullptr ? std::strcspn(after, stops) : std::strlen(after)};
      return CopyValueOut(row, span, buffer, buffer_size) ? 0 : -1;
    }
  }
  EmptyBuffer(buffer, buffer_size);
  return -1;
}

int get_col(Tcfg* cfg, int row, int col, const char* delimiters, char* buffer, std::size_t buffer_size) {
  ValueSpan span;
  return LocateColumn(cfg, row, col, delimiters, buffer, buffer_size, &span);
}

int set_col(Tcfg* cfg, int row, int col, const char* delimiters, const char* value) {
  if (value == nullptr) return -1;
  char current[kReplaceBufferSize];
  ValueSpan span;
  if (LocateColumn(cfg, row, col, delimiters, current, sizeof current, &span) < 0) return -1;
  return tcfg_text::SpliceRow(cfg, row, span, value);
}

int find_col_match(Tcfg* cfg, int key_col, const char* key, int value_col, const char* delimiters,
                   char* buffer, std::size_t buffer_size, int n) {
  const int row = FindMatchingRow(cfg, key_col, key, delimiters, n);
  if (row < 0) {
    EmptyBuffer(buffer, buffer_size);
    return -1;
  }
  return get_col(cfg, row, value_col, delimiters, buffer, buffer_size);
}

int get_col_by_match(Tcfg* cfg, int key_col, const char* key, int value_col, const char* delimiters,
                     char* buffer, std::size_t buffer_size) {
  return find_col_match(cfg, key_col, key, value_col, delimiters, buffer, buffer_size, 0);
}

int set_col_by_match(Tcfg* cfg, int key_col, const char* key, int value_col, const char* delimiters,
                     const char* value, int n) {
  const int row = FindMatchingRow(cfg, key_col, key, delimiters, n);
  if (row < 0) return -1;
  return set_col(cfg, row, value_col, delimiters, value);
}

int set_col_by_match(Tcfg* cfg, int key_col, const char* key, int value_col, const char* delimiters,
                     const char* value) {
  return set_col_by_match(cfg, key_col, key, value_col, delimiters, value, 0);
}
