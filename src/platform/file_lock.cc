#include "platform/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>

#include "platform/fixed_text.h"

namespace platform {
namespace {

constexpr const char* kLockDirectory = "/var/lock";

// A request edits one file, a few at most; beyond this the edit goes on
// unlocked rather than failing.
constexpr int kMaxHeldLocks = 8;

struct HeldLock {
  int fd = -1;
  dev_t device = 0;  // the lock file's identity
  ino_t inode = 0;
  bool scoped = false;  // held by an EditLockScope: released when it ends
};

HeldLock g_locks[kMaxHeldLocks];
FixedText<512> g_busy_path;

HeldLock* FindHeld(dev_t device, ino_t inode) {
  for (HeldLock& lock : g_locks) {
    if (lock.fd >= 0 && lock.device == device && lock.inode == inode) return &lock;
  }
  return nullptr;
}

HeldLock* FindHeld(const char* device_path) {
  struct stat status;
  const HostPath lock_path = EditLockFilePath(device_path);
  if (lock_path.size() == 0 || stat(lock_path.c_str(), &status) != 0) return nullptr;
  return FindHeld(status.st_dev, status.st_ino);
}

HeldLock* FreeSlot() {
  for (HeldLock& lock : g_locks) {
    if (lock.fd < 0) return &lock;
  }
  return nullptr;
}

void Release(HeldLock& lock) {
  close(lock.fd);  // closing the only descriptor of the open file drops the flock
  lock = HeldLock{};
}

// The lock file, created when missing (and its directory, in a fresh host
// root), and its identity; a link or anything but a regular file planted at
// its name is refused.
int OpenLockFile(const HostPath& lock_path, struct stat& status) {
  constexpr int kFlags = O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  int fd = open(lock_path.c_str(), kFlags, 0644);
  if (fd < 0 && errno == ENOENT && mkdir(MapPath(kLockDirectory).c_str(), 0755) == 0)
    fd = open(lock_path.c_str(), kFlags, 0644);
  if (fd >= 0 && (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))) {
    close(fd);
    return -1;
  }
  return fd;
}

double SecondsNow() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

void WakeUp(int) {}

// A host root (a developer's sandbox) may choose the wait in seconds, so
// that tests neither wait the whole wait for a refusal nor are refused on a
// slow machine; the device always waits kEditLockWaitSeconds.
double EditLockWaitSeconds() {
  const char* chosen = HostRoot().empty() ? nullptr : std::getenv("NXCGI_EDIT_LOCK_WAIT");
  return chosen != nullptr && *chosen != '\0' ? std::atof(chosen) : kEditLockWaitSeconds;
}

// Waits in flock() itself, so that the kernel hands the lock over as soon as
// it is free; a periodic alarm breaks the wait to look at the clock (a single
// alarm could go off before flock() starts to wait, and never again).
EditLock WaitForLock(int fd) {
  if (flock(fd, LOCK_EX | LOCK_NB) == 0) return EditLock::kHeld;
  if (errno != EWOULDBLOCK) return EditLock::kUnavailable;
  struct sigaction wake = {}, saved_action;
  wake.sa_handler = WakeUp;  // without SA_RESTART: the alarm ends the flock() call
  sigemptyset(&wake.sa_mask);
  sigaction(SIGALRM, &wake, &saved_action);
  const itimerval tick = {{0, 100000}, {0, 100000}};
  itimerval saved_timer;
  setitimer(ITIMER_REAL, &tick, &saved_timer);
  const double deadline = SecondsNow() + EditLockWaitSeconds();
  EditLock result = EditLock::kBusy;
  while (SecondsNow() < deadline) {
    if (flock(fd, LOCK_EX) == 0) {
      result = EditLock::kHeld;
      break;
    }
    if (errno != EINTR) {
      result = EditLock::kUnavailable;
      break;
    }
  }
  setitimer(ITIMER_REAL, &saved_timer, nullptr);
  sigaction(SIGALRM, &saved_action, nullptr);
  return result;
}

}  // namespace

HostPath EditLockFilePath(const char* device_path) {
  FixedText<kMaxHostPath> name;
  name.Append(kLockDirectory);
  name.Append("/nxcgi");
  for (std::string_view rest = device_path; !rest.empty();) {
    const std::size_t slash = rest.find('/');
    name.Append(rest.substr(0, slash));
    if (slash == std::string_view::npos) break;
    name.Append(".");
    rest.remove_prefix(slash + 1);
  }
  return name.overflow() ? HostPath() : MapPath(name.view());
}

EditLock LockFileForEdit(const char* device_path) {
  const HostPath lock_path = EditLockFilePath(device_path);
  struct stat status;
  const int fd = lock_path.size() > 0 ? OpenLockFile(lock_path, status) : -1;
  if (fd < 0) return EditLock::kUnavailable;
  if (FindHeld(status.st_dev, status.st_ino) != nullptr) {
    close(fd);
    return EditLock::kHeld;
  }
  HeldLock* slot = FreeSlot();
  const EditLock result = slot != nullptr ? WaitForLock(fd) : EditLock::kUnavailable;
  if (result == EditLock::kHeld) {
    *slot = HeldLock{fd, status.st_dev, status.st_ino};
    return result;
  }
  close(fd);
  if (result == EditLock::kBusy && g_busy_path.size() == 0) g_busy_path.Append(device_path);
  return result;
}

const char* EditLockBusyPath() { return g_busy_path.size() > 0 ? g_busy_path.c_str() : nullptr; }

void UnlockFile(const char* device_path) {
  if (HeldLock* held = FindHeld(device_path); held != nullptr && !held->scoped) Release(*held);
}

EditLockScope::EditLockScope(const char* device_path) : device_path_(device_path) {
  if (LockFileForEdit(device_path) != EditLock::kHeld) return;
  if (HeldLock* held = FindHeld(device_path)) held->scoped = true;
}

EditLockScope::~EditLockScope() {
  if (HeldLock* held = FindHeld(device_path_); held != nullptr && held->scoped) Release(*held);
}

void UnlockAllFiles() {
  for (HeldLock& lock : g_locks) {
    if (lock.fd >= 0) Release(lock);
  }
  g_busy_path.Clear();
}

int HeldFileLockCount() {
  int count = 0;
  for (const HeldLock& lock : g_locks) count += lock.fd >= 0 ? 1 : 0;
  return count;
}

}  // namespace platform
