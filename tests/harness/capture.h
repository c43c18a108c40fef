// Captures what code running in this process writes to standard output and
// standard error (stdio and raw descriptors alike).
#pragma once

#include <functional>
#include <string>

namespace harness {

struct Captured {
  std::string out;
  std::string err;
};

Captured CaptureStdio(const std::function<void()>& body);

std::string ReadWholeFile(const std::string& host_path);

}  // namespace harness
