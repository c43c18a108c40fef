// Runs one harness once over every input file below the given directories, as
// libFuzzer does when it is given files: a regression input that crashes again
// fails the test through the sanitizer or the harness's own check.
#include "fuzz_target.h"

int main(int argc, char** argv) {
  std::vector<std::filesystem::path> inputs;
  for (int i = 1; i < argc; ++i)
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i]))
      if (entry.is_regular_file()) inputs.push_back(entry);  // .keep files are empty inputs
  for (const auto& input : inputs) {
    std::ifstream in(input, std::ios::binary);
    std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
    bytes.shrink_to_fit();  // exactly the input's size, so that reading past it is caught
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  }
  std::fprintf(stderr, "replay: %zu inputs ran\n", inputs.size());
}
