#include "platform/host_root.h"

#include <cstdlib>

namespace platform {

std::string_view HostRoot() {
  const char* root = std::getenv("NXCGI_ROOT");
  if (root == nullptr) return {};
  std::string_view text(root);
  while (!text.empty() && text.back() == '/') text.remove_suffix(1);
  return text;
}

bool IsMapped(std::string_view device_path) {
  return !device_path.empty() && device_path.front() == '/' && device_path != "/dev/null";
}

HostPath MapPath(std::string_view device_path) {
  HostPath mapped;
  if (IsMapped(device_path)) mapped.Append(HostRoot());
  mapped.Append(device_path);
  if (mapped.overflow()) mapped.Clear();
  return mapped;
}

}  // namespace platform
