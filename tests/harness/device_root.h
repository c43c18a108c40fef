// A device root for NXCGI_ROOT, as sim/make_device_root.sh makes it for the
// simulator too: the factory-default tree of `nxconf init` and stub commands
// (save command, start scripts, flash utility, apply tool) that append their
// calls to the device journal. The tree is made once per test process and
// copied for each root.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace harness {

class DeviceRoot {
 public:
  DeviceRoot();
  ~DeviceRoot();
  DeviceRoot(const DeviceRoot&) = delete;
  DeviceRoot& operator=(const DeviceRoot&) = delete;

  const std::string& path() const { return path_; }
  // Points NXCGI_ROOT of this process at the root, until the root ends
  // (in-process runs of product code).
  void MakeCurrent();
  std::string Host(std::string_view device_path) const { return path_ + std::string(device_path); }

  void Write(std::string_view device_path, std::string_view bytes, unsigned mode = 0644) const;
  std::string Read(std::string_view device_path) const;
  bool Exists(std::string_view device_path) const;
  void Remove(std::string_view device_path) const;

  // The journal's lines without their time stamps: "/etc/init.d/uartsvc restart".
  std::vector<std::string> Journal() const;
  // Every regular file below the root but the journal, by device path.
  std::map<std::string, std::string> Files() const;

 private:
  std::string path_;
  bool current_ = false;
};

// size bytes of a pattern that no field write produces by chance.
std::string Pattern(std::size_t size);

}  // namespace harness
