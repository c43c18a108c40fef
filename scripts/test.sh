#!/usr/bin/env bash
# The whole test command, on a fresh Debian machine: installs what is
# missing, builds, and runs every test in stages, each stage with its preset
# of CMakePresets.json:
#   host        the host build and its ctest: unit, cgi, peer and browser tests
#   sanitizers  every test again, built with AddressSanitizer and UBSan
#   valgrind    the process-level tests with every nxcgi under valgrind
#   arm         the ARM cross build's unit and process-level tests under qemu
#   fuzz        each libFuzzer harness for NXCGI_FUZZ_SECONDS (20) seconds
# NXCGI_TEST_STAGES picks stages (default: all, in this order). Extra
# arguments go to the host ctest (e.g. -L unit, -LE browser).
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/packages.sh

stages=${NXCGI_TEST_STAGES:-host sanitizers valgrind arm fuzz}
for stage in $stages; do
  echo "== test stage: $stage"
  start=$SECONDS
  case $stage in
    host)
      ensure_packages "${NXCGI_BUILD_PACKAGES[@]}" "${NXCGI_TEST_PACKAGES[@]}" "${NXCGI_SIM_PACKAGES[@]}" \
        "${NXCGI_BROWSER_PACKAGES[@]}"
      command -v npm >/dev/null || ensure_packages nodejs npm
      build_dir=${NXCGI_BUILD_DIR:-build}
      cmake --preset host -B "$build_dir" >/dev/null
      cmake --build "$build_dir"
      ctest --preset host --test-dir "$build_dir" -j"$(nproc)" "$@"
      ;;
    sanitizers) bash scripts/test_sanitizers.sh ;;
    valgrind) bash scripts/test_valgrind.sh ;;
    arm) bash scripts/test_arm.sh ;;
    fuzz) bash scripts/fuzz.sh "${NXCGI_FUZZ_SECONDS:-20}" ;;
    *)
      echo "unknown test stage: $stage" >&2
      exit 2
      ;;
  esac
  echo "== test stage $stage: $((SECONDS - start)) s"
done
