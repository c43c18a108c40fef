// Files named by patterns with the shell's wildcards (*, ?, [...]), expanded
// as the shell would but without one: nothing in a pattern is code.
#pragma once

#include <string_view>

namespace platform {

// Removes every file that matches one of the blank-separated device path
// patterns, as "rm" given the expanded words would: never a directory, no
// options (a word "-r" names a file), a symbolic link itself rather than
// what it points to. A pattern that matches nothing removes nothing.
// Returns the number of files removed.
int RemoveMatchingFiles(std::string_view patterns);

}  // namespace platform
