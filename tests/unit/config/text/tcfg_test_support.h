// Shared pieces of the text configuration tests: a device root that
// NXCGI_ROOT points to, an owner for Tcfg objects, and stderr with the line
// numbers of location prefixes blanked so the texts can be compared whole.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "config/text/tcfg_util.h"
#include "harness/capture.h"
#include "harness/sandbox.h"

namespace tcfg_test {

struct CfgDeleter {
  void operator()(Tcfg* cfg) const { free_cfg(cfg); }
};
using CfgPtr = std::unique_ptr<Tcfg, CfgDeleter>;

// "[func:source(123)]\t" becomes "[func:source(L)]\t".
inline std::string BlankLines(const std::string& err) {
  static const std::regex prefix(R"(\[(\w+):(\w+)\(\d+\)\]\t)");
  return std::regex_replace(err, prefix, "[$1:$2(L)]\t");
}

inline std::vector<std::string> Rows(const Tcfg* cfg) {
  std::vector<std::string> rows;
  for (int i = 0; i < cfg->row_count; ++i)
    rows.emplace_back(cfg->rows[i] != nullptr ? cfg->rows[i] : "<null>");
  return rows;
}

// What loading promises: the text up to its first NUL, cut at every LF and
// CR, without empty lines, at most 32768 of them.
inline std::vector<std::string> ExpectedRows(const std::string& bytes) {
  const std::string text = bytes.substr(0, bytes.find('\0'));
  std::vector<std::string> rows;
  std::string line;
  for (const char c : text + '\n') {
    if (c == '\n' || c == '\r') {
      if (!line.empty() && rows.size() < kTcfgMaxRows) rows.push_back(line);
      line.clear();
    } else {
      line += c;
    }
  }
  return rows;
}

inline CfgPtr MemCfg(const std::string& text) {
  return CfgPtr(create_mem_cfg(text.data(), static_cast<uint32_t>(text.size())));
}

// Runs body with stderr captured and returns it with prefixes blanked.
template <typename Body>
std::string Err(Body&& body) {
  return BlankLines(harness::CaptureStdio([&] { body(); }).err);
}

// A device root below a temporary directory, named by NXCGI_ROOT for the
// life of the test.
class DeviceRootTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* previous = std::getenv("NXCGI_ROOT");
    had_root_ = previous != nullptr;
    if (had_root_) previous_root_ = previous;
    setenv("NXCGI_ROOT", root_.path().c_str(), 1);
  }
  void TearDown() override {
    if (had_root_) {
      setenv("NXCGI_ROOT", previous_root_.c_str(), 1);
    } else {
      unsetenv("NXCGI_ROOT");
    }
  }

  // Writes the file at the device path and returns an object loaded from it.
  CfgPtr Loaded(const std::string& device_path, const std::string& text) {
    root_.WriteFile(device_path, text);
    CfgPtr cfg(new_cfg(device_path.c_str()));
    EXPECT_NE(cfg, nullptr);
    if (cfg != nullptr) {
      EXPECT_GE(load_cfg(cfg.get()), 0);
    }
    return cfg;
  }

  harness::SandboxRoot root_;

 private:
  bool had_root_ = false;
  std::string previous_root_;
};

}  // namespace tcfg_test
