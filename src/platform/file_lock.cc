#include "platform/file_lock.h"

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/host_root.h"
#include "platform/regular_file.h"

namespace platform {
namespace {

// A request edits one file, a few at most; beyond this the edit goes on
// unlocked rather than failing.
constexpr int kMaxHeldLocks = 8;

// How often a file may be replaced under a waiter before it gives up the
// lock and reads unlocked: a save by every other request in turn.
constexpr int kMaxLockAttempts = 64;

struct HeldLock {
  int fd = -1;
  dev_t device = 0;
  ino_t inode = 0;
  bool scoped = false;  // held by an EditLockScope: released when it ends
};

HeldLock g_locks[kMaxHeldLocks];

HeldLock* FindHeld(dev_t device, ino_t inode) {
  for (HeldLock& lock : g_locks) {
    if (lock.fd >= 0 && lock.device == device && lock.inode == inode) return &lock;
  }
  return nullptr;
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

bool WaitForLock(int fd) {
  while (flock(fd, LOCK_EX) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

}  // namespace

int LockFileForEdit(const char* device_path) {
  const HostPath host = MapPath(device_path);
  for (int attempt = 0; attempt < kMaxLockAttempts; ++attempt) {
    // A pipe or device put where a file belongs is refused, never waited for.
    const int fd = OpenRegularFile(host.c_str());
    if (fd < 0) return -1;
    struct stat opened;
    if (fstat(fd, &opened) != 0) {
      close(fd);
      errno = ENOLCK;
      return -1;
    }
    if (const HeldLock* held = FindHeld(opened.st_dev, opened.st_ino)) {
      close(fd);
      return held->fd;
    }
    HeldLock* slot = FreeSlot();
    if (slot == nullptr || !WaitForLock(fd)) {
      close(fd);
      errno = ENOLCK;
      return -1;
    }
    // The holder we waited for may have renamed a new file over the one we
    // opened: then our lock guards a file nobody will read again.
    struct stat now;
    if (stat(host.c_str(), &now) == 0 && now.st_dev == opened.st_dev && now.st_ino == opened.st_ino) {
      *slot = HeldLock{fd, opened.st_dev, opened.st_ino};
      return fd;
    }
    close(fd);
  }
  errno = ENOLCK;
  return -1;
}

void UnlockFile(const char* device_path) {
  const HostPath host = MapPath(device_path);
  struct stat status;
  if (host.size() == 0 || stat(host.c_str(), &status) != 0) return;
  UnlockFileIdentity(status.st_dev, status.st_ino);
}

void UnlockFileIdentity(dev_t device, ino_t inode) {
  if (HeldLock* held = FindHeld(device, inode); held != nullptr && !held->scoped) Release(*held);
}

EditLockScope::EditLockScope(const char* device_path) {
  struct stat status;
  const int fd = LockFileForEdit(device_path);
  if (fd < 0 || fstat(fd, &status) != 0) return;
  device_ = status.st_dev;
  inode_ = status.st_ino;
  if (HeldLock* held = FindHeld(device_, inode_)) held->scoped = true;
}

EditLockScope::~EditLockScope() {
  if (HeldLock* held = FindHeld(device_, inode_); held != nullptr && held->scoped) Release(*held);
}

void UnlockAllFiles() {
  for (HeldLock& lock : g_locks) {
    if (lock.fd >= 0) Release(lock);
  }
}

int HeldFileLockCount() {
  int count = 0;
  for (const HeldLock& lock : g_locks) count += lock.fd >= 0 ? 1 : 0;
  return count;
}

}  // namespace platform
