#include "harness/in_process.h"

#include <cstdlib>
#include <cstring>

#include "cgi/cgi_request.h"
#include "front/dispatcher.h"
#include "platform/command.h"
#include "platform/file_lock.h"
#include "platform/sleep.h"

namespace harness {
namespace {

std::vector<StateReset>& Resets() {
  static std::vector<StateReset> resets;
  return resets;
}

std::vector<std::string> g_commands;
std::vector<std::string> g_host_commands;
std::vector<unsigned long long> g_sleeps;
bool g_run_commands = false;

int RecordCommand(const char* device_text, const char* host_text) {
  g_commands.emplace_back(device_text);
  g_host_commands.emplace_back(host_text);
  return g_run_commands ? std::system(host_text) : 0;
}

void RecordSleep(unsigned long long microseconds) { g_sleeps.push_back(microseconds); }

}  // namespace

void AddStateReset(StateReset reset) { Resets().push_back(reset); }

void ResetProcessState() {
  CgiFreeForm();
  std::memset(CgiErrMsgBuffer(), 0, kCgiErrMsgSize);
  platform::UnlockAllFiles();
  for (StateReset reset : Resets()) reset();
}

InProcess::InProcess() {
  ResetProcessState();
  g_commands.clear();
  g_host_commands.clear();
  g_sleeps.clear();
  g_run_commands = false;
  platform::SetCommandRunner(RecordCommand);
  platform::SetSleeper(RecordSleep);
}

InProcess::~InProcess() {
  platform::SetCommandRunner(nullptr);
  platform::SetSleeper(nullptr);
  ResetProcessState();
}

void InProcess::SetForm(std::string_view urlencoded) {
  CgiFreeForm();
  CgiParseForm(urlencoded.data(), urlencoded.size());
}

InProcessResult InProcess::Dispatch(const char* argv0) {
  InProcessResult result;
  char* argv[] = {const_cast<char*>(argv0), nullptr};
  const Captured captured = CaptureStdio([&] { result.result = CgiDispatch(1, argv); });
  result.out = captured.out;
  result.err = captured.err;
  result.err_msg = CgiErrMsgBuffer();
  return result;
}

InProcessResult InProcess::RunHandler(CgiHandler handler) {
  InProcessResult result;
  char err_msg[kCgiErrMsgSize] = {};
  const Captured captured = CaptureStdio([&] { result.result = handler(err_msg); });
  result.out = captured.out;
  result.err = captured.err;
  result.err_msg = err_msg;
  return result;
}

const std::vector<std::string>& InProcess::commands() const { return g_commands; }
const std::vector<std::string>& InProcess::host_commands() const { return g_host_commands; }
const std::vector<unsigned long long>& InProcess::sleeps() const { return g_sleeps; }
void InProcess::set_run_commands(bool run) { g_run_commands = run; }

}  // namespace harness
