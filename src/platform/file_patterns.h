// Files removed by name, as "rm" with the shell's wildcards (*, ?, [...])
// would remove them, but without a shell: nothing in a name is code.
#pragma once

#include <string_view>

namespace platform {

// Removes every file that matches one of the blank-separated device path
// patterns, as "rm" given the expanded words would: never a directory, no
// options (a word "-r" names a file), a symbolic link itself rather than
// what it points to. A pattern that matches nothing removes nothing.
// Returns the number of files removed.
int RemoveMatchingFiles(std::string_view patterns);

// Removes the files of a directory as "rm DIR/*" would (never a directory,
// nor a name starting with a dot), reaching the directory without following
// a symbolic link at any component of its device path: a link planted in the
// path leads nowhere. Returns the number of files removed.
int RemoveFilesOfDirectory(std::string_view device_dir);

}  // namespace platform
