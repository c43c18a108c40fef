#!/usr/bin/env bash
# Sets up what is missing on a fresh Debian machine, builds, and runs every
# test, the browser test of the device simulator included. Extra arguments go
# to ctest (e.g. -L unit, -L cgi, -L peer, -L browser, or -LE browser to leave
# the browser out).
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/packages.sh
ensure_packages "${NXCGI_BUILD_PACKAGES[@]}" "${NXCGI_TEST_PACKAGES[@]}" "${NXCGI_SIM_PACKAGES[@]}" \
  "${NXCGI_BROWSER_PACKAGES[@]}"
command -v npm >/dev/null || ensure_packages nodejs npm

build_dir=${NXCGI_BUILD_DIR:-build}
cmake -S . -B "$build_dir" -G Ninja -DNXCGI_BROWSER_TESTS=ON >/dev/null
ninja -C "$build_dir"
ctest --test-dir "$build_dir" --output-on-failure -j"$(nproc)" "$@"
