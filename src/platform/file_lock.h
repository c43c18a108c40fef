// Advisory edit locks on configuration files. A request that loads a file in
// order to rewrite it holds an exclusive flock() on that file from the load
// to the save, so that two requests editing different fields of one file run
// one after the other and neither loses the other's change.
//
// The lock is taken on the configuration file itself, not on a sidecar lock
// file: a sidecar would be one more permanent file next to every
// configuration file (in the directories the save command copies to flash
// and the daemons read), created by whichever request came first. Because a save replaces the file by a
// rename, the inode a waiter locked may no longer be the file at the path once its lock is granted: after
// flock() the locked descriptor's inode is compared with the path's, and on a difference the file is opened
// and locked again. The lock belongs to the open descriptor, which is close-on-exec, so the commands the
// system runs never inherit it, and it dies with the process.
//
// A process holds one lock per file: locking a file it already holds gives
// the held descriptor back (a second open and flock of the same file by the
// same process would wait for itself forever). The lock ends when the save
// has renamed the new file into place, when the editing object is freed, or
// when the process ends. Readers that never write (catalogues, the FTP
// directory operation) do not lock, or give the lock up at once. No request
// edits two files, so no two requests can wait for each other.
#pragma once

#include <sys/types.h>

namespace platform {

// Opens the file at the device path (mapped below the host root) read-only
// and locks it exclusively, waiting for any other holder. Returns the locked
// descriptor, positioned anywhere (read it with pread), owned by the lock
// table; -1 with errno when the file can't be opened. When no lock can be
// kept (the table is full, or flock itself fails) -1 comes back with errno
// ENOLCK and the caller reads the file unlocked, as a process without locks
// would.
int LockFileForEdit(const char* device_path);

// Releases this process's lock on the file the device path names now, if it
// holds one.
void UnlockFile(const char* device_path);

// Releases this process's lock on the file with this identity (the inode a
// save has just replaced), if it holds one.
void UnlockFileIdentity(dev_t device, ino_t inode);

// Holds a file's edit lock for the whole of a request that loads the file
// more than once before its save (each load alone would take the lock and
// give it up, and another request could save in between). The releases in
// between are put off until the scope ends; without a lock (the file missing,
// ENOLCK) the scope holds nothing.
class EditLockScope {
 public:
  explicit EditLockScope(const char* device_path);
  ~EditLockScope();
  EditLockScope(const EditLockScope&) = delete;
  EditLockScope& operator=(const EditLockScope&) = delete;

 private:
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

// Releases every lock this process holds (in-process tests; a new process
// holds none).
void UnlockAllFiles();

// How many locks this process holds (tests).
int HeldFileLockCount();

}  // namespace platform
