// `nxconf init ROOT`: a complete factory-default device tree below a host
// root, as the device's own set-up leaves it: every binary configuration
// file, sample catalogues with their factory copies, the text configuration
// files the handlers edit, and the directories the system expects.
#pragma once

#include <string>

namespace nxconf {

// Writes the tree; returns the number of files written, dies on failure.
int InitDeviceTree(const std::string& root);

}  // namespace nxconf
