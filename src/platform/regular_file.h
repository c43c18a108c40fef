// The one way a request opens a file it only reads: a regular file or
// nothing. A FIFO, a device or a directory in the file's place is refused at
// once, never waited for: reading one would hold the request (and any edit
// lock it holds) without end.
#pragma once

namespace platform {

// An open descriptor for reading (close-on-exec, blocking reads), or -1:
// errno as open(2) sets it, or EINVAL for a file that is not a regular file.
int OpenRegularFile(const char* host_path);

}  // namespace platform
