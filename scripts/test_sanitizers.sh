#!/usr/bin/env bash
# Builds everything with AddressSanitizer and UndefinedBehaviorSanitizer in
# build-asan/ and runs the whole test suite there (the browser test aside):
# the in-process tests run sanitized, and so does every nxcgi process the
# process-level and peer tests start, since they run the nxcgi of the same
# build directory. A finding ends the process that has it, which fails its
# test. Extra arguments go to ctest.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/packages.sh
ensure_packages "${NXCGI_BUILD_PACKAGES[@]}" "${NXCGI_TEST_PACKAGES[@]}" "${NXCGI_SANITIZER_PACKAGES[@]}"

build_dir=${NXCGI_ASAN_BUILD_DIR:-build-asan}
# clang: g++ 12 with -fsanitize=undefined refuses the constant-expression
# field look-ups of the record layouts.
cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 -DNXCGI_SANITIZE=ON >/dev/null
ninja -C "$build_dir" -j2

# malloc must answer a size it cannot give with null, as the C library
# does: the request layer answers an absurd CONTENT_LENGTH that way.
# Leaks are findings too; the first finding of any kind ends the process
# with a failure status, in the test binaries and in every nxcgi they start.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:allocator_may_return_null=1:abort_on_error=0:halt_on_error=1:detect_stack_use_after_return=1:strict_string_checks=1:check_initialization_order=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
# Left out: the test that checks the product needs no libstdc++ looks at the
# binary's dynamic section, which the sanitizer run-time libraries change;
# and the request whose CONTENT_LENGTH cannot be allocated, which expects no
# output at all, while the sanitizer's allocator warns on stderr before it
# returns null (the exit status and the empty page are as without it).
# Also left out: the fault injection runs under strace, since LeakSanitizer
# cannot work in a traced process (the host stage runs them).
ctest --test-dir "$build_dir" --output-on-failure -j2 -LE browser \
  -E '^no_libstdcxx_at_run_time$|/unallocatable_length$|^Saves/CrashSafeWrite\.' "$@"
