// The host root: the one place where a device path becomes the path that is
// really opened. On the device NXCGI_ROOT is unset and paths stay as they are;
// on a developer's PC every absolute path the system opens, creates, removes,
// lists or puts into a fixed command lies below NXCGI_ROOT. Messages for the
// browser and for standard error always keep naming the device path.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/fixed_text.h"

namespace platform {

inline constexpr std::size_t kMaxHostPath = 4096;

using HostPath = FixedText<kMaxHostPath>;

// The root from NXCGI_ROOT without trailing slashes; empty on the device.
std::string_view HostRoot();

// Whether MapPath puts the device path below the root (an absolute path
// other than /dev/null).
bool IsMapped(std::string_view device_path);

// Maps a device path. Relative paths and /dev/null are left alone. A mapped
// path that would not fit comes back empty, so that opening it fails cleanly.
HostPath MapPath(std::string_view device_path);

}  // namespace platform
