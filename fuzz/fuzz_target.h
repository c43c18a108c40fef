// The entry points every harness defines. Built with -fsanitize=fuzzer they
// are driven by libFuzzer; in the normal build replay_main.cc runs them over
// the kept regression inputs and the seed corpus.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);
