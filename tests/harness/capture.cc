#include "harness/capture.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace harness {
namespace {

std::string ReadDescriptor(int fd) {
  std::string text;
  lseek(fd, 0, SEEK_SET);
  char block[4096];
  ssize_t got;
  while ((got = read(fd, block, sizeof block)) > 0) text.append(block, static_cast<size_t>(got));
  return text;
}

int MakeTempFile() {
  char name[] = "/tmp/nxcgi-capture-XXXXXX";
  const int fd = mkstemp(name);
  if (fd < 0) throw std::runtime_error("mkstemp failed");
  unlink(name);
  return fd;
}

}  // namespace

Captured CaptureStdio(const std::function<void()>& body) {
  std::fflush(stdout);
  std::fflush(stderr);
  const int saved_out = dup(STDOUT_FILENO);
  const int saved_err = dup(STDERR_FILENO);
  const int out_file = MakeTempFile();
  const int err_file = MakeTempFile();
  dup2(out_file, STDOUT_FILENO);
  dup2(err_file, STDERR_FILENO);
  body();
  std::fflush(stdout);
  std::fflush(stderr);
  dup2(saved_out, STDOUT_FILENO);
  dup2(saved_err, STDERR_FILENO);
  close(saved_out);
  close(saved_err);
  Captured captured{ReadDescriptor(out_file), ReadDescriptor(err_file)};
  close(out_file);
  close(err_file);
  return captured;
}

std::string ReadWholeFile(const std::string& host_path) {
  std::ifstream in(host_path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace harness
