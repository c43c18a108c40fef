// The text configuration library over a file made from the input. The first
// four bytes steer the calls (buffer size, occurrence, row and column, the
// delimiter set); the rest is the file. Keys and new values come from the
// file's own rows, so lookups find something as often as they miss. The
// calls are those the product makes (get_value, set_value and the others
// without an occurrence or a row are calls of these) and the column and line
// edits.
#include "config/text/tcfg_util.h"
#include "fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  static constexpr const char* kDelimiterSets[] = {",", " \t", ":", "=", ", \t", "\n\r", "|;", ""};
  if (size < 4) return 0;
  const int n = (data[1] >> 3) & 3, row = data[1] % 8, col = data[2];
  const char* delimiters = kDelimiterSets[data[3] % std::size(kDelimiterSets)];
  Tcfg* cfg = create_mem_cfg(reinterpret_cast<const char*>(data + 4), static_cast<uint32_t>(size - 4));
  const int rows = get_row_count(cfg);
  Check(rows >= 0 && rows <= kTcfgMaxRows && std::count(cfg->rows, cfg->rows + rows, nullptr) == 0);
  // The first word of a row: what a key lookup of that row would use.
  const auto key_of = [&](int r) {
    return r < 0 || r >= rows ? "KEY" : std::string(cfg->rows[r], std::strcspn(cfg->rows[r], "= \t"));
  };
  const std::string key = key_of(row), other = key_of(rows - 1), value = key_of((row + 1) % 8);
  std::vector<char> buffer(1 + data[0]);
  // After each lookup the buffer holds a string terminated within its size.
  const auto terminated = [&](int) { Check(std::memchr(buffer.data(), '\0', buffer.size()) != nullptr); };
  int offset = -1, length = -1;
  const int found = find_value(cfg, key.c_str(), buffer.data(), buffer.size(), &offset, &length, n, row);
  terminated(found);
  Check(found < 0 || (found < rows && offset >= 0 && std::strlen(buffer.data()) == std::size_t(length) &&
                      std::size_t(offset + length) <= std::strlen(cfg->rows[found])));
  terminated(get_col(cfg, row, col, delimiters, buffer.data(), buffer.size()));
  replace_value(cfg, other.c_str(), key.c_str(), n, row);
  set_col(cfg, row, col, delimiters, value.c_str());
  append_line(cfg, value.c_str());
  Check(get_row_count(cfg) == rows + 1 || rows == kTcfgMaxRows);
  terminated(find_value(cfg, key.c_str(), buffer.data(), buffer.size(), nullptr, nullptr, 0, 0));
  free_cfg(cfg);
  std::string copy(reinterpret_cast<const char*>(data + 4), size - 4);  // the splitter writes NULs into it
  char* pieces[128];
  const int count = split_string(copy.data(), delimiters, pieces, 1 + data[2] % 128);
  for (int i = 0; i < count; ++i) Check(pieces[i] >= copy.data() && pieces[i] < copy.data() + copy.size());
  return 0;
}
