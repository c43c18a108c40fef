#include "platform/config_write.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "platform/file_lock.h"
#include "platform/host_root.h"
#include "platform/regular_file.h"
#include "platform/text_view.h"

namespace platform {
namespace {

// As the kernel's own limit on links followed in one path.
constexpr int kMaxLinkHops = 40;
// Temporary names tried per save: the plain pid, then pid.1, pid.2, ...
constexpr int kMaxTempNames = 16;

// Writes every byte, retrying short writes; false with errno on failure.
bool WriteAll(int fd, const void* bytes, std::size_t size) {
  const char* next = static_cast<const char*>(bytes);
  std::size_t left = size;
  while (left > 0) {
    const ssize_t written = write(fd, next, left);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      if (written == 0) errno = EIO;
      return false;
    }
    next += written;
    left -= static_cast<std::size_t>(written);
  }
  return true;
}

// Follows symbolic links at the path until it names a file that is not a
// link (or nothing yet). False with errno for a loop or a name too long.
bool ResolveLinks(HostPath& path) {
  for (int hop = 0; hop < kMaxLinkHops; ++hop) {
    struct stat status;
    if (lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return true;
    char link[kMaxHostPath];
    const ssize_t length = readlink(path.c_str(), link, sizeof link);
    if (length < 0) return false;
    if (static_cast<std::size_t>(length) >= sizeof link) {
      errno = ENAMETOOLONG;
      return false;
    }
    const std::string_view target(link, static_cast<std::size_t>(length));
    HostPath next;
    if (target.empty() || target.front() != '/') {
      const std::size_t slash = path.view().rfind('/');
      if (slash != std::string_view::npos) next.Append(Head(path.view(), slash + 1));
    }
    next.Append(target);
    if (next.overflow()) {
      errno = ENAMETOOLONG;
      return false;
    }
    path = next;
  }
  errno = ELOOP;
  return false;
}

struct SplitPath {
  HostPath directory;     // "." for a bare name
  std::string_view base;  // points into the split path
};

SplitPath Split(const HostPath& path) {
  SplitPath split;
  const std::size_t slash = path.view().rfind('/');
  if (slash == std::string_view::npos) {
    split.directory.Append(".");
    split.base = path.view();
  } else {
    split.directory.Append(slash == 0 ? std::string_view("/") : Head(path.view(), slash));
    split.base = From(path.view(), slash + 1);
  }
  return split;
}

// The temporary name prefix of a file: ".<base>.nxcgi-tmp.".
HostPath TempPrefix(std::string_view base) {
  HostPath prefix;
  prefix.Append(".");
  prefix.Append(base);
  prefix.Append(kTempFileMarker);
  return prefix;
}

// The pid a temporary name carries after its prefix, or 0.
pid_t TempOwner(std::string_view suffix) {
  pid_t pid = 0;
  std::size_t digits = 0;
  for (const char c : suffix) {
    if (c < '0' || c > '9') break;
    if (pid > 9999999) return 0;
    pid = pid * 10 + (c - '0');
    ++digits;
  }
  if (digits == 0 || (digits < suffix.size() && suffix[digits] != '.')) return 0;
  return pid;
}

// Removes the temporary files of this file left by processes that were
// killed while saving it. The directories hold a handful of files, so the
// scan costs little next to the fsyncs of the save itself.
void RemoveStaleTemps(const SplitPath& split) {
  DIR* dir = opendir(split.directory.c_str());
  if (dir == nullptr) return;
  const HostPath prefix = TempPrefix(split.base);
  while (const dirent* entry = readdir(dir)) {
    const std::string_view name(entry->d_name);
    if (!name.starts_with(prefix.view())) continue;
    const pid_t owner = TempOwner(From(name, prefix.size()));
    if (owner <= 0 || owner == getpid()) continue;
    if (kill(owner, 0) == 0 || errno != ESRCH) continue;
    unlinkat(dirfd(dir), entry->d_name, 0);
  }
  closedir(dir);
}

struct TempFile {
  int fd = -1;
  HostPath path;
};

// Creates a new temporary file next to the target; fd -1 with errno when
// none can be made.
TempFile CreateTemp(const SplitPath& split, mode_t mode) {
  TempFile temp;
  for (int attempt = 0; attempt < kMaxTempNames; ++attempt) {
    temp.path.Clear();
    temp.path.Append(split.directory.view());
    temp.path.Append("/");
    temp.path.Append(TempPrefix(split.base).view());
    temp.path.AppendFormat("%d", static_cast<int>(getpid()));
    if (attempt > 0) temp.path.AppendFormat(".%d", attempt);
    if (temp.path.overflow()) {
      errno = ENAMETOOLONG;
      return temp;
    }
    temp.fd = open(temp.path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (temp.fd >= 0 || errno != EEXIST) return temp;
  }
  return temp;
}

// Gives the temporary file the old file's owner (where the process may) and
// permission bits. fchmod comes last: a change of owner clears set-id bits.
bool KeepAttributes(int fd, const struct stat& old) {
  if (old.st_uid != geteuid() || old.st_gid != getegid()) {
    // Only a privileged process may give a file away; another keeps at least
    // the group where it is a member, and the file then belongs to the
    // writer, as a file it created would.
    if (fchown(fd, old.st_uid, old.st_gid) != 0 && fchown(fd, static_cast<uid_t>(-1), old.st_gid) != 0) {
    }
  }
  return fchmod(fd, old.st_mode & 07777) == 0;
}

// Devices, pipes and the like are written where they are, as before.
WriteStatus WriteInPlace(const HostPath& path, const void* bytes, std::size_t size) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) return WriteStatus::kOpenFailed;
  bool ok = WriteAll(fd, bytes, size);
  const int saved_errno = errno;
  if (close(fd) != 0) ok = false;
  errno = saved_errno;
  return ok ? WriteStatus::kOk : WriteStatus::kWriteFailed;
}

WriteStatus Fail(const TempFile& temp) {
  const int saved_errno = errno;
  if (temp.fd >= 0) close(temp.fd);
  unlink(temp.path.c_str());
  errno = saved_errno;
  return WriteStatus::kWriteFailed;
}

// What goes into the temporary file: the bytes as given, or (patch) a copy
// of the old file's first `size` bytes with the bytes at `offset`.
struct NewContents {
  const void* bytes;
  std::size_t size;
  bool patch = false;
  std::size_t patch_size = 0;
  std::size_t offset = 0;
};

// Copies `size` bytes from the start of one file into another, in the
// kernel where it can, else through a buffer.
bool CopyStart(int from, int to, std::size_t size) {
  std::size_t copied = 0;
  while (copied < size) {
    const ssize_t got = copy_file_range(from, nullptr, to, nullptr, size - copied, 0);
    if (got > 0) {
      copied += static_cast<std::size_t>(got);
    } else if (got < 0 && errno == EINTR) {
      continue;
    } else if (got < 0 && copied == 0 && (errno == ENOSYS || errno == EXDEV || errno == EINVAL)) {
      break;  // no copy in the kernel here: copy through a buffer
    } else {
      if (got == 0) errno = EIO;  // the file ended early
      return false;
    }
  }
  char block[16384];
  while (copied < size) {
    const std::size_t want = size - copied < sizeof block ? size - copied : sizeof block;
    const ssize_t got = read(from, block, want);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0 || !WriteAll(to, block, static_cast<std::size_t>(got))) {
      if (got == 0) errno = EIO;
      return false;
    }
    copied += static_cast<std::size_t>(got);
  }
  return true;
}

bool FillTemp(int temp_fd, const HostPath& old_path, const NewContents& contents) {
  if (!contents.patch) return WriteAll(temp_fd, contents.bytes, contents.size);
  const int old = OpenRegularFile(old_path.c_str());
  if (old < 0) return false;
  const bool ok = CopyStart(old, temp_fd, contents.size) &&
                  lseek(temp_fd, static_cast<off_t>(contents.offset), SEEK_SET) >= 0 &&
                  WriteAll(temp_fd, contents.bytes, contents.patch_size);
  const int saved_errno = errno;
  close(old);
  errno = saved_errno;
  return ok;
}

WriteStatus Replace(const char* device_path, const NewContents& contents) {
  // A request whose edit lock wait ran out loaded nothing it may save.
  if (EditLockBusyPath() != nullptr) {
    errno = ENOLCK;
    return WriteStatus::kOpenFailed;
  }
  HostPath path = MapPath(device_path);
  if (path.size() == 0) {
    errno = ENOENT;
    return WriteStatus::kOpenFailed;
  }
  if (!ResolveLinks(path)) return WriteStatus::kOpenFailed;

  struct stat old;
  const bool exists = stat(path.c_str(), &old) == 0;
  if (contents.patch &&
      (!exists || !S_ISREG(old.st_mode) || static_cast<std::size_t>(old.st_size) < contents.size)) {
    if (exists) errno = EINVAL;
    return WriteStatus::kOpenFailed;
  }
  if (exists) {
    if (S_ISDIR(old.st_mode)) {
      errno = EISDIR;
      return WriteStatus::kOpenFailed;
    }
    if (!S_ISREG(old.st_mode)) return WriteInPlace(path, contents.bytes, contents.size);
    // A file the process could not open for writing stays refused, although
    // the directory would let it be replaced.
    if (faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) return WriteStatus::kOpenFailed;
  }

  const SplitPath split = Split(path);
  RemoveStaleTemps(split);
  // A new file gets 0666 less the umask from open(); an old file's mode is
  // set once the temporary is ours, so the temporary starts private.
  TempFile temp = CreateTemp(split, exists ? 0600 : 0666);
  if (temp.fd < 0) return WriteStatus::kOpenFailed;

  if (exists && !KeepAttributes(temp.fd, old)) return Fail(temp);
  if (!FillTemp(temp.fd, path, contents)) return Fail(temp);
  while (fsync(temp.fd) != 0) {
    if (errno != EINTR) return Fail(temp);
  }
  const int fd = temp.fd;
  temp.fd = -1;
  if (close(fd) != 0) return Fail(temp);
  if (rename(temp.path.c_str(), path.c_str()) != 0) return Fail(temp);
  // The edit is over: the next editor may go on.
  UnlockFile(device_path);
  return WriteStatus::kOk;
}

}  // namespace

WriteStatus WriteConfigFile(const char* device_path, const void* bytes, std::size_t size) {
  return Replace(device_path, {bytes, size});
}

WriteStatus PatchConfigFile(const char* device_path, std::size_t size, std::size_t offset, const void* patch,
                            std::size_t patch_size) {
  if (offset > size || patch_size > size - offset) {
    errno = EINVAL;
    return WriteStatus::kOpenFailed;
  }
  return Replace(device_path, {patch, size, true, patch_size, offset});
}

}  // namespace platform
