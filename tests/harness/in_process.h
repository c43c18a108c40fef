// Runs the front end or one handler inside the test process: sets the form,
// records the commands and pauses instead of running them, captures the
// bytes written, and resets every process-wide state around each test.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "front/handler_table.h"
#include "harness/capture.h"

namespace harness {

struct InProcessResult {
  int result = 0;
  std::string out;
  std::string err;
  std::string err_msg;  // the handler's error-message buffer afterwards
};

// Functions that put process-wide state back as a new process has it; each
// module with such state adds its own.
using StateReset = void (*)();
void AddStateReset(StateReset reset);
void ResetProcessState();

class InProcess {
 public:
  InProcess();
  ~InProcess();
  InProcess(const InProcess&) = delete;
  InProcess& operator=(const InProcess&) = delete;

  // Replaces the form by the fields of url-encoded data.
  void SetForm(std::string_view urlencoded);

  // Runs the dispatcher as a process started under argv0 would.
  InProcessResult Dispatch(const char* argv0);
  // Runs one handler with a zeroed error-message buffer.
  InProcessResult RunHandler(CgiHandler handler);
  // Runs any code with output captured.
  Captured Capture(const std::function<void()>& body) { return CaptureStdio(body); }

  // Commands in the order they ran: device text and host text.
  const std::vector<std::string>& commands() const;
  const std::vector<std::string>& host_commands() const;
  // Pauses asked for, in microseconds.
  const std::vector<unsigned long long>& sleeps() const;
  // When set, recorded commands are also run for real.
  void set_run_commands(bool run);
};

}  // namespace harness
