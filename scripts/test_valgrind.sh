#!/usr/bin/env bash
# Runs the process-level tests with every nxcgi process under valgrind
# memcheck: every CGI name is exercised (the FTP handlers by the FTP tests,
# the serial output request and the signalling handlers by the daemons tests). A definite or indirect
# leak, an invalid access or a use of uninitialised memory makes valgrind
# end the process with status 99 and print the finding on standard error, so
# the test that ran it fails. Memory that stays reachable until the process
# ends (process-wide images) is not a finding. Extra arguments go to ctest.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/packages.sh
ensure_packages "${NXCGI_BUILD_PACKAGES[@]}" "${NXCGI_TEST_PACKAGES[@]}" "${NXCGI_VALGRIND_PACKAGES[@]}"

build_dir=${NXCGI_BUILD_DIR:-build}
cmake --preset host -B "$build_dir" >/dev/null
cmake --build "$build_dir" -j2
# valgrind sees the allocations of a dynamically linked program only: the
# tests of the host build run against a dynamic nxcgi built beside it
# (preset valgrind, build-valgrind/), under the wrapper the test presets set.
# The wrapper turns valgrind's gdb server off (--vgdb=no): its FIFOs in /tmp
# are named by pid, and the daemons tests run nxcgi in pid namespaces, where
# two valgrinds at once can have the same pid and remove each other's FIFOs.
cmake --preset valgrind >/dev/null
cmake --build --preset valgrind -j2

# The process-level tests, and the peer tests that start nxcgi processes.
status=0
ctest --preset valgrind-cgi --test-dir "$build_dir" -j2 "$@" || status=$?
ctest --preset valgrind-peer --test-dir "$build_dir" -j2 "$@" || status=$?
exit "$status"
