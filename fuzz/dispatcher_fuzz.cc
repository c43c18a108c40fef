// The whole front end in-process: the first byte picks the CGI name (mod the
// number of names), the rest is the url-encoded form. Commands are answered
// as done, never run; pauses are skipped; the device root is put back after
// each run.
#include <sys/ipc.h>
#include <sys/msg.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>

#include "cgi/cgi_request.h"
#include "front/dispatcher.h"
#include "front/handler_table.h"
#include "fuzz_sandbox.h"
#include "fuzz_target.h"

namespace {

// The serial output service's request queue. When a service (a test or the
// simulator) owns it, requests would reach that service: such inputs are
// not run.
constexpr key_t kUartOutQueueKey = 0x20030922;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::SetUpSandbox();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  fuzz::SetUpSandbox();
  const std::span<const CgiHandlerEntry> rows = CgiHandlerRows();
  const CgiHandlerEntry& row = rows[data[0] % rows.size()];
  if (std::strcmp(row.name, "nxuoutctr.cgi") == 0 && msgget(kUartOutQueueKey, 0) >= 0) return 0;

  fuzz::EnterSandbox();
  fuzz::ResetProductState();
  if (CgiParseForm(reinterpret_cast<const char*>(data + 1), size - 1) == 0 && fuzz::GuardForm()) {
    char argv0[64];
    std::snprintf(argv0, sizeof argv0, "/web/cgi-bin/%s", row.name);
    char* argv[] = {argv0, nullptr};
    CgiDispatch(1, argv);
  }
  fuzz::ResetProductState();
  fuzz::RestoreSandbox();
  fuzz::LeaveSandbox();
  return 0;
}
