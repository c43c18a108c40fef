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

using Puts = std::vector<Put>;
using Lines = std::vector<std::string>;

// A number's bytes, little-endian.
Put Le(const std::string& path, std::size_t offset, uint64_t value, int width);
inline Put U8(const std::string& path, std::size_t at, uint8_t value) { return Le(path, at, value, 1); }
inline Put U16(const std::string& path, std::size_t at, uint16_t value) { return Le(path, at, value, 2); }
inline Put U32(const std::string& path, std::size_t at, uint32_t value) { return Le(path, at, value, 4); }
// A text and its terminating NUL; zero bytes.
inline Put Str(const std::string& path, std::size_t at, const std::string& s) { return {path, at, s + '\0'}; }
inline Put Zeros(const std::string& path, std::size_t at, std::size_t n) {
  return {path, at, std::string(n, 0)};
}
inline Put File(const std::string& path, const std::string& bytes) { return {path, kWholeFile, bytes}; }
inline Put Gone(const std::string& path) { return {path, 0, "", true}; }

inline const std::string kHeader = "Content-type: text/html\r\n\r\n";
inline const std::string kNoContent = "HTTP/1.1 204 OK\r\n" + kHeader;
// The dispatcher's alert page (its own header first).
std::string Alert(const std::string& cgi, const std::string& message);
// The epilogue's redirect page.
std::string Redirect(const std::string& target);

struct CgiCase {
  // (A constructor, so that rows can be written as calls, CgiCase(...).)
  CgiCase(const char* name, const char* cgi, std::string form, Puts before, Puts after, std::string answer,
          Lines journal = {}, std::optional<std::string> err = {})
      : name(name),
        cgi(cgi),
        form(std::move(form)),
        before(std::move(before)),
        after(std::move(after)),
        answer(std::move(answer)),
        journal(std::move(journal)),
        err(std::move(err)) {}
  const char* name;
  const char* cgi;
  std::string form;
  Puts before;                     // applied to the factory tree
  Puts after;                      // what the request changes
  std::string answer;              // exact standard output
  Lines journal;                   // the journal's lines afterwards
  std::optional<std::string> err;  // exact standard error, when given
};

inline void PrintTo(const CgiCase& c, std::ostream* out) { *out << c.name; }

class DeviceRoot;
void Apply(const DeviceRoot& root, const std::vector<Put>& puts);
// Runs the row's request on a fresh device root and checks it (gtest
// expectations).
void RunCase(const CgiCase& c);

}  // namespace harness
