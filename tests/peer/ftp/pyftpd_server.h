// A pyftpdlib server (Debian's python3-pyftpdlib) on 127.0.0.1 serving one
// home directory, run by pyftpd_launcher.py for as long as the object lives.
#pragma once

#include <dirent.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace ftp_peer {

inline constexpr const char* kPython = "/usr/bin/python3";
inline constexpr const char* kLauncher = NXCGI_SOURCE_DIR "/tests/peer/ftp/pyftpd_launcher.py";

class PyFtpdServer {
 public:
  PyFtpdServer() = default;
  ~PyFtpdServer() { Stop(); }
  PyFtpdServer(const PyFtpdServer&) = delete;
  PyFtpdServer& operator=(const PyFtpdServer&) = delete;

  // Starts the server for user/password (and anonymous) on the port (0: any
  // free one); the port it listens on, or 0 when it did not start.
  int Start(const std::string& home, const std::string& user, const std::string& password, int port = 0) {
    int to_child[2];
    int from_child[2];
    if (pipe(to_child) != 0) return 0;
    if (pipe(from_child) != 0) {
      close(to_child[0]);
      close(to_child[1]);
      return 0;
    }
    pid_ = fork();
    if (pid_ == 0) {
      dup2(to_child[0], STDIN_FILENO);
      dup2(from_child[1], STDOUT_FILENO);
      close(to_child[0]);
      close(to_child[1]);
      close(from_child[0]);
      close(from_child[1]);
      const std::string port_text = std::to_string(port);
      execl(kPython, kPython, kLauncher, home.c_str(), user.c_str(), password.c_str(), port_text.c_str(),
            static_cast<char*>(nullptr));
      _exit(127);
    }
    close(to_child[0]);
    close(from_child[1]);
    stdin_ = to_child[1];
    char line[32] = {};
    std::size_t used = 0;
    while (pid_ > 0 && used < sizeof line - 1) {
      const ssize_t got = read(from_child[0], line + used, 1);
      if (got <= 0 || line[used] == '\n') break;
      ++used;
    }
    close(from_child[0]);
    port_ = std::atoi(line);
    if (port_ <= 0) Stop();
    return port_;
  }

  void Stop() {
    if (stdin_ >= 0) close(stdin_);
    stdin_ = -1;
    if (pid_ > 0) {
      kill(pid_, SIGTERM);
      waitpid(pid_, nullptr, 0);
    }
    pid_ = -1;
  }

  int port() const { return port_; }

 private:
  pid_t pid_ = -1;
  int stdin_ = -1;
  int port_ = 0;
};

// The names in a host directory, sorted, without "." and "..".
inline std::vector<std::string> ListDir(const std::string& path) {
  std::vector<std::string> names;
  DIR* dir = opendir(path.c_str());
  if (dir == nullptr) return names;
  while (const dirent* entry = readdir(dir)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  closedir(dir);
  std::sort(names.begin(), names.end());
  return names;
}

// The directories each naming scheme of ftp_mkdirs makes, in order.
struct SchemeCase {
  int scheme;
  std::vector<std::string> dirs;
};

inline std::vector<std::string> Numbered(const char* format, int first, int last) {
  std::vector<std::string> names;
  for (int n = first; n <= last; ++n) {
    char name[16];
    std::snprintf(name, sizeof name, format, n);
    names.push_back(name);
  }
  return names;
}

inline std::vector<SchemeCase> NamingSchemes() {
  std::vector<std::string> days{"1st", "2nd", "3rd"};
  for (const std::string& day : Numbered("%dth", 4, 31)) days.push_back(day);
  return {
      {1, Numbered("CAM%d", 1, 6)},
      {4, {"SUN", "MON", "TUE", "WED", "THU", "FRI", "SAT"}},
      {8, {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"}},
      {16, days},
      {32, Numbered("%02d", 0, 23)},
  };
}

}  // namespace ftp_peer
