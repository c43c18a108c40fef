#include "harness/cgi_case.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "harness/device_root.h"
#include "harness/process.h"

namespace harness {
namespace {

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
  const auto at = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end()).first;
  return std::to_string(actual.size()) + " bytes, expected " + std::to_string(expected.size()) +
         "; first difference at byte " + std::to_string(at - expected.begin());
}

}  // namespace

Put Le(const std::string& path, std::size_t offset, uint64_t value, int width) {
  std::string bytes;
  for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i));
  return {path, offset, bytes};
}

std::string Alert(const std::string& cgi, const std::string& message) {
  return kHeader + "<html>\n<head>\n<script language=javascript>\nalert(\"" + cgi + " Cgi Func:[" + message +
         "] return ERROR!!!\");\nhistory.go(-1);\n</script>\n</head>\n</html>\n";
}

std::string Redirect(const std::string& target) {
  return "<html>\n<head>\n<script language=javascript>\nlocation.href=\"" + target +
         "\";\n</script>\n</head>\n<body>\n</body>\n</html>\n";
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
  for (const auto& [path, bytes] : expected)
    EXPECT_TRUE(actual.contains(path) && actual.at(path) == bytes)
        << path << ": " << (actual.contains(path) ? Difference(bytes, actual.at(path)) : "missing");
  // (Edit lock files are made once and stay, as on the device.)
  for (const auto& [path, bytes] : actual)
    EXPECT_TRUE(expected.contains(path) || path.starts_with("/var/lock/nxcgi.")) << path << " was made";
}

}  // namespace harness
