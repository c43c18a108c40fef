#!/usr/bin/env bash
# Runs the process-level tests with every nxcgi process under valgrind
# memcheck: every CGI name is exercised (the FTP handlers by the FTP peer
# tests, the serial output request by its peer test). A definite or indirect
# leak, an invalid access or a use of uninitialised memory makes valgrind
# end the process with status 99 and print the finding on standard error, so
# the test that ran it fails. Memory that stays reachable until the process
# ends (process-wide images) is not a finding. Extra arguments go to ctest.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/packages.sh
ensure_packages "${NXCGI_BUILD_PACKAGES[@]}" "${NXCGI_TEST_PACKAGES[@]}" "${NXCGI_VALGRIND_PACKAGES[@]}"

build_dir=${NXCGI_BUILD_DIR:-build}
cmake -S . -B "$build_dir" -G Ninja >/dev/null
ninja -C "$build_dir" -j2
# valgrind sees the allocations of a dynamically linked program only: the
# tests of the host build run against a dynamic nxcgi built beside it.
valgrind_dir=${NXCGI_VALGRIND_BUILD_DIR:-build-valgrind}
cmake -S . -B "$valgrind_dir" -G Ninja -DNXCGI_STATIC=OFF -DNXCGI_BUILD_TESTS=OFF >/dev/null
ninja -C "$valgrind_dir" -j2 nxcgi
export NXCGI_TEST_NXCGI=$(cd "$valgrind_dir" && pwd)/bin/nxcgi

export NXCGI_EXEC_WRAPPER="valgrind -q --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite,indirect --show-leak-kinds=definite,indirect --track-origins=yes"
# The process-level tests, and the peer tests that start nxcgi processes
# (but the one that sends 200 requests in a row: its first request is the
# same as another test's).
status=0
ctest --test-dir "$build_dir" --output-on-failure -j2 -L cgi "$@" || status=$?
ctest --test-dir "$build_dir" --output-on-failure -j2 -L peer -R 'FtpHandlers\.|UartOutCtr|IsensSignal' \
  -E 'NoServiceAnswersAtOnceWithoutLeavingQueues' "$@" || status=$?
exit "$status"
