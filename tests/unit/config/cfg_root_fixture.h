// A sandbox device root for in-process tests of the configuration files:
// NXCGI_ROOT points at it and the umask is 0, so that directory modes are
// exactly what the code asks for.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "harness/sandbox.h"

namespace config_test {

class CfgRootTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (const char* old = std::getenv("NXCGI_ROOT")) old_root_ = old;
    setenv("NXCGI_ROOT", sandbox_.path().c_str(), 1);
    old_umask_ = umask(0);
  }
  void TearDown() override {
    umask(old_umask_);
    if (old_root_) {
      setenv("NXCGI_ROOT", old_root_->c_str(), 1);
    } else {
      unsetenv("NXCGI_ROOT");
    }
  }

  // Permission bits of a device path, or -1 when it does not exist.
  int Mode(const std::string& device_path) const {
    struct stat status;
    if (stat(sandbox_.Host(device_path).c_str(), &status) != 0) return -1;
    return static_cast<int>(status.st_mode & 07777);
  }
  bool IsDirectory(const std::string& device_path) const {
    struct stat status;
    return stat(sandbox_.Host(device_path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
  }
  std::string Read(const std::string& device_path) const { return sandbox_.ReadFile(device_path); }

  harness::SandboxRoot sandbox_;

 private:
  std::optional<std::string> old_root_;
  mode_t old_umask_ = 022;
};

// n bytes that differ from their neighbours and from other seeds.
inline std::string Pattern(std::size_t size, int seed) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i)
    bytes[i] = static_cast<char>((i * 7 + static_cast<std::size_t>(seed) * 31 + 1) & 0xFF);
  return bytes;
}

inline std::span<const std::uint8_t> AsBytes(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace config_test
