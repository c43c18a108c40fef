#include "harness/device_root.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "harness/process.h"

namespace fs = std::filesystem;

namespace harness {
namespace {

constexpr const char* kJournal = "/var/log/device.journal";

std::string TempDir(const char* stem) {
  std::string dir = fs::temp_directory_path() / (std::string(stem) + "-XXXXXX");
  if (mkdtemp(dir.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  return dir;
}

// Directories are copied, listed and removed by the host's own tools: a test
// binary of a cross build, run by an emulator, may not be able to list a
// directory of the host's file system.
void Tool(const std::vector<std::string>& argv) {
  if (RunProgram(argv).exit_status != 0) throw std::runtime_error(argv[0] + " failed");
}

// The factory tree, made by the simulator's maker once per process (and
// left to the end of the process).
const std::string& Template() {
  static const std::string& root = *new std::string([] {
    const std::string dir = TempDir("nxcgi-factory");
    const std::string nxconf = BuiltProgram("nxconf");
    const char* wrapper = std::getenv("NXCGI_EXEC_WRAPPER");
    const std::string command = wrapper != nullptr && std::string_view(wrapper).starts_with("qemu")
                                    ? std::string(wrapper) + " " + nxconf
                                    : nxconf;
    const ProcessResult made =
        RunProgram({"bash", std::string(NXCGI_SOURCE_DIR) + "/sim/make_device_root.sh", NXCGI_BUILD_DIR, dir},
                   {{"NXCONF", command}});
    if (made.exit_status != 0) throw std::runtime_error("make_device_root.sh failed: " + made.err);
    return dir;
  }());
  static const bool removed_at_exit = std::atexit([] { Tool({"rm", "-rf", Template()}); }) == 0;
  (void)removed_at_exit;
  return root;
}

}  // namespace

DeviceRoot::DeviceRoot() : path_(TempDir("nxcgi-root")) { Tool({"cp", "-a", Template() + "/.", path_}); }

DeviceRoot::~DeviceRoot() {
  if (current_) unsetenv("NXCGI_ROOT");
  Tool({"rm", "-rf", path_});
}

void DeviceRoot::MakeCurrent() {
  setenv("NXCGI_ROOT", path_.c_str(), 1);
  current_ = true;
}

void DeviceRoot::Write(std::string_view device_path, std::string_view bytes, unsigned mode) const {
  const std::string host = Host(device_path);
  fs::create_directories(fs::path(host).parent_path());
  std::ofstream(host, std::ios::binary | std::ios::trunc).write(bytes.data(), std::streamsize(bytes.size()));
  chmod(host.c_str(), mode);
}

std::string DeviceRoot::Read(std::string_view device_path) const {
  std::ifstream in(Host(device_path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

bool DeviceRoot::Exists(std::string_view device_path) const {
  struct stat status;
  return lstat(Host(device_path).c_str(), &status) == 0;
}

void DeviceRoot::Remove(std::string_view device_path) const { Tool({"rm", "-rf", Host(device_path)}); }

std::vector<std::string> DeviceRoot::Journal() const {
  std::vector<std::string> lines;
  std::istringstream in(Read(kJournal));
  for (std::string line; std::getline(in, line);) lines.push_back(line.substr(line.find(' ') + 1));
  return lines;
}

std::map<std::string, std::string> DeviceRoot::Files() const {
  std::map<std::string, std::string> files;
  std::istringstream found(RunProgram({"find", path_, "-type", "f", "-printf", "/%P\\n"}).out);
  for (std::string device_path; std::getline(found, device_path);)
    if (device_path != kJournal) files[device_path] = Read(device_path);
  return files;
}

std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(0x5a ^ (i * 7 + i / 251));
  return bytes;
}

}  // namespace harness
