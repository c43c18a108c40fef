// Shared pieces of the crash-safety and concurrency tests: a CGI request run
// as a plain program (so that strace can wrap it), the temporary files a
// save leaves in a directory, and the edits these tests make.
#pragma once

#include <dirent.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "harness/process.h"
#include "harness/sandbox.h"
#include "platform/config_write.h"

namespace hardening {

using Env = std::vector<std::pair<std::string, std::string>>;

// A program and its arguments, with the environment it needs besides the
// harness's base one.
struct Command {
  std::vector<std::string> argv;
  Env env;
};

// A GET request to a CGI name: argv[0] is a link named like the CGI program
// (made in the sandbox), so that the dispatcher picks the handler whatever
// runs the executable.
inline Command CgiGet(const harness::SandboxRoot& root, const std::string& cgi_name,
                      const std::string& query) {
  const std::string link = root.Host("/web/cgi-bin/" + cgi_name);
  if (access(link.c_str(), F_OK) != 0) {
    root.MakeDirectory("/web/cgi-bin");
    if (symlink(NXCGI_BINARY, link.c_str()) != 0) return {};
  }
  return {{link},
          {{"GATEWAY_INTERFACE", "CGI/1.1"},
           {"REQUEST_METHOD", "GET"},
           {"QUERY_STRING", query},
           {"NXCGI_ROOT", root.path()}}};
}

// The text-file driver: one key of a text configuration file set through
// the text configuration library.
inline Command TcfgEdit(const harness::SandboxRoot& root, const std::string& device_path,
                        const std::string& key, const std::string& value) {
  return {{std::string(NXCGI_BIN_DIR) + "/tcfg_edit", device_path, key, value},
          {{"NXCGI_ROOT", root.path()}}};
}

// The command run under strace with the given options.
inline Command Traced(const Command& command, const std::vector<std::string>& options) {
  Command traced{{"/usr/bin/strace"}, command.env};
  traced.argv.insert(traced.argv.end(), options.begin(), options.end());
  traced.argv.push_back("--");
  traced.argv.insert(traced.argv.end(), command.argv.begin(), command.argv.end());
  return traced;
}

inline harness::ProcessResult Run(const Command& command) {
  return harness::RunProgram(command.argv, command.env);
}

// Names of the temporary files of saves in the host directory.
inline std::vector<std::string> TempFiles(const std::string& host_directory) {
  std::vector<std::string> names;
  DIR* dir = opendir(host_directory.c_str());
  if (dir == nullptr) return names;
  while (const dirent* entry = readdir(dir)) {
    const std::string name = entry->d_name;
    if (name.find(platform::kTempFileMarker) != std::string::npos) names.push_back(name);
  }
  closedir(dir);
  return names;
}

// Sets TMPDIR (where sandboxes are made) for its lifetime; empty leaves it.
class ScopedTmpdir {
 public:
  explicit ScopedTmpdir(const std::string& directory) {
    if (directory.empty()) return;
    if (const char* old = std::getenv("TMPDIR")) old_ = old;
    had_old_ = std::getenv("TMPDIR") != nullptr;
    setenv("TMPDIR", directory.c_str(), 1);
    set_ = true;
  }
  ~ScopedTmpdir() {
    if (!set_) return;
    if (had_old_) {
      setenv("TMPDIR", old_.c_str(), 1);
    } else {
      unsetenv("TMPDIR");
    }
  }
  ScopedTmpdir(const ScopedTmpdir&) = delete;
  ScopedTmpdir& operator=(const ScopedTmpdir&) = delete;

 private:
  std::string old_;
  bool had_old_ = false;
  bool set_ = false;
};

// /dev/shm when it is a writable directory, else "".
inline std::string SandboxOnTmpfs() { return access("/dev/shm", W_OK | X_OK) == 0 ? "/dev/shm" : ""; }

// Why strace can't be used here, or "" when it can.
inline std::string StraceUnusable() {
  if (access("/usr/bin/strace", X_OK) != 0) return "strace is not installed (Debian package strace)";
  const harness::ProcessResult probe = harness::RunProgram(
      {"/usr/bin/strace", "-qq", "-o", "/dev/null", "-e", "inject=getpid:retval=42", "/bin/true"});
  if (probe.exit_status != 0) return "strace cannot trace here (ptrace not permitted?): " + probe.err;
  return "";
}

}  // namespace hardening
