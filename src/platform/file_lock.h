// Advisory edit locks on configuration files. A request that loads a file in
// order to rewrite it holds an exclusive lock for that file from the load to
// the save, so that two requests editing different fields of one file run one
// after the other and neither loses the other's change.
//
// The lock is a flock() on a lock file of this program's own under
// /var/lock, named after the configuration file ("/var/lock/nxcgi" and the
// device path with each "/" as "."), never on the configuration file itself:
// a daemon or tool that locks a configuration file for its own reasons must
// not hold requests up, and a lock file is never replaced by a save, so the
// lock a waiter is granted always guards the file it will read. The lock
// belongs to the open descriptor, which is close-on-exec, so the commands the
// system runs never inherit it, and it dies with the process.
//
// A request waits at most kEditLockWaitSeconds for another request's edit
// (in a host root: NXCGI_EDIT_LOCK_WAIT seconds, when set);
// then the edit is given up: the request saves nothing and answers with the
// file's name (EditLockBusyPath). A process holds one lock per file: locking
// a file it already holds returns at once. The lock ends when the save has
// renamed the new file into place, when the editing object is freed, or when
// the process ends. No request edits two files, so no two requests can wait
// for each other.
#pragma once

#include "platform/host_root.h"

namespace platform {

inline constexpr int kEditLockWaitSeconds = 10;

// The lock file of a configuration file (mapped below the host root).
HostPath EditLockFilePath(const char* device_path);

enum class EditLock {
  kHeld,         // this process holds the lock
  kUnavailable,  // no lock can be had (no lock directory, the table full): edit as if unlocked
  kBusy,         // another request kept it past the wait: do not edit
};

// Takes the edit lock of the file at the device path, waiting for another
// holder at most kEditLockWaitSeconds.
EditLock LockFileForEdit(const char* device_path);

// The device path whose lock wait ran out in this process, or null. Once one
// has, no configuration file is saved any more (WriteConfigFile refuses).
const char* EditLockBusyPath();

// Releases this process's lock for the file at the device path, if it holds
// one (not while an EditLockScope keeps it).
void UnlockFile(const char* device_path);

// Holds a file's edit lock for the whole of a request that loads the file
// more than once before its save (each load alone would take the lock and
// give it up, and another request could save in between). The releases in
// between are put off until the scope ends.
class EditLockScope {
 public:
  explicit EditLockScope(const char* device_path);
  ~EditLockScope();
  EditLockScope(const EditLockScope&) = delete;
  EditLockScope& operator=(const EditLockScope&) = delete;

 private:
  const char* device_path_;
};

// Releases every lock this process holds and forgets a busy wait (in-process
// tests; a new process holds none).
void UnlockAllFiles();

// How many locks this process holds (tests).
int HeldFileLockCount();

}  // namespace platform
