#include "harness/process.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace harness {
namespace {

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

// The child reads its input from and writes its output to unnamed temporary
// files, so that no pipe can fill up while the test waits for it.
ProcessResult Spawn(const std::string& path, const std::vector<std::string>& argv, const Env& env,
                    const std::string& input) {
  std::vector<std::string> environment = {"PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin"};
  for (const char* name : {"LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TMPDIR"})
    if (const char* value = std::getenv(name)) environment.push_back(std::string(name) + "=" + value);
  for (const auto& [name, value] : env) environment.push_back(name + "=" + value);
  std::FILE* files[3] = {std::tmpfile(), std::tmpfile(), std::tmpfile()};
  std::fwrite(input.data(), 1, input.size(), files[0]);
  std::fflush(files[0]);
  std::rewind(files[0]);
  std::vector<char*> args = Pointers(argv), envp = Pointers(environment);
  const pid_t pid = fork();
  if (pid == 0) {
    for (int fd = 0; fd < 3; ++fd) dup2(fileno(files[fd]), fd);
    execvpe(path.c_str(), args.data(), envp.data());
    _exit(127);
  }
  std::fclose(files[0]);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
  }
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Contents(files[1]), Contents(files[2])};
}

// NXCGI_EXEC_WRAPPER, split at blanks, runs every nxcgi ("valgrind -q ...")
// and, when it is an emulator ("qemu-arm -L ..."), every program of the
// build. nxcgi takes its handler from its name, so another wrapper gets a
// link named after the CGI name. Empty: no wrapper.
std::vector<std::string> Wrapped(const std::string& binary, const std::string& argv0, bool emulator_only) {
  std::vector<std::string> words;
  std::istringstream wrapper(std::getenv("NXCGI_EXEC_WRAPPER") ? std::getenv("NXCGI_EXEC_WRAPPER") : "");
  for (std::string word; wrapper >> word;) words.push_back(word);
  // An emulator hands the program the argv[0] it is given (-0), even an empty name.
  if (!words.empty() && words[0].starts_with("qemu")) {
    words.insert(words.end(), {"-0", argv0, binary});
    return words;
  }
  const std::string name = argv0.substr(argv0.rfind('/') + 1);
  if (words.empty() || name.empty() || emulator_only) return {};
  static const std::string links = [] {
    std::string dir = std::filesystem::temp_directory_path() / "nxcgi-links-XXXXXX";
    if (mkdtemp(dir.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    return dir;
  }();
  std::string program = binary;
  if (argv0 != binary) {
    std::error_code exists;
    std::filesystem::create_symlink(binary, program = links + "/" + name, exists);
  }
  words.push_back(program);
  return words;
}

}  // namespace

int FileLockWaiters(int fd) {
  std::ifstream locks("/proc/locks");
  struct stat status = {};
  fstat(fd, &status);
  const std::string file = ":" + std::to_string(status.st_ino) + " ";
  int count = 0;
  for (std::string line; std::getline(locks, line);)
    count += line.find("->") != line.npos && line.find(file) != line.npos;
  return count;
}

std::string Contents(std::FILE* file) {
  std::string text;
  std::rewind(file);
  char block[8192];
  for (std::size_t got; (got = std::fread(block, 1, sizeof block, file)) > 0;) text.append(block, got);
  std::fclose(file);
  return text;
}

std::string BuiltProgram(const std::string& name) {
  // NXCGI_TEST_NXCGI runs the tests against another build of nxcgi (the
  // dynamically linked one valgrind needs to see every allocation).
  const char* other = std::getenv("NXCGI_TEST_NXCGI");
  return name == "nxcgi" && other != nullptr && *other != '\0' ? other
                                                               : std::string(NXCGI_BIN_DIR) + "/" + name;
}

ProcessResult RunCgi(const CgiRequest& request) {
  Env env = {{"GATEWAY_INTERFACE", "CGI/1.1"}, {"NXCGI_ROOT", request.root}};
  const bool post = request.method == "POST";
  if (!request.method.empty()) env.push_back({"REQUEST_METHOD", request.method});
  env.push_back({"QUERY_STRING", post ? "" : request.form});
  if (post) env.push_back({"CONTENT_TYPE", request.content_type});
  if (post || request.content_length)
    env.push_back({"CONTENT_LENGTH", request.content_length.value_or(std::to_string(request.form.size()))});
  env.insert(env.end(), request.env.begin(), request.env.end());
  const std::string argv0 = request.argv0.empty() ? "/cgi-bin/" + request.cgi : request.argv0;
  const std::vector<std::string> wrapped = Wrapped(BuiltProgram("nxcgi"), argv0, false);
  if (wrapped.empty()) return Spawn(BuiltProgram("nxcgi"), {argv0}, env, post ? request.form : "");
  return Spawn(wrapped[0], wrapped, env, post ? request.form : "");
}

ProcessResult Post(const std::string& cgi, const std::string& form, const std::string& root) {
  CgiRequest request;
  request.cgi = cgi, request.form = form, request.root = root;
  return RunCgi(request);
}

ProcessResult RunProgram(const std::vector<std::string>& argv, const Env& env, const std::string& input) {
  // Only programs of the build need the emulator; the host's tools (bash, cp) run as they are.
  std::vector<std::string> command;
  if (argv[0].starts_with(NXCGI_BIN_DIR)) command = Wrapped(argv[0], argv[0], true);
  if (command.empty()) return Spawn(argv[0], argv, env, input);
  command.insert(command.end(), argv.begin() + 1, argv.end());
  return Spawn(command[0], command, env, input);
}

}  // namespace harness
