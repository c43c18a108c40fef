// The whole front end in-process: the first byte picks the CGI name (modulo
// the number of names), the rest is the url-encoded form, run in the sandbox.
#include "fuzz_target.h"

const Sandbox sandbox;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const char* name = CgiHandlerRows()[data[0] % CgiHandlerRows().size()].name;
  // The serial output service's request queue: when a service (a test or the
  // simulator) owns it, requests would reach that service.
  if (std::strcmp(name, "nxuoutctr.cgi") == 0 && msgget(0x20030922, 0) >= 0) return 0;
  RunCgi(name, reinterpret_cast<const char*>(data + 1), size - 1);
  return 0;
}
