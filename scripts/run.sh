#!/usr/bin/env bash
# The main job: builds nxcgi, makes a fresh device root, and answers a real
# sample request in it, printing the answer and what the request ran.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/packages.sh
ensure_packages "${NXCGI_BUILD_PACKAGES[@]}"

build_dir=${NXCGI_BUILD_DIR:-build}
cmake --preset host -B "$build_dir" >/dev/null
cmake --build "$build_dir" --target nxcgi nxconf >/dev/null

root=$(mktemp -d /tmp/nxcgi-device-XXXXXX)
bash sim/make_device_root.sh "$build_dir" "$root"

request=${1:-"NxCgiVer=1&Evt=boot&Valu1=42&RetPage=/index.html&NxModId=1&PortId=2"}
name=${2:-nxevtnote.cgi}
echo "== device root: $root"
echo "== POST /cgi-bin/$name  $request"
echo "== answer:"
status=0
printf '%s' "$request" | env -i PATH="$PATH" NXCGI_ROOT="$root" REQUEST_METHOD=POST \
  CONTENT_TYPE=application/x-www-form-urlencoded CONTENT_LENGTH=${#request} \
  bash -c "exec -a /cgi-bin/$name '$build_dir/bin/nxcgi'" || status=$?
echo
echo "== exit status: $status"
echo "== device journal (what the stub commands saw):"
cat "$root/var/log/device.journal" 2>/dev/null || echo "(none)"
