#include "harness/in_process.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "cgi/cgi_request.h"
#include "config/svc_cfg_file.h"
#include "front/dispatcher.h"
#include "ftp/client/ftp_internal.h"
#include "harness/process.h"
#include "platform/command.h"
#include "platform/file_lock.h"
#include "platform/sleep.h"

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
  // Standard output and error (descriptors 1 and 2) go to temporary files.
  std::FILE* files[2] = {std::tmpfile(), std::tmpfile()};
  int saved[2];
  std::fflush(nullptr);
  for (int fd = 1; fd <= 2; ++fd) saved[fd - 1] = dup(fd), dup2(fileno(files[fd - 1]), fd);
  result.result = body();
  std::fflush(nullptr);
  for (int fd = 1; fd <= 2; ++fd) dup2(saved[fd - 1], fd), close(saved[fd - 1]);
  result.out = Contents(files[0]);
  result.err = Contents(files[1]);
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
