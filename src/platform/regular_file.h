// The one way a request opens a file it only reads, and a fixed file it
// writes: a regular file or nothing. A FIFO, a device or a directory in the
// file's place is refused at once, never waited for: reading one would hold
// the request (and any edit lock it holds) without end.
#pragma once

namespace platform {

// An open descriptor for reading (close-on-exec, blocking reads), or -1:
// errno as open(2) sets it, or EINVAL for a file that is not a regular file.
int OpenRegularFile(const char* host_path);

// A file at a fixed, well-known name (a mark under /tmp) opened for writing,
// created when missing (0666 less the umask), emptied when `truncate`. A
// symbolic link planted at the name is not followed: -1 (ELOOP), as for a
// file that is not regular (EINVAL).
int OpenFixedFileForWrite(const char* host_path, bool truncate);

}  // namespace platform
