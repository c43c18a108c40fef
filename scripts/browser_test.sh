#!/usr/bin/env bash
# The end-to-end browser test: installs Debian's Chromium and the test's npm
# packages, builds, starts the device simulator on free loopback ports, runs
# tests/browser/simulator.test.mjs against it and stops everything again.
# Screenshots of every page visited go to BUILD_DIR/artifacts/browser.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/packages.sh
ensure_packages "${NXCGI_BUILD_PACKAGES[@]}" "${NXCGI_SIM_PACKAGES[@]}" "${NXCGI_BROWSER_PACKAGES[@]}"
command -v npm >/dev/null || ensure_packages nodejs npm

build_dir=${NXCGI_BUILD_DIR:-build}
[ -f "$build_dir/CMakeCache.txt" ] || cmake --preset host -B "$build_dir" >/dev/null
ninja -C "$build_dir" -j2 nxcgi nxconf >/dev/null
build_dir=$(cd "$build_dir" && pwd)

(cd tests/browser && npm ci --no-audit --no-fund --loglevel=error >/dev/null)

sim_dir=$build_dir/browser-sim
artifacts=$build_dir/artifacts/browser
rm -rf "$artifacts"
mkdir -p "$sim_dir" "$artifacts"
port=$(/usr/bin/python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
log=$sim_dir/simulator.log

NXCGI_BUILD_DIR=$build_dir bash scripts/simulator.sh --port "$port" --dir "$sim_dir" --quiet >"$log" 2>&1 &
sim_pid=$!
stop_simulator() {
  kill -TERM "$sim_pid" 2>/dev/null || true
  wait "$sim_pid" 2>/dev/null || true
}
trap stop_simulator EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

for _ in $(seq 300); do
  grep -q "^== nxcgi device simulator" "$log" && break
  kill -0 "$sim_pid" 2>/dev/null || { cat "$log" >&2; echo "browser test: the simulator did not start" >&2; exit 1; }
  sleep 0.2
done
grep -q "^== nxcgi device simulator" "$log" || { cat "$log" >&2; echo "browser test: simulator not up" >&2; exit 1; }
echo "== simulator on http://127.0.0.1:$port/ (log: $log)"

status=0
SIM_URL="http://127.0.0.1:$port" SIM_ROOT="$sim_dir/root" NXCONF="$build_dir/bin/nxconf" ARTIFACTS_DIR="$artifacts" \
  node --test --test-reporter=spec tests/browser/simulator.test.mjs || status=$?
echo "== screenshots in $artifacts"

# Stopping leaves nothing behind: no process, pid file or queue.
started_pids=$(grep -o ' pid [0-9]*' "$log" | awk '{print $2}')
stop_simulator
trap - EXIT
for pid in $started_pids; do
  if kill -0 "$pid" 2>/dev/null; then echo "browser test: pid $pid still runs after the stop" >&2; status=1; fi
done
for left in "$sim_dir"/root/var/run/*.pid "$sim_dir/run/uartsvc.qid"; do
  if [ -e "$left" ]; then echo "browser test: $left left behind" >&2; status=1; fi
done
grep -q "uartsvc: stopped, request queue removed" "$sim_dir/root/var/log/device.journal" ||
  { echo "browser test: the serial output service did not remove its queue" >&2; status=1; }
echo "== device journal of the run:"
sed 's/^/   /' "$sim_dir/root/var/log/device.journal"
exit $status
