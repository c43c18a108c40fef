#include "harness/sandbox.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "harness/capture.h"

namespace harness {
namespace {

constexpr const char* kDirectories[] = {
    "/opt/vsb/etc/NxConf", "/opt/vsb/bin", "/web/img",    "/var/run", "/var/log",     "/etc/init.d",
    "/etc/sysconfig",      "/usr/sbin",    "/tmp/advbuf", "/dev",     "/proc/driver",
};

constexpr const char* kStubs[] = {
    "/usr/sbin/savecfg",  "/etc/init.d/uartsvc",   "/etc/init.d/mailtxd",
    "/etc/init.d/advsvc", "/opt/vsb/bin/camgpctl", "/usr/sbin/fuc",
};

}  // namespace

SandboxRoot::SandboxRoot() {
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern = std::string(tmp != nullptr && *tmp ? tmp : "/tmp") + "/nxcgi-root-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
  for (const char* directory : kDirectories) MakeDirectory(directory);
  for (const char* stub : kStubs) InstallStub(stub);
}

SandboxRoot::~SandboxRoot() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string SandboxRoot::Host(std::string_view device_path) const { return path_ + std::string(device_path); }

void SandboxRoot::WriteFile(std::string_view device_path, std::string_view contents, unsigned mode) const {
  const std::string host = Host(device_path);
  std::filesystem::create_directories(std::filesystem::path(host).parent_path());
  std::ofstream out(host, std::ios::binary | std::ios::trunc);
  out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
  out.close();
  chmod(host.c_str(), mode);
}

std::string SandboxRoot::ReadFile(std::string_view device_path) const {
  return ReadWholeFile(Host(device_path));
}

bool SandboxRoot::Exists(std::string_view device_path) const {
  struct stat status;
  return lstat(Host(device_path).c_str(), &status) == 0;
}

void SandboxRoot::MakeDirectory(std::string_view device_path) const {
  std::filesystem::create_directories(Host(device_path));
}

void SandboxRoot::Remove(std::string_view device_path) const {
  std::error_code ignored;
  std::filesystem::remove_all(Host(device_path), ignored);
}

void SandboxRoot::InstallStub(std::string_view device_path) const {
  std::ostringstream script;
  script << "#!/bin/sh\n"
         << "line=\"$(date -u +%Y-%m-%dT%H:%M:%S.%6NZ) " << device_path << "\"\n"
         << "for arg in \"$@\"; do line=\"$line $arg\"; done\n"
         << "printf '%s\\n' \"$line\" >> \"$NXCGI_ROOT" << kCommandJournal << "\"\n";
  WriteFile(device_path, script.str(), 0755);
}

std::vector<std::string> SandboxRoot::Journal() const {
  std::vector<std::string> lines;
  std::istringstream in(ReadFile(kCommandJournal));
  for (std::string line; std::getline(in, line);) {
    const std::size_t blank = line.find(' ');
    lines.push_back(blank == std::string::npos ? line : line.substr(blank + 1));
  }
  return lines;
}

}  // namespace harness
