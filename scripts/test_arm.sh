#!/usr/bin/env bash
# Cross-builds the product and its unit and process-level tests for the ARM
# board (preset arm: arm-linux-gnueabihf, in build-arm/) and runs them under
# qemu-arm. The peer tests (FTP servers, message queues, signals) run in the
# host build (scripts/test.sh). Extra arguments go to ctest.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/packages.sh
ensure_packages cmake ninja-build googletest g++-arm-linux-gnueabihf qemu-user "${NXCGI_TEST_PACKAGES[@]}"

build_dir=build-arm
cmake --preset arm >/dev/null
cmake --build --preset arm -j"$(nproc)"

# The size and the shared libraries of what goes onto the board.
arm-linux-gnueabihf-strip -o "$build_dir/nxcgi.stripped" "$build_dir/bin/nxcgi"
echo "stripped nxcgi: $(stat -c %s "$build_dir/nxcgi.stripped") bytes, needs:" \
  "$(arm-linux-gnueabihf-readelf -d "$build_dir/nxcgi.stripped" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | tr '\n' ' ')"

# The kernel cannot start ARM executables here (no binfmt_misc): the test
# preset has the harness run nxcgi and nxconf through qemu-arm. It leaves
# out the fuzz replays (programs of the fuzz build), and the write tests that
# list a directory, since qemu-user on a 64-bit kernel cannot hand a 32-bit
# program the 64-bit offsets of an ext4 directory (readdir ends at once
# there; a 32-bit board's kernel has no such problem).
ctest --preset arm -j"$(nproc)" "$@"
