// Runs one harness over files and directories of inputs, once each, as
// libFuzzer does when it is given files: a regression input that crashes
// again fails the test through the sanitizer or the harness's own check.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "fuzz_target.h"

namespace {

bool ReadWhole(const std::string& path, std::vector<uint8_t>* bytes) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  bytes->clear();
  uint8_t chunk[4096];
  for (;;) {
    const ssize_t got = read(fd, chunk, sizeof chunk);
    if (got < 0) {
      close(fd);
      return false;
    }
    if (got == 0) break;
    bytes->insert(bytes->end(), chunk, chunk + got);
  }
  close(fd);
  return true;
}

void CollectInputs(const std::string& path, std::vector<std::string>* inputs) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return;
  if (!S_ISDIR(status.st_mode)) {
    inputs->push_back(path);
    return;
  }
  DIR* dir = opendir(path.c_str());
  if (dir == nullptr) return;
  std::vector<std::string> names;
  while (const dirent* entry = readdir(dir)) {
    if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
  }
  closedir(dir);
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) CollectInputs(path + "/" + name, inputs);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> inputs;
  for (int i = 1; i < argc; ++i) CollectInputs(argv[i], &inputs);
  LLVMFuzzerInitialize(&argc, &argv);
  std::vector<uint8_t> bytes;
  for (const std::string& input : inputs) {
    if (!ReadWhole(input, &bytes)) {
      std::fprintf(stderr, "replay: cannot read %s\n", input.c_str());
      return 1;
    }
    // A copy of exactly the input's size, so that reading past it is caught.
    std::vector<uint8_t> exact(bytes);
    exact.shrink_to_fit();
    static uint8_t no_bytes;
    LLVMFuzzerTestOneInput(exact.empty() ? &no_bytes : exact.data(), exact.size());
  }
  std::fprintf(stderr, "replay: %zu inputs ran\n", inputs.size());
  return 0;
}
