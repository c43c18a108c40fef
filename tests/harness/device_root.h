// A sandbox root holding a complete factory-default device tree, written by
// the real `nxconf init` (every binary configuration file of modules 0..3
// and of the root, sample PTZ and sensor catalogues with their factory
// copies under /web/img, the text configuration files, the directories).
#pragma once

#include <string>

#include "harness/sandbox.h"

namespace harness {

// Host path of the built nxconf tool.
std::string NxconfBinary();

// Runs `nxconf init` on the sandbox's root; throws when it fails. The
// sandbox's stub commands are kept.
void MakeDeviceRoot(SandboxRoot& sandbox);

// A sandbox root that starts as the factory-default device tree.
class DeviceRoot : public SandboxRoot {
 public:
  DeviceRoot() { MakeDeviceRoot(*this); }
};

}  // namespace harness
