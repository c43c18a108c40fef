#include "config/cfg_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>

#include "platform/config_write.h"
#include "platform/file_lock.h"
#include "platform/fixed_text.h"
#include "platform/host_root.h"
#include "platform/regular_file.h"
#include "platform/text_view.h"

namespace {

using CfgPath = platform::FixedText<512>;

// The directory of a module's files, or the root for module -1.
CfgPath CfgDirPath(int module_id) {
  CfgPath path;
  path.Append(kCfgRootDir);
  if (module_id != kCfgRootModule) path.AppendFormat(kCfgModuleDirFormat, module_id);
  return path;
}

CfgPath CfgFilePath(int module_id, const char* file_name) {
  CfgPath path = CfgDirPath(module_id);
  path.Append("/");
  path.Append(file_name);
  return path;
}

bool DirectoryOpens(const char* device_path) {
  const platform::HostPath host = platform::MapPath(device_path);
  DIR* dir = opendir(host.c_str());
  if (dir == nullptr) return false;
  closedir(dir);
  return true;
}

// Reads up to buffer.size() bytes at the offset, whatever the descriptor's
// position: the count read.
int ReadAt(int fd, std::size_t offset, std::span<std::uint8_t> buffer) {
  std::size_t count = 0;
  while (count < buffer.size()) {
    const ssize_t got =
        pread(fd, buffer.data() + count, buffer.size() - count, static_cast<off_t>(offset + count));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    count += static_cast<std::size_t>(got);
  }
  return static_cast<int>(count);
}

// The count saved, or -1 with the message of a file that could not be opened.
int SaveResult(const CfgPath& path, platform::WriteStatus status, std::size_t size) {
  if (status == platform::WriteStatus::kOpenFailed)
    std::printf(" File %s is not opened errno = %08x\n", path.c_str(), static_cast<unsigned>(errno));
  return status == platform::WriteStatus::kOk ? static_cast<int>(size) : -1;
}

}  // namespace

int MakeCfgDirPath(const char* device_path) {
  std::string_view rest(device_path);
  while (!rest.empty() && rest.front() == '/') rest.remove_prefix(1);
  CfgPath prefix;
  prefix.Append("/");
  while (!rest.empty()) {
    const std::size_t slash = rest.find('/');
    const std::string_view component = platform::Head(rest, slash);
    rest = slash == std::string_view::npos ? std::string_view() : platform::From(rest, slash + 1);
    if (component.empty()) continue;
    prefix.Append(component);
    prefix.Append("/");
    if (prefix.overflow()) return -1;
    if (DirectoryOpens(prefix.c_str())) continue;
    const platform::HostPath host = platform::MapPath(prefix.view());
    if (host.size() == 0 || mkdir(host.c_str(), 0755) != 0) return -1;
  }
  return 0;
}

int CfgFileRead(int module_id, const char* file_name, std::span<std::uint8_t> buffer) {
  CfgPath path = CfgFilePath(module_id, file_name);
  if (path.overflow()) return -1;
  const platform::HostPath host = platform::MapPath(path.view());
  const int fd = platform::OpenRegularFile(host.c_str());
  if (fd < 0) return -1;
  const int count = ReadAt(fd, 0, buffer);
  close(fd);
  return count;
}

int CfgFileReadForEdit(int module_id, const char* file_name, std::span<std::uint8_t> buffer) {
  CfgPath path = CfgFilePath(module_id, file_name);
  if (path.overflow()) return -1;
  // Without a lock to be had the file is read as an unlocked process would.
  if (platform::LockFileForEdit(path.c_str()) == platform::EditLock::kBusy) return -1;
  return CfgFileRead(module_id, file_name, buffer);
}

bool CfgFileLoadRecord(int module_id, const char* file_name, std::span<std::uint8_t> image) {
  return CfgFileReadForEdit(module_id, file_name, image) == static_cast<int>(image.size());
}

bool CfgFileLoadSlice(int module_id, const char* file_name, std::size_t record_size, std::size_t offset,
                      std::span<std::uint8_t> slice) {
  const CfgPath path = CfgFilePath(module_id, file_name);
  if (path.overflow() || platform::LockFileForEdit(path.c_str()) == platform::EditLock::kBusy) return false;
  const int fd = platform::OpenRegularFile(platform::MapPath(path.view()).c_str());
  if (fd < 0) return false;
  struct stat status;
  const bool whole = fstat(fd, &status) == 0 && static_cast<std::size_t>(status.st_size) >= record_size &&
                     offset + slice.size() <= record_size;
  const bool read = whole && ReadAt(fd, offset, slice) == static_cast<int>(slice.size());
  close(fd);
  return read;
}

void CfgFileEndEdit(int module_id, const char* file_name) {
  const CfgPath path = CfgFilePath(module_id, file_name);
  if (!path.overflow()) platform::UnlockFile(path.c_str());
}

int CfgFileWrite(int module_id, const char* file_name, std::span<const std::uint8_t> bytes) {
  CfgPath path = CfgDirPath(module_id);
  if (path.overflow()) return -1;
  if (!DirectoryOpens(path.c_str()) && MakeCfgDirPath(path.c_str()) != 0) {
    std::printf("dir %s make error\n", path.c_str());
    return -1;
  }
  path.Append("/");
  path.Append(file_name);
  if (path.overflow()) return -1;
  return SaveResult(path, platform::WriteConfigFile(path.c_str(), bytes.data(), bytes.size()), bytes.size());
}

int CfgFilePatch(int module_id, const char* file_name, std::size_t record_size, std::size_t offset,
                 std::span<const std::uint8_t> slice) {
  const CfgPath path = CfgFilePath(module_id, file_name);
  if (path.overflow()) return -1;
  return SaveResult(path,
                    platform::PatchConfigFile(path.c_str(), record_size, offset, slice.data(), slice.size()),
                    record_size);
}
