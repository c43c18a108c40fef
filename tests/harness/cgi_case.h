// One request through the real executable and everything it must do, as a
// table row: the exact answer, the exact bytes it changes in the device's
// files (every other byte of every file is compared too), and the journal of
// the commands it ran. Offsets are written out as numbers, independently of
// the record layouts.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace harness {

inline constexpr std::size_t kWholeFile = std::string::npos;

// Bytes at an offset of a file; kWholeFile: the whole file is these bytes;
// gone: the file does not exist.
struct Put {
  std::string path;
  std::size_t offset = kWholeFile;
  std::string bytes;
  bool gone = false;
};

Put U8(const std::string& path, std::size_t offset, uint8_t value);
Put U16(const std::string& path, std::size_t offset, uint16_t value);
Put U32(const std::string& path, std::size_t offset, uint32_t value);
// A text and its terminating NUL.
Put Str(const std::string& path, std::size_t offset, const std::string& text);
Put Zeros(const std::string& path, std::size_t offset, std::size_t count);
Put File(const std::string& path, const std::string& bytes);
Put Gone(const std::string& path);

inline const std::string kHeader = "Content-type: text/html\r\n\r\n";
inline const std::string kNoContent = "HTTP/1.1 204 OK\r\n" + kHeader;
// The dispatcher's alert page (its own header first).
std::string Alert(const std::string& cgi, const std::string& message);

struct CgiCase {
  const char* name;
  const char* cgi;
  std::string form;
  std::vector<Put> before;  // applied to the factory tree
  std::vector<Put> after;   // what the request changes
  std::string answer;       // exact standard output
  std::vector<std::string> journal = {};
  std::optional<std::string> err = {};  // exact standard error, when given
};

inline void PrintTo(const CgiCase& c, std::ostream* out) { *out << c.name; }

class DeviceRoot;
void Apply(const DeviceRoot& root, const std::vector<Put>& puts);
// Runs the row's request on a fresh device root and checks it (gtest
// expectations).
void RunCase(const CgiCase& c);

}  // namespace harness
