// The one function through which every configuration file (binary and text)
// is written, so that how files are replaced on storage is decided in one
// place.
//
// A file is never rewritten in place: the new contents go to a temporary
// file in the same directory, which is flushed to storage and then renamed
// over the file. A daemon reading the file meanwhile, a failed write, or a
// power cut therefore leaves either the old file or the new one, never a mix
// or a truncated file. The directory is not flushed (one flush per save):
// a power cut before the file system's next commit finds the old whole
// file, and the device's save command is what makes a configuration last. A symbolic link at
// the path is followed and the file it leads to is replaced (the link
// stays); the permission bits (and, where the process may, the owner) of
// the old file are kept; a new file gets 0666 less the umask.
//
// Temporary files are named ".<file>.nxcgi-tmp.<pid>" (a counter is added
// when that name is taken). Every failure the process sees removes its
// temporary file; a process killed in the middle of a save can leave one
// behind, which never replaces the file, and the next save of the same file
// removes it once its process is gone.
#pragma once

#include <cstddef>

namespace platform {

enum class WriteStatus {
  kOk,
  kOpenFailed,   // the file or its temporary could not be created; errno is kept
  kWriteFailed,  // writing, flushing or renaming failed: the old file is whole
};

// Replaces the file at the device path (mapped below the host root) by the
// bytes. On kOpenFailed errno tells why (a directory at the path gives
// EISDIR, a missing directory ENOENT, a file the process may not write
// EACCES, as opening it for writing would). After a successful save this
// process's edit lock on the file (see file_lock.h) is released.
WriteStatus WriteConfigFile(const char* device_path, const void* bytes, std::size_t size);

// Replaces the file, a regular file of at least `size` bytes, by a copy of
// its first `size` bytes with the patch written over them at `offset`, in
// the same way (temporary file, flush, rename). The kernel copies the file
// (copy_file_range), so an edit of a few bytes of a large record does not
// pass the whole record through the process twice. kOpenFailed (errno
// EINVAL) for a file that is not regular or is too short.
WriteStatus PatchConfigFile(const char* device_path, std::size_t size, std::size_t offset, const void* patch,
                            std::size_t patch_size);

// The marker inside temporary file names (tests look for leftovers).
inline constexpr const char* kTempFileMarker = ".nxcgi-tmp.";

}  // namespace platform
