// The text configuration library over a file made from the input. The first
// four bytes steer the calls (buffer size, occurrence, row and column, the
// delimiter set); the rest is the file. Keys and new values come from the
// file's own rows, so lookups find something as often as they miss.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "config/text/tcfg_util.h"
#include "fuzz_target.h"

namespace {

void Check(bool condition) {
  if (!condition) __builtin_trap();
}

constexpr const char* kDelimiterSets[] = {",", " \t", ":", "=", ", \t", "\n\r", "|;", ""};

// The buffer after a lookup holds a terminated string within its size.
void CheckBuffer(const std::vector<char>& buffer) {
  Check(std::memchr(buffer.data(), '\0', buffer.size()) != nullptr);
}

// The first word of a row: what a key lookup of that row would use.
std::string KeyOfRow(Tcfg* cfg, int row) {
  if (row < 0 || row >= get_row_count(cfg) || cfg->rows[row] == nullptr) return "KEY";
  const char* text = cfg->rows[row];
  return std::string(text, std::strcspn(text, "= \t"));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) { return 0; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  const std::size_t buffer_size = 1 + data[0];
  const int n = (data[1] >> 3) & 3;
  const int row = data[1] % 8;
  const int col = data[2];
  const char* delimiters = kDelimiterSets[data[3] % std::size(kDelimiterSets)];
  const char* text = reinterpret_cast<const char*>(data + 4);
  const auto length = static_cast<uint32_t>(size - 4);

  Tcfg* cfg = create_mem_cfg(text, length);
  Check(cfg != nullptr);
  const int rows = get_row_count(cfg);
  Check(rows >= 0 && rows <= kTcfgMaxRows);
  for (int i = 0; i < rows; ++i) Check(cfg->rows[i] != nullptr);

  std::vector<char> buffer(buffer_size);
  const std::string key = KeyOfRow(cfg, row);
  const std::string other_key = KeyOfRow(cfg, rows - 1);
  const std::string value = KeyOfRow(cfg, (row + 1) % 8);

  int offset = -1;
  int value_length = -1;
  const int found = find_value(cfg, key.c_str(), buffer.data(), buffer.size(), &offset, &value_length, n, 0);
  CheckBuffer(buffer);
  if (found >= 0) {
    Check(found < rows);
    Check(offset >= 0 && value_length >= 0);
    Check(static_cast<std::size_t>(offset + value_length) <= std::strlen(cfg->rows[found]));
    Check(std::strlen(buffer.data()) == static_cast<std::size_t>(value_length));
  }
  get_value(cfg, other_key.c_str(), buffer.data(), buffer.size());
  CheckBuffer(buffer);
  get_nth_value(cfg, key.c_str(), buffer.data(), buffer.size(), n);
  CheckBuffer(buffer);
  get_value_from_row(cfg, key.c_str(), buffer.data(), buffer.size(), row);
  CheckBuffer(buffer);
  get_col(cfg, row, col, delimiters, buffer.data(), buffer.size());
  CheckBuffer(buffer);
  find_col_match(cfg, col % 4, key.c_str(), col, delimiters, buffer.data(), buffer.size(), n);
  CheckBuffer(buffer);
  get_str_after(cfg, key.c_str(), delimiters, buffer.data(), buffer.size());
  CheckBuffer(buffer);
  get_line(cfg, row, buffer.data(), buffer.size());
  CheckBuffer(buffer);

  set_value(cfg, key.c_str(), value.c_str());
  replace_value(cfg, other_key.c_str(), key.c_str(), n, row);
  set_col(cfg, row, col, delimiters, value.c_str());
  set_col_by_match(cfg, col % 4, key.c_str(), col, delimiters, value.c_str(), n);
  set_line(cfg, row, key.c_str());
  append_line(cfg, value.c_str());
  Check(get_row_count(cfg) == rows + 1 || rows == kTcfgMaxRows);
  // Everything changed is still readable.
  for (int i = 0; i < get_row_count(cfg); ++i) {
    if (cfg->rows[i] != nullptr) Check(std::strlen(cfg->rows[i]) < (1u << 20));
  }
  get_value(cfg, key.c_str(), buffer.data(), buffer.size());
  CheckBuffer(buffer);
  free_cfg(cfg);

  // The splitters over a private copy (they write NULs into it).
  std::string copy(text, length);
  char* pieces[128];
  const int count = split_string(copy.data(), delimiters, pieces, static_cast<int>(1 + data[2] % 128));
  Check(count >= 0 && count <= 128);
  for (int i = 0; i < count; ++i) Check(pieces[i] >= copy.data() && pieces[i] < copy.data() + copy.size());
  std::string copy2(text, length);
  uint8_t bytes[128];
  const int byte_count = split_bytes(copy2.data(), delimiters, bytes, static_cast<int>(1 + (data[2] >> 1)));
  Check(byte_count >= 0 && byte_count <= 128);
  return 0;
}
