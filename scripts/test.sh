#!/usr/bin/env bash
# Sets up what is missing on a fresh Debian machine, builds, and runs every
# test. Extra arguments go to ctest (e.g. -L unit, -L cgi, -L peer).
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/packages.sh
ensure_packages "${NXCGI_BUILD_PACKAGES[@]}" "${NXCGI_TEST_PACKAGES[@]}"

build_dir=${NXCGI_BUILD_DIR:-build}
cmake -S . -B "$build_dir" -G Ninja >/dev/null
ninja -C "$build_dir"
ctest --test-dir "$build_dir" --output-on-failure -j"$(nproc)" "$@"
