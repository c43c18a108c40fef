// Runs one harness once over every input file below the given directories, as
// libFuzzer does when it is given files: a regression input that crashes again
// fails the test through the sanitizer or the harness's own check.
#include "fuzz_target.h"

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i)
    for (const auto& entry : fs::recursive_directory_iterator(argv[i])) {
      if (!entry.is_regular_file()) continue;         // .keep files are empty inputs
      std::vector<uint8_t> bytes(entry.file_size());  // exactly, so that reading past the input is caught
      std::ifstream(entry.path(), std::ios::binary).read(reinterpret_cast<char*>(bytes.data()), bytes.size());
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
}
