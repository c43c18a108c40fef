#!/usr/bin/env bash
# The device simulator: nxcgi behind a real web server, in a device root with
# stand-ins for the device's daemons and a local FTP server, and plain pages
# to drive every CGI name from a browser.
#
#   bash scripts/simulator.sh [--port N] [--ftp-port N] [--reuse] [--dir DIR] [--quiet]
#
#   --port N      web server port on 127.0.0.1 (default 8080)
#   --ftp-port N  FTP server port on 127.0.0.1 (default: a free one)
#   --reuse       keep the device root of the last run (default: a fresh one)
#   --dir DIR     where the device root and run files live (default build/sim)
#   --quiet       do not copy the device journal to the terminal
#
# Ctrl-C (or SIGTERM; started in the background, SIGTERM only) stops
# everything it started.
set -euo pipefail
cd "$(dirname "$0")/.."
repo=$PWD

for arg in "$@"; do
  case $arg in -h|--help) sed -n '2,15p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;; esac
done

source scripts/lib/packages.sh
ensure_packages "${NXCGI_BUILD_PACKAGES[@]}" "${NXCGI_SIM_PACKAGES[@]}"

# The serial output service's queue has a fixed key; in an IPC namespace of
# its own the simulator meets neither the peer tests nor another simulator
# there, and the kernel drops its queues with the namespace. Where unshare is
# not allowed, the machine's namespace is shared.
if [ -z "${NXSIM_IPC_NAMESPACE:-}" ]; then
  if unshare --ipc true 2>/dev/null; then
    NXSIM_IPC_NAMESPACE=own exec unshare --ipc bash "$repo/scripts/simulator.sh" "$@"
  elif unshare --user --map-root-user --ipc true 2>/dev/null; then
    NXSIM_IPC_NAMESPACE=own exec unshare --user --map-root-user --ipc bash "$repo/scripts/simulator.sh" "$@"
  fi
  NXSIM_IPC_NAMESPACE=shared
fi

port=8080
ftp_port=""
reuse=0
quiet=0
sim_dir=""
while [ $# -gt 0 ]; do
  case $1 in
    --port) port=$2; shift 2 ;;
    --port=*) port=${1#*=}; shift ;;
    --ftp-port) ftp_port=$2; shift 2 ;;
    --ftp-port=*) ftp_port=${1#*=}; shift ;;
    --reuse) reuse=1; shift ;;
    --dir) sim_dir=$2; shift 2 ;;
    --dir=*) sim_dir=${1#*=}; shift ;;
    --quiet) quiet=1; shift ;;
    *) echo "simulator: unknown argument '$1' (--help lists them)" >&2; exit 2 ;;
  esac
done


build_dir=${NXCGI_BUILD_DIR:-build}
sim_dir=${sim_dir:-$build_dir/sim}
mkdir -p "$sim_dir"
sim_dir=$(cd "$sim_dir" && pwd)
root=$sim_dir/root
run_dir=$sim_dir/run
ftp_dir=$sim_dir/ftp
python=/usr/bin/python3
uart_key=0x20030922

[ -f "$build_dir/CMakeCache.txt" ] || cmake --preset host -B "$build_dir" >/dev/null
ninja -C "$build_dir" -j2 nxcgi nxconf >/dev/null
build_dir=$(cd "$build_dir" && pwd)
nxconf=$build_dir/bin/nxconf

if ipcs -q | awk '{print $1}' | grep -qix "$uart_key"; then
  echo "simulator: a message queue with the serial output service's key $uart_key exists already" >&2
  echo "  (another simulator, or the peer tests, are running; a stale one goes with: ipcrm -Q $uart_key)" >&2
  exit 1
fi

# The device root: fresh from the factory defaults, or the last one.
if [ "$reuse" = 1 ] && [ -d "$root/opt/vsb/etc/NxConf" ]; then
  echo "== reusing the device root $root"
else
  rm -rf "$root"
  bash sim/make_device_root.sh "$build_dir" "$root"
  echo "== fresh device root $root (factory defaults)"
fi
rm -f "$root"/var/run/*.pid
# nxcgi and its 37 names, from the install step (the names come from the
# handler table); then the pages and the state window.
DESTDIR=$root cmake --install "$build_dir" >/dev/null
if [ ! -L "$root/web/cgi-bin/nxmailsvcport.cgi" ]; then
  echo "simulator: the CGI links did not land in /web/cgi-bin of the device root;" >&2
  echo "  $build_dir is configured with another NXCGI_CGI_BIN_DIR (use NXCGI_BUILD_DIR=another-build-dir)" >&2
  exit 1
fi
cp sim/web/* "$root/web/"
install -m 755 sim/simstate.py "$root/web/cgi-bin/simstate.py"

# The upload server that the factory-default FTP services point at.
free_port() { "$python" -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])'; }
[ -n "$ftp_port" ] || ftp_port=$(free_port)
ftp_user=nxcgi
ftp_password=nxcgi
mkdir -p "$ftp_dir/pub" "$ftp_dir/upload"
printf 'hello from the simulated upload server\r\n' > "$ftp_dir/pub/hello.txt"
printf 'NX-4000 sample firmware notes\n' > "$ftp_dir/pub/notes.txt"
for module in 0 1 2 3; do
  for file in FtpSigSvcConf.bin FtpDurSvcConf.bin; do
    "$nxconf" set "$root/opt/vsb/etc/NxConf/NxModId$module/$file" \
      ServerIp=127.0.0.1 FtpCtrlPort="$ftp_port" User="$ftp_user" Passwd="$ftp_password" BaseDir=upload
  done
done

rm -rf "$run_dir"
mkdir -p "$run_dir"
cat > "$run_dir/lighttpd.conf" <<CONF
server.modules = ("mod_access", "mod_setenv", "mod_cgi", "mod_accesslog")
server.document-root = "$root/web"
server.bind = "127.0.0.1"
server.port = $port
server.errorlog = "$run_dir/lighttpd-error.log"
accesslog.filename = "$run_dir/access.log"
index-file.names = ("index.html")
mimetype.assign = (
  ".html" => "text/html; charset=utf-8", ".js" => "text/javascript", ".css" => "text/css",
  ".json" => "application/json", ".txt" => "text/plain", ".png" => "image/png", ".bin" => "application/octet-stream",
)
setenv.add-environment = (
  "NXCGI_ROOT" => "$root",
  "PATH" => "/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin",
  "SIM_NXCONF" => "$nxconf",
)
\$HTTP["url"] =~ "^/cgi-bin/" {
  cgi.assign = (".cgi" => "", ".py" => "$python")
}
CONF
lighttpd -tt -f "$run_dir/lighttpd.conf" >/dev/null

# Everything started is listed here and stopped in reverse order.
names=()
pids=()
start() {
  local name=$1
  shift
  "$@" >>"$run_dir/$name.log" 2>&1 &
  names+=("$name")
  pids+=($!)
}
stopping=0
view_pid=""
stop_all() {
  [ "$stopping" = 1 ] && return
  stopping=1
  trap - INT TERM
  echo
  echo "== stopping"
  local i
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do
    kill -TERM "${pids[i]}" 2>/dev/null || true
  done
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do
    wait "${pids[i]}" 2>/dev/null || true
  done
  # Whatever a killed daemon could not clean up itself.
  if [ -s "$run_dir/uartsvc.qid" ]; then ipcrm -q "$(cat "$run_dir/uartsvc.qid")" 2>/dev/null || true; fi
  rm -f "$run_dir/uartsvc.qid"
  rm -f "$root/var/run/isensd.pid" "$root/var/run/nxcamctld.pid"
  if [ -n "$view_pid" ]; then
    sleep 0.2
    kill -TERM "$view_pid" 2>/dev/null || true
    wait "$view_pid" 2>/dev/null || true
  fi
  echo "== stopped: ${names[*]}"
}
trap 'stop_all; exit 130' INT
trap 'stop_all; exit 143' TERM
trap 'stop_all' EXIT

journal=$root/var/log/device.journal
journal_start=$(($(wc -l < "$journal") + 1))
start uartsvc "$python" sim/devices.py uartsvc "$root" "$run_dir/uartsvc.qid"
start isensd "$python" sim/devices.py isensd "$root"
start nxcamctld "$python" sim/devices.py nxcamctld "$root"
start ftpd "$python" sim/devices.py ftpd "$root" "$ftp_dir" "$ftp_port" "$ftp_user" "$ftp_password"
start lighttpd /usr/sbin/lighttpd -D -f "$run_dir/lighttpd.conf"

# Ready when the queue and the pid files exist and both servers answer.
ready() {
  [ -s "$run_dir/uartsvc.qid" ] && [ -s "$root/var/run/isensd.pid" ] && [ -s "$root/var/run/nxcamctld.pid" ] &&
    tail -n +"$journal_start" "$journal" | grep -q "ftpd: started" &&
    "$python" -c 'import socket,sys; socket.create_connection(("127.0.0.1", int(sys.argv[1])), 1).close()' \
      "$port" 2>/dev/null
}
for _ in $(seq 100); do
  ready && break
  for i in "${!pids[@]}"; do
    if ! kill -0 "${pids[i]}" 2>/dev/null; then
      echo "simulator: ${names[i]} did not start:" >&2
      cat "$run_dir/${names[i]}.log" >&2
      exit 1
    fi
  done
  sleep 0.1
done
ready || { echo "simulator: not ready after 10 s" >&2; exit 1; }

cat <<TEXT
== nxcgi device simulator
   open            http://127.0.0.1:$port/
   device root     $root   (NXCGI_ROOT of every request)
   configuration   $root/opt/vsb/etc/NxConf   (nxconf dump FILE decodes one)
   journal         $journal
   running
     lighttpd      pid ${pids[4]}  127.0.0.1:$port, mod_cgi runs $root/web/cgi-bin/*.cgi (links to nxcgi)
     uartsvc       pid ${pids[0]}  serial output service on message queue $uart_key ($NXSIM_IPC_NAMESPACE IPC namespace), echoes what it transmits
     isensd        pid ${pids[1]}  sensor link daemon, /var/run/isensd.pid, journals its signals
     nxcamctld     pid ${pids[2]}  camera control daemon, /var/run/nxcamctld.pid, journals its signals
     ftpd          pid ${pids[3]}  FTP server 127.0.0.1:$ftp_port, user $ftp_user / $ftp_password, files in $ftp_dir
   logs            $run_dir
   Ctrl-C stops everything.
TEXT
if [ "$quiet" = 0 ]; then
  echo "== device journal (as it grows)"
  tail -n +1 -F "$journal" 2>/dev/null &
  view_pid=$!
fi

# Runs until interrupted, or until one of the processes ends by itself.
set +e
wait -n "${pids[@]}"
status=$?
if [ "$stopping" = 0 ]; then
  for i in "${!pids[@]}"; do
    if ! kill -0 "${pids[i]}" 2>/dev/null; then
      echo "simulator: ${names[i]} ended (status $status); its log: $run_dir/${names[i]}.log" >&2
    fi
  done
  exit 1
fi
