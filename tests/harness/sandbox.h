// A temporary device root for NXCGI_ROOT: the directories the system expects
// and stub executables for the fixed commands (save command, init scripts,
// flash utility, apply tool). Each stub appends a line to the device
// journal: a UTC time stamp, a blank, its device path and arguments. Tests
// assert what ran and in which order through Journal(), which drops the
// time stamps. The simulator's device root (scripts/lib/make_device_root.sh)
// writes the same format to the same file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace harness {

// Device path of the journal the stubs append to.
inline constexpr const char* kCommandJournal = "/var/log/device.journal";

class SandboxRoot {
 public:
  SandboxRoot();
  ~SandboxRoot();
  SandboxRoot(const SandboxRoot&) = delete;
  SandboxRoot& operator=(const SandboxRoot&) = delete;

  const std::string& path() const { return path_; }
  // The host path of a device path.
  std::string Host(std::string_view device_path) const;

  void WriteFile(std::string_view device_path, std::string_view contents, unsigned mode = 0644) const;
  std::string ReadFile(std::string_view device_path) const;
  bool Exists(std::string_view device_path) const;
  void MakeDirectory(std::string_view device_path) const;
  void Remove(std::string_view device_path) const;

  // A stub executable at the device path that journals its calls.
  void InstallStub(std::string_view device_path) const;
  // Journal lines, oldest first, without their time stamps:
  // "<device path> <arg> <arg>...".
  std::vector<std::string> Journal() const;

 private:
  std::string path_;
};

}  // namespace harness
