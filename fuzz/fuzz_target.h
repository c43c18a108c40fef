// What every harness uses: the entry point it defines (libFuzzer drives it in
// the fuzz build, replay_main.cc runs it over the kept inputs in the tests),
// Check, and the standard and system headers.
#pragma once

#include <arpa/inet.h>
#include <sys/msg.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <span>
#include <string>
#include <utility>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

// A broken promise of the code under test stops the run as a sanitizer finding does.
inline void Check(bool condition) { condition ? void() : __builtin_trap(); }
