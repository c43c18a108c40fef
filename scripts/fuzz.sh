#!/usr/bin/env bash
# Builds the libFuzzer harnesses with clang in build-fuzz/ and runs each for
# a given time. Usage: scripts/fuzz.sh [SECONDS] [HARNESS...]
# (SECONDS per harness, default 60; all harnesses by default).
#
# Each harness starts from its seed corpus (fuzz/corpus/<harness>) and the
# kept regression inputs (fuzz/regressions/<harness>); new inputs go to
# build-fuzz/corpus/<harness>, crashes to build-fuzz/artifacts/<harness>/
# (preset fuzz).
# A crash fails the script: fix it, then keep the input under
# fuzz/regressions/<harness>/ so that the normal test run replays it.
# The last line of each harness's log (build-fuzz/logs/) gives the executions.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/packages.sh
ensure_packages "${NXCGI_BUILD_PACKAGES[@]}" "${NXCGI_FUZZ_PACKAGES[@]}" netbase

seconds=${1:-60}
shift || true
harnesses=("$@")
[ ${#harnesses[@]} -gt 0 ] || harnesses=(form_parser tcfg ftp_reply catalogue dispatcher answer)

build_dir=build-fuzz
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j2 --target "${harnesses[@]/%/_fuzz}" nxconf

build_abs=$(cd "$build_dir" && pwd)
failed=0
for harness in "${harnesses[@]}"; do
  corpus="$build_abs/corpus/$harness"
  artifacts="$build_abs/artifacts/$harness"
  log="$build_abs/logs/$harness.log"
  mkdir -p "$corpus" "$artifacts" "$(dirname "$log")"
  extra=()
  # Catalogue records are 1496 bytes (PTZ): room for several.
  [ "$harness" = catalogue ] && extra+=(-max_len=16384)
  status=0
  # -close_fd_mask=3: the product's pages and diagnostics go nowhere;
  # libFuzzer and the sanitizers keep their own copy of stderr.
  "$build_abs/bin/${harness}_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
    -close_fd_mask=3 -print_final_stats=1 -artifact_prefix="$artifacts/" "${extra[@]}" \
    "$corpus" "fuzz/corpus/$harness" "fuzz/regressions/$harness" >"$log" 2>&1 || status=$?
  runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || true)
  if [ "$status" -ne 0 ]; then
    failed=1
    echo "$harness: FAILED after ${runs:-?} executions (exit $status); see $log and $artifacts" >&2
    grep -m3 -E 'ERROR|SUMMARY|Test unit written' "$log" >&2 || true
  else
    echo "$harness: ${runs:-?} executions in ${seconds}s, no crash"
  fi
done
exit "$failed"
