#include "harness/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <stdexcept>

namespace harness {
namespace {

struct Pipe {
  int read_end = -1;
  int write_end = -1;
};

Pipe MakePipe() {
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
  return {fds[0], fds[1]};
}

// NXCGI_EXEC_WRAPPER: a command, split at blanks, that every CGI process is
// run under (valgrind, an emulator), e.g. "valgrind -q --error-exitcode=99".
std::vector<std::string> ExecWrapper() {
  std::vector<std::string> words;
  const char* text = std::getenv("NXCGI_EXEC_WRAPPER");
  if (text == nullptr) return words;
  std::istringstream stream(text);
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

// A binary of another machine (a cross build) that the kernel cannot start
// runs through the wrapper, e.g. "qemu-arm -L /usr/arm-linux-gnueabihf",
// given "-0 ARGV0 PATH ARGS..." so that the program still sees its argv[0].
std::vector<std::string> WrappedArguments(const std::string& path, const std::vector<std::string>& argv) {
  std::vector<std::string> wrapped = ExecWrapper();
  if (wrapped.empty()) return wrapped;
  wrapped.push_back("-0");
  wrapped.push_back(argv.at(0));
  wrapped.push_back(path);
  wrapped.insert(wrapped.end(), argv.begin() + 1, argv.end());
  return wrapped;
}

std::vector<char*> PointersOf(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

ProcessResult Spawn(const std::string& path, const std::vector<std::string>& argv,
                    const std::vector<std::string>& environment, const std::string& input) {
  const std::vector<std::string> wrapped = WrappedArguments(path, argv);
  std::vector<char*> args = PointersOf(argv);
  std::vector<char*> wrapped_args = PointersOf(wrapped);
  std::vector<char*> envp = PointersOf(environment);
  Pipe in = MakePipe();
  Pipe out = MakePipe();
  Pipe err = MakePipe();
  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid == 0) {
    dup2(in.read_end, STDIN_FILENO);
    dup2(out.write_end, STDOUT_FILENO);
    dup2(err.write_end, STDERR_FILENO);
    execve(path.c_str(), args.data(), envp.data());
    // A binary of another machine: run it through the wrapper.
    if (errno == ENOEXEC && !wrapped.empty()) execvpe(wrapped_args[0], wrapped_args.data(), envp.data());
    _exit(127);
  }
  close(in.read_end);
  close(out.write_end);
  close(err.write_end);

  ProcessResult result;
  std::size_t written = 0;
  int in_fd = in.write_end;
  if (input.empty()) {
    close(in_fd);
    in_fd = -1;
  }
  int out_fd = out.read_end;
  int err_fd = err.read_end;
  signal(SIGPIPE, SIG_IGN);
  while (out_fd >= 0 || err_fd >= 0 || in_fd >= 0) {
    pollfd fds[3];
    int count = 0;
    if (in_fd >= 0) fds[count++] = {in_fd, POLLOUT, 0};
    if (out_fd >= 0) fds[count++] = {out_fd, POLLIN, 0};
    if (err_fd >= 0) fds[count++] = {err_fd, POLLIN, 0};
    if (poll(fds, count, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    for (int i = 0; i < count; ++i) {
      if (fds[i].revents == 0) continue;
      if (fds[i].fd == in_fd) {
        const ssize_t sent = write(in_fd, input.data() + written, input.size() - written);
        if (sent > 0) written += static_cast<std::size_t>(sent);
        if (sent <= 0 || written == input.size()) {
          close(in_fd);
          in_fd = -1;
        }
        continue;
      }
      char block[8192];
      const ssize_t got = read(fds[i].fd, block, sizeof block);
      std::string& sink = fds[i].fd == out_fd ? result.out : result.err;
      if (got > 0) {
        sink.append(block, static_cast<std::size_t>(got));
      } else {
        if (fds[i].fd == out_fd) {
          close(out_fd);
          out_fd = -1;
        } else {
          close(err_fd);
          err_fd = -1;
        }
      }
    }
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  result.exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

std::vector<std::string> BaseEnvironment() {
  std::vector<std::string> environment = {"PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin"};
  for (const char* name : {"LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TMPDIR"}) {
    if (const char* value = std::getenv(name)) environment.push_back(std::string(name) + "=" + value);
  }
  return environment;
}

// The wrapper's program found as the shell would find it.
std::string FindOnPath(const std::string& program) {
  if (program.find('/') != std::string::npos) return program;
  const char* path = std::getenv("PATH");
  std::istringstream dirs(path != nullptr ? path : "/usr/bin:/bin");
  for (std::string dir; std::getline(dirs, dir, ':');) {
    const std::string candidate = (dir.empty() ? "." : dir) + "/" + program;
    if (access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return program;
}

std::string& LinkDir() {
  static std::string dir;
  return dir;
}

void RemoveLinkDir() {
  const std::string& dir = LinkDir();
  if (dir.empty()) return;
  std::error_code ignored;
  std::filesystem::remove_all(dir, ignored);
}

// A wrapper starts the binary under the binary's own path, but the product
// takes the handler from the name it was started under: the wrapper is given
// a link named as the CGI name instead.
std::string LinkUnderCgiName(const std::string& binary, const std::string& argv0) {
  const std::string name = argv0.substr(argv0.rfind('/') + 1);
  std::string& dir = LinkDir();
  if (dir.empty()) {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/nxcgi-links-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    dir = pattern;
    std::atexit(RemoveLinkDir);
  }
  const std::string link = dir + "/" + name;
  struct stat status;
  if (lstat(link.c_str(), &status) != 0 && symlink(binary.c_str(), link.c_str()) != 0) {
    throw std::runtime_error("symlink failed: " + link);
  }
  return link;
}

}  // namespace

ProcessResult RunCgi(const CgiRequest& request) {
  std::vector<std::string> environment = BaseEnvironment();
  environment.push_back("GATEWAY_INTERFACE=CGI/1.1");
  if (!request.method.empty()) environment.push_back("REQUEST_METHOD=" + request.method);
  environment.push_back("QUERY_STRING=" + request.query);
  const bool is_post = request.method == "POST" || request.method == "post" || request.method == "Post";
  if (!request.content_type.empty() && is_post) environment.push_back("CONTENT_TYPE=" + request.content_type);
  if (request.content_length) {
    environment.push_back("CONTENT_LENGTH=" + *request.content_length);
  } else if (is_post) {
    environment.push_back("CONTENT_LENGTH=" + std::to_string(request.body.size()));
  }
  if (!request.root.empty()) environment.push_back("NXCGI_ROOT=" + request.root);
  for (const auto& [name, value] : request.env) environment.push_back(name + "=" + value);
  // NXCGI_TEST_NXCGI runs the tests against another build of nxcgi (the
  // dynamically linked one that valgrind needs to see every allocation).
  const char* other = std::getenv("NXCGI_TEST_NXCGI");
  const std::string binary = !request.binary.empty() ? request.binary
                             : other != nullptr && *other != '\0' ? std::string(other)
                                                                   : std::string(NXCGI_BINARY);
  std::vector<std::string> wrapper = ExecWrapper();
  // A program name ending in "/" cannot be given as a link's name: such a
  // request runs without the wrapper.
  if (wrapper.empty() || request.argv0.empty() || request.argv0.back() == '/') {
    return Spawn(binary, {request.argv0}, environment, request.body);
  }
  const std::string program = FindOnPath(wrapper.front());
  wrapper.push_back(LinkUnderCgiName(binary, request.argv0));
  return Spawn(program, wrapper, environment, request.body);
}

ProcessResult GetCgi(const std::string& cgi_name, const std::string& query, const std::string& root) {
  CgiRequest request;
  request.argv0 = "/cgi-bin/" + cgi_name;
  request.query = query;
  request.root = root;
  return RunCgi(request);
}

ProcessResult PostCgi(const std::string& cgi_name, const std::string& body, const std::string& root) {
  CgiRequest request;
  request.argv0 = "/cgi-bin/" + cgi_name;
  request.method = "POST";
  request.body = body;
  request.root = root;
  return RunCgi(request);
}

ProcessResult RunProgram(const std::vector<std::string>& argv,
                         const std::vector<std::pair<std::string, std::string>>& env,
                         const std::string& input) {
  std::vector<std::string> environment = BaseEnvironment();
  for (const auto& [name, value] : env) environment.push_back(name + "=" + value);
  return Spawn(argv.at(0), argv, environment, input);
}

}  // namespace harness
