#include "harness/device_root.h"

#include <stdexcept>

#include "harness/process.h"

namespace harness {

std::string NxconfBinary() { return std::string(NXCGI_BIN_DIR) + "/nxconf"; }

void MakeDeviceRoot(SandboxRoot& sandbox) {
  const ProcessResult result = RunProgram({NxconfBinary(), "init", sandbox.path()});
  if (result.exit_status != 0) {
    throw std::runtime_error("nxconf init failed (status " + std::to_string(result.exit_status) +
                             "): " + result.err);
  }
}

}  // namespace harness
