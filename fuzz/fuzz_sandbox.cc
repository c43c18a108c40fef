#include "fuzz_sandbox.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "cgi/cgi_request.h"
#include "config/svc_cfg_file.h"
#include "front/dispatcher.h"
#include "front/handler_table.h"
#include "ftp/client/ftp_internal.h"
#include "platform/command.h"
#include "platform/sleep.h"

namespace fuzz {
namespace {

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "fuzz sandbox: %s: %s\n", what, std::strerror(errno));
  std::abort();
}

struct SavedFile {
  std::string bytes;
  mode_t mode = 0644;
  timespec ctime = {};
  off_t size = 0;
};

struct Sandbox {
  std::string root;
  std::unordered_map<std::string, SavedFile> files;  // by path below the root
  std::unordered_set<std::string> dirs;
  int refusing_socket = -1;
  int outside_dir = -1;  // the working directory libFuzzer knows
  char refusing_port[8] = {};
};

Sandbox& TheSandbox() {
  static Sandbox sandbox;
  return sandbox;
}

// Commands are answered as done without running: nothing a form says ever
// reaches a shell.
int SwallowCommand(const char*, const char*) { return 0; }
void SkipSleep(unsigned long long) {}

bool ReadWhole(const std::string& path, std::string* bytes) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  bytes->clear();
  char chunk[65536];
  ssize_t got;
  while ((got = read(fd, chunk, sizeof chunk)) > 0) bytes->append(chunk, static_cast<std::size_t>(got));
  close(fd);
  return got == 0;
}

void WriteWhole(const std::string& path, const char* data, std::size_t size, mode_t mode) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
  if (fd < 0) Fail(path.c_str());
  std::size_t done = 0;
  while (done < size) {
    const ssize_t wrote = write(fd, data + done, size - done);
    if (wrote <= 0) Fail(path.c_str());
    done += static_cast<std::size_t>(wrote);
  }
  fchmod(fd, mode);
  close(fd);
}

void RemoveTree(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) return;
  if (S_ISDIR(status.st_mode)) {
    if (DIR* dir = opendir(path.c_str())) {
      std::vector<std::string> names;
      while (const dirent* entry = readdir(dir)) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
          names.emplace_back(entry->d_name);
        }
      }
      closedir(dir);
      for (const std::string& name : names) RemoveTree(path + "/" + name);
    }
    rmdir(path.c_str());
  } else {
    unlink(path.c_str());
  }
}

void Snapshot(const std::string& relative) {
  Sandbox& sandbox = TheSandbox();
  DIR* dir = opendir((sandbox.root + relative).c_str());
  if (dir == nullptr) Fail(relative.c_str());
  std::vector<std::string> names;
  while (const dirent* entry = readdir(dir)) {
    if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
      names.emplace_back(entry->d_name);
    }
  }
  closedir(dir);
  for (const std::string& name : names) {
    const std::string child = relative + "/" + name;
    const std::string host = sandbox.root + child;
    struct stat status;
    if (lstat(host.c_str(), &status) != 0) Fail(host.c_str());
    if (S_ISDIR(status.st_mode)) {
      sandbox.dirs.insert(child);
      Snapshot(child);
    } else if (S_ISREG(status.st_mode)) {
      SavedFile& saved = sandbox.files[child];
      if (!ReadWhole(host, &saved.bytes)) Fail(host.c_str());
      saved.mode = status.st_mode & 07777;
      saved.ctime = status.st_ctim;
      saved.size = status.st_size;
    }
  }
}

// Walks the tree as it is now: unknown entries go, changed files are
// rewritten. Returns how many known entries were seen.
std::size_t RestoreDir(const std::string& relative) {
  Sandbox& sandbox = TheSandbox();
  DIR* dir = opendir((sandbox.root + relative).c_str());
  if (dir == nullptr) return 0;
  std::vector<std::string> names;
  while (const dirent* entry = readdir(dir)) {
    if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
      names.emplace_back(entry->d_name);
    }
  }
  closedir(dir);
  std::size_t seen = 0;
  for (const std::string& name : names) {
    const std::string child = relative + "/" + name;
    const std::string host = sandbox.root + child;
    struct stat status;
    if (lstat(host.c_str(), &status) != 0) continue;
    if (S_ISDIR(status.st_mode) && sandbox.dirs.count(child) != 0) {
      ++seen;
      seen += RestoreDir(child);
      continue;
    }
    const auto saved = sandbox.files.find(child);
    if (!S_ISREG(status.st_mode) || saved == sandbox.files.end()) {
      RemoveTree(host);
      continue;
    }
    ++seen;
    SavedFile& file = saved->second;
    if (status.st_size != file.size || status.st_ctim.tv_sec != file.ctime.tv_sec ||
        status.st_ctim.tv_nsec != file.ctime.tv_nsec) {
      WriteWhole(host, file.bytes.data(), file.bytes.size(), file.mode);
      if (lstat(host.c_str(), &status) == 0) file.ctime = status.st_ctim;
    }
  }
  return seen;
}

void RecreateMissing() {
  Sandbox& sandbox = TheSandbox();
  std::vector<std::string> dirs(sandbox.dirs.begin(), sandbox.dirs.end());
  std::sort(dirs.begin(), dirs.end());  // parents before children
  for (const std::string& dir : dirs) mkdir((sandbox.root + dir).c_str(), 0755);
  for (auto& [relative, file] : sandbox.files) {
    const std::string host = sandbox.root + relative;
    struct stat status;
    if (lstat(host.c_str(), &status) == 0) continue;
    WriteWhole(host, file.bytes.data(), file.bytes.size(), file.mode);
    if (lstat(host.c_str(), &status) == 0) file.ctime = status.st_ctim;
  }
}

void RunSetUp(const std::string& command) {
  if (std::system(command.c_str()) != 0) {
    std::fprintf(stderr, "fuzz sandbox: failed: %s\n", command.c_str());
    std::abort();
  }
}

// A TCP port on 127.0.0.1 that is bound but never listened on: connecting to
// it is refused at once, and nobody else can take it while the harness runs.
void BindRefusingPort(Sandbox& sandbox) {
  sandbox.refusing_socket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (sandbox.refusing_socket < 0) Fail("socket");
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (bind(sandbox.refusing_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      getsockname(sandbox.refusing_socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    Fail("bind");
  }
  std::snprintf(sandbox.refusing_port, sizeof sandbox.refusing_port, "%u", ntohs(address.sin_port));
}

void RemoveSandboxAtExit() {
  if (!TheSandbox().root.empty()) RemoveTree(TheSandbox().root);
}

bool HasDotDot(const char* text) {
  // The single-line accessor drops CR and LF, so ".\r." reads as "..".
  char previous = '\0';
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p == '\r' || *p == '\n') continue;
    if (*p == '.' && previous == '.') return true;
    previous = *p;
  }
  return false;
}

void ReplaceValue(CgiFormEntry* entry, const char* value) {
  std::free(entry->value);
  entry->value = strdup(value);
  if (entry->value == nullptr) std::abort();
}

}  // namespace

void SetUpSandbox() {
  Sandbox& sandbox = TheSandbox();
  if (!sandbox.root.empty()) return;

  // Pages and echoes go nowhere; libFuzzer and the sanitizers keep stderr.
  std::fflush(stdout);
  const int null_fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (null_fd < 0 || dup2(null_fd, STDOUT_FILENO) < 0) Fail("/dev/null");
  close(null_fd);

  char root[] = "/tmp/nxcgi-fuzz-XXXXXX";
  if (mkdtemp(root) == nullptr) Fail("mkdtemp");
  sandbox.root = root;
  std::atexit(RemoveSandboxAtExit);

  const std::string nxconf = NXCGI_NXCONF_BINARY;
  RunSetUp("'" + nxconf + "' init '" + sandbox.root + "' >/dev/null");
  BindRefusingPort(sandbox);
  for (int module = 0; module < 4; ++module) {
    for (const char* file : {"FtpSigSvcConf.bin", "FtpDurSvcConf.bin"}) {
      RunSetUp("'" + nxconf + "' set '" + sandbox.root + "/opt/vsb/etc/NxConf/NxModId" +
               std::to_string(module) + "/" + file +
               "' ServerIp=127.0.0.1 FtpCtrlPort=" + sandbox.refusing_port);
    }
  }
  for (const char* dir :
       {"/var/run", "/var/run/nxcamctld.pid", "/var/run/isensd.pid", "/tmp", "/web", "/scratch"}) {
    mkdir((sandbox.root + dir).c_str(), 0755);
  }
  sandbox.outside_dir = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (sandbox.outside_dir < 0) Fail("open .");
  setenv("NXCGI_ROOT", sandbox.root.c_str(), 1);

  platform::SetCommandRunner(SwallowCommand);
  platform::SetSleeper(SkipSleep);
  Snapshot("");
}

const std::string& SandboxPath() { return TheSandbox().root; }

std::string SandboxHostPath(const std::string& device_path) { return TheSandbox().root + device_path; }

const char* RefusingPortText() { return TheSandbox().refusing_port; }

void ResetProductState() {
  CgiFreeForm();
  ClearSvcImages();
  ftp_reset_process_state();
  std::memset(CgiErrMsgBuffer(), 0, kCgiErrMsgSize);
  std::fflush(stdout);
  std::fflush(stderr);
}

void EnterSandbox() {
  if (chdir((TheSandbox().root + "/scratch").c_str()) != 0) Fail("chdir");
}

void LeaveSandbox() {
  if (fchdir(TheSandbox().outside_dir) != 0) Fail("fchdir");
}

void RestoreSandbox() {
  Sandbox& sandbox = TheSandbox();
  if (RestoreDir("") != sandbox.dirs.size() + sandbox.files.size()) RecreateMissing();
}

void WriteSandboxFile(const std::string& device_path, const uint8_t* data, std::size_t size) {
  WriteWhole(TheSandbox().root + device_path, reinterpret_cast<const char*>(data), size, 0644);
}

bool GuardForm() {
  for (CgiFormEntry* entry = CgiFormHead(); entry != nullptr; entry = entry->next) {
    if (HasDotDot(entry->name) || HasDotDot(entry->value)) return false;
    if (std::strcmp(entry->name, "ServerIp") == 0) ReplaceValue(entry, "127.0.0.1");
    if (std::strcmp(entry->name, "FtpCtrlPort") == 0) ReplaceValue(entry, TheSandbox().refusing_port);
  }
  return true;
}

}  // namespace fuzz
