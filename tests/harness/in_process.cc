#include "harness/in_process.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "cgi/cgi_request.h"
#include "config/svc_cfg_file.h"
#include "front/dispatcher.h"
#include "ftp/client/ftp_internal.h"
#include "platform/command.h"
#include "platform/file_lock.h"
#include "platform/sleep.h"
#include "harness/process.h"

namespace harness {
namespace {

InProcessResult* g_recording = nullptr;

int RecordCommand(const char* device_text, const char*) {
  g_recording->commands.emplace_back(device_text);
  return 0;
}

void RecordSleep(unsigned long long microseconds) { g_recording->sleeps.push_back(microseconds); }

void ResetProcessState() {
  CgiFreeForm();
  std::memset(CgiErrMsgBuffer(), 0, kCgiErrMsgSize);
  platform::UnlockAllFiles();
  ClearSvcImages();
  ftp_reset_process_state();
}

}  // namespace

InProcessResult RunInProcess(const std::function<int()>& body, std::string_view form) {
  InProcessResult result;
  ResetProcessState();
  CgiParseForm(form.data(), form.size());
  g_recording = &result;
  platform::SetCommandRunner(RecordCommand);
  platform::SetSleeper(RecordSleep);
  std::fflush(stdout);
  std::fflush(stderr);
  std::FILE* out = std::tmpfile();
  std::FILE* err = std::tmpfile();
  const int saved_out = dup(STDOUT_FILENO);
  const int saved_err = dup(STDERR_FILENO);
  dup2(fileno(out), STDOUT_FILENO);
  dup2(fileno(err), STDERR_FILENO);
  result.result = body();
  std::fflush(stdout);
  std::fflush(stderr);
  dup2(saved_out, STDOUT_FILENO);
  dup2(saved_err, STDERR_FILENO);
  close(saved_out);
  close(saved_err);
  result.out = Contents(out);
  result.err = Contents(err);
  platform::SetCommandRunner(nullptr);
  platform::SetSleeper(nullptr);
  g_recording = nullptr;
  ResetProcessState();
  return result;
}

InProcessResult RunInProcess(CgiHandler handler, std::string_view form) {
  char err_msg[kCgiErrMsgSize] = {};
  InProcessResult result = RunInProcess([&] { return handler(err_msg); }, form);
  result.err_msg = err_msg;
  return result;
}

}  // namespace harness
