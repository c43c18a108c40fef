#!/usr/bin/env bash
# Builds everything with AddressSanitizer and UndefinedBehaviorSanitizer
# (preset sanitizers, in build-asan/) and runs the whole test suite there
# (the browser test aside): the in-process tests run sanitized, and so does
# every nxcgi process the process-level and peer tests start, since they run
# the nxcgi of the same build directory. A finding ends the process that has
# it, which fails its test. Extra arguments go to ctest.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/packages.sh
ensure_packages "${NXCGI_BUILD_PACKAGES[@]}" "${NXCGI_TEST_PACKAGES[@]}" "${NXCGI_SANITIZER_PACKAGES[@]}"

# clang: g++ 12 with -fsanitize=undefined refuses the constant-expression
# field look-ups of the record layouts.
cmake --preset sanitizers >/dev/null
cmake --build --preset sanitizers -j2

# The test preset sets the sanitizers' options: malloc answers a size it
# cannot give with null, as the C library does (the request layer answers an
# absurd CONTENT_LENGTH that way); leaks are findings too; the first finding
# of any kind ends the process with a failure status, in the test binaries
# and in every nxcgi they start.
# It leaves out: the test that checks the product needs no libstdc++ (it
# looks at the binary's dynamic section, which the sanitizer run-time
# libraries change); the request whose CONTENT_LENGTH cannot be allocated,
# which expects no output at all, while the sanitizer's allocator warns on
# stderr before it returns null (the exit status and the empty page are as
# without it); and the fault injection under strace, since LeakSanitizer
# cannot work in a traced process (the host stage runs them).
ctest --preset sanitizers -j2 "$@"
