// Runs a handler, or any code, inside the test process: the form set, the
// commands and pauses recorded instead of run, standard output and standard
// error captured, and every process-wide state put back as a new process
// has it, before and after.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "handlers/handler.h"

namespace harness {

struct InProcessResult {
  int result = 0;
  std::string out;
  std::string err;
  std::string err_msg;                     // the error-message buffer afterwards
  std::vector<std::string> commands;       // device texts, in the order they ran
  std::vector<unsigned long long> sleeps;  // pauses in microseconds
};

// Runs the handler with the url-encoded form.
InProcessResult RunInProcess(CgiHandler handler, std::string_view form = {});
// Runs any code with the same recording and capture; its result is `result`.
InProcessResult RunInProcess(const std::function<int()>& body, std::string_view form = {});

}  // namespace harness
