#include "harness/cgi_case.h"

#include <gtest/gtest.h>

#include "harness/device_root.h"
#include "harness/process.h"

namespace harness {
namespace {

std::string Le(uint64_t value, int width) {
  std::string bytes;
  for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i));
  return bytes;
}

void ApplyTo(std::map<std::string, std::string>& files, const Put& put) {
  if (put.gone) {
    files.erase(put.path);
  } else if (put.offset == kWholeFile) {
    files[put.path] = put.bytes;
  } else {
    std::string& bytes = files[put.path];
    if (bytes.size() < put.offset + put.bytes.size()) bytes.resize(put.offset + put.bytes.size());
    bytes.replace(put.offset, put.bytes.size(), put.bytes);
  }
}

// Where a file first differs, readably.
std::string Difference(const std::string& expected, const std::string& actual) {
  std::size_t at = 0;
  while (at < expected.size() && at < actual.size() && expected[at] == actual[at]) ++at;
  char text[128];
  std::snprintf(
      text, sizeof text, "%zu bytes, expected %zu; first difference at byte %zu (expected %02x, got %02x)",
      actual.size(), expected.size(), at, at < expected.size() ? static_cast<unsigned char>(expected[at]) : 0,
      at < actual.size() ? static_cast<unsigned char>(actual[at]) : 0);
  return text;
}

}  // namespace

Put U8(const std::string& path, std::size_t offset, uint8_t value) { return {path, offset, Le(value, 1)}; }
Put U16(const std::string& path, std::size_t offset, uint16_t value) { return {path, offset, Le(value, 2)}; }
Put U32(const std::string& path, std::size_t offset, uint32_t value) { return {path, offset, Le(value, 4)}; }
Put Str(const std::string& path, std::size_t offset, const std::string& text) {
  return {path, offset, text + '\0'};
}
Put Zeros(const std::string& path, std::size_t offset, std::size_t count) {
  return {path, offset, std::string(count, '\0')};
}
Put File(const std::string& path, const std::string& bytes) { return {path, kWholeFile, bytes}; }
Put Gone(const std::string& path) { return {path, 0, "", true}; }

std::string Alert(const std::string& cgi, const std::string& message) {
  return kHeader + "<html>\n<head>\n<script language=javascript>\nalert(\"" + cgi + " Cgi Func:[" + message +
         "] return ERROR!!!\");\nhistory.go(-1);\n</script>\n</head>\n</html>\n";
}

void Apply(const DeviceRoot& root, const std::vector<Put>& puts) {
  std::map<std::string, std::string> files;
  for (const Put& put : puts) {
    if (!files.contains(put.path) && root.Exists(put.path)) files[put.path] = root.Read(put.path);
    ApplyTo(files, put);
    if (put.gone) root.Remove(put.path);
  }
  for (const auto& [path, bytes] : files) root.Write(path, bytes);
}

void RunCase(const CgiCase& c) {
  DeviceRoot root;
  Apply(root, c.before);
  std::map<std::string, std::string> expected = root.Files();
  for (const Put& put : c.after) ApplyTo(expected, put);

  const ProcessResult result = Post(c.cgi, c.form, root.path());

  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.out, c.answer);
  if (c.err) {
    EXPECT_EQ(result.err, *c.err);
  }
  EXPECT_EQ(root.Journal(), c.journal);
  const std::map<std::string, std::string> actual = root.Files();
  for (const auto& [path, bytes] : expected) {
    const auto found = actual.find(path);
    if (found == actual.end()) {
      ADD_FAILURE() << path << " is missing";
    } else if (found->second != bytes) {
      ADD_FAILURE() << path << ": " << Difference(bytes, found->second);
    }
  }
  for (const auto& [path, bytes] : actual) {
    if (!expected.contains(path)) ADD_FAILURE() << path << " was made";
  }
}

}  // namespace harness
