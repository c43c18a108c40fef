#!/usr/bin/env bash
# Prints one table of the product's speed and size figures, each next to its
# reference and target: wall time and instructions of typical requests, peak
# memory of every handler, requests per second through lighttpd, the FTP
# download against curl, and the size of the ARM executable.
# Figures are printed, never asserted.
#
# Usage: bench/request_bench.sh [ROUNDS]
#   ROUNDS      paired runs per typical request (default 301)
#   FTP_MIB     size of the FTP download (default 512; 0 skips it)
#   WRK_SECONDS length of one wrk run (default 3); WRK_ROUNDS pairs of them (default 7)
#   NXCGI_BENCH_NXCGI  the nxcgi executable to measure (default: the one built)
# Builds into build-bench/ (host) and build-arm/ (ARM, nxcgi only).
set -euo pipefail
cd "$(dirname "$0")/.."
repo=$(pwd)
rounds=${1:-301}
ftp_mib=${FTP_MIB:-512}
wrk_seconds=${WRK_SECONDS:-3}
wrk_rounds=${WRK_ROUNDS:-7}

source scripts/lib/packages.sh
ensure_packages "${NXCGI_BUILD_PACKAGES[@]}" netbase python3-pyftpdlib curl valgrind lighttpd wrk \
  g++-arm-linux-gnueabihf

# --- Build --------------------------------------------------------------------
build=$repo/build-bench
cmake --preset host -B "$build" -DNXCGI_BUILD_TESTS=OFF >/dev/null
ninja -C "$build" -j2 nxcgi nxconf ftp_download >/dev/null
# NXCGI_BENCH_NXCGI measures another nxcgi executable (an experiment) in the same setting.
nxcgi=${NXCGI_BENCH_NXCGI:-$build/bin/nxcgi}

work=$(mktemp -d "${TMPDIR:-/tmp}/nxcgi-bench-XXXXXX")
server_pid=
cleanup() {
  set +e
  if [ -n "$server_pid" ]; then
    kill "$server_pid" 2>/dev/null
    wait "$server_pid" 2>/dev/null
  fi
  rm -rf "$work" "$shm_work"
}
trap cleanup EXIT

for program in pair_runs empty trivial_cgi; do
  cc -O2 -static -o "$work/$program" "bench/$program.c"
done

# Two device roots: one on the disk of the build (a flush waits for the
# storage) and one on tmpfs (a flush costs nothing), as on a board whose
# configuration lives on flash or in RAM.
disk_root=$build/bench-root
shm_work=$(mktemp -d /dev/shm/nxcgi-bench-XXXXXX)
tmpfs_root=$shm_work/root
for root in "$disk_root" "$tmpfs_root"; do
  rm -rf "$root"
  bash sim/make_device_root.sh "$build" "$root" >/dev/null
  cp "$root/web/index.html" "$root/web/mail.html"
done
storage_of() { stat -f -c %T "$1"; }
root=$disk_root
names=$(sed -n 's/^ *{"\([a-z]*\.cgi\)".*/\1/p' src/front/handler_table.cc)
mkdir -p "$work/docroot/cgi-bin"
for name in $names; do ln -s "$nxcgi" "$work/docroot/cgi-bin/$name"; done
cp "$work/trivial_cgi" "$work/docroot/cgi-bin/trivial.cgi"

rows=()
row() {  # figure measured reference ratio target
  rows+=("$(printf '| %s | %s | %s | %s | %s |' "$@")")
}
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }

# Runs a command in the CGI environment of a POST of a form, and nothing else.
in_cgi_env() {  # form_file command...
  local length
  length=$(stat -c %s "$1")
  shift
  env -i PATH=/usr/bin:/bin NXCGI_ROOT="$root" GATEWAY_INTERFACE=CGI/1.1 REQUEST_METHOD=POST \
    CONTENT_TYPE=application/x-www-form-urlencoded CONTENT_LENGTH="$length" "$@"
}

form_file() {  # name form
  printf '%s' "$2" >"$work/$1.form"
  echo "$work/$1.form"
}

# --- Typical requests: wall time against an empty static C program, and
# instructions (callgrind) -----------------------------------------------------
typical=(
  "mail port|nxmailsvcport.cgi|NxModId=1&NxCgiVer=1&PortId=2&ImageCount=5&QueueCount=2&Subject=door+open&Category=1&RetPage=/mail.html"
  "condition edit|nxcondcfg.cgi|NxCgiVer=1&NxModId=2&SvcId=0&MinId=1&CondId=0&SMon=3&EMon=9&Weekday=62&EdgeRise=1"
  "PTZ port edit|nxptzportset.cgi|NxCgiVer=1&NxModId=2&PortId=3&PresetName0=home&PresetName7=door"
  "text file|nxsettextfile.cgi|CreateOption=1&TextFilePath=/etc/note.txt&TextContents=line+one%0D%0Aline+two%0D%0A"
  "failure answer|nxmailsvcport.cgi|NxModId=7&NxCgiVer=1&PortId=2&ImageCount=5"
)
empty_instructions=$(env -i valgrind --tool=callgrind --callgrind-out-file=/dev/null "$work/empty" 2>&1 |
  sed -n 's/.*Collected : //p')
for entry in "${typical[@]}"; do
  IFS='|' read -r label name form <<<"$entry"
  file=$(form_file "$name-${label// /_}" "$form")
  for root in "$tmpfs_root" "$disk_root"; do
    read -r ours empty ratio_median _ _ < <(in_cgi_env "$file" "$work/pair_runs" "$rounds" "$file" \
      "/cgi-bin/$name" "$nxcgi" empty "$work/empty")
    target="≤ 1.3"
    [ "$root" = "$disk_root" ] && target="the tmpfs row + one flush"
    row "wall time, $label ($name), root on $(storage_of "$root"), median of $rounds paired runs" \
      "$ours µs" "$empty µs (empty static C program)" "$(ratio "$ratio_median" 1)" "$target"
  done
  root=$disk_root
  instructions=$(in_cgi_env "$file" valgrind --tool=callgrind --callgrind-out-file=/dev/null \
    "$work/docroot/cgi-bin/$name" <"$file" 2>&1 >/dev/null | sed -n 's/.*Collected : //p')
  row "instructions, $label" "$instructions" "100000 (empty static C program: $empty_instructions)" \
    "$(ratio "$instructions" 100000)" "≤ 1.0"
done

# A long PTZ port form: 150,000 other fields, then one preset name 55,000
# times (1.37 MB). A walk that looks every name up again takes seconds
# (18 s before it was made linear); a linear one costs a few hundred
# instructions a byte, as parsing the form does.
long_form=$(form_file ptz-long "NxCgiVer=1&NxModId=2&PortId=3&$(printf 'a=1&%.0s' $(seq 150000))$(
  printf 'PresetName1=x&%.0s' $(seq 55000))")
long_bytes=$(stat -c %s "$long_form")
instructions=$(in_cgi_env "$long_form" valgrind --tool=callgrind --callgrind-out-file=/dev/null \
  "$work/docroot/cgi-bin/nxptzportset.cgi" <"$long_form" 2>&1 >/dev/null | sed -n 's/.*Collected : //p')
row "instructions per form byte, PTZ port edit of a $long_bytes-byte form of repeated names" \
  "$((instructions / long_bytes))" "400" "$(ratio "$((instructions / long_bytes))" 400)" "≤ 1.0"

# --- Peak memory of every handler ---------------------------------------------
# One representative request per name; those that would wait for a device or
# daemon that is absent here get a request that fails before it.
declare -A memory_forms=(
  [nxuartset.cgi]="NxCgiVer=1&UartId=0&BaudRate=9600"
  [nxuoutset.cgi]="NxCgiVer=1"
  [nxuoutctr.cgi]="NxCgiVer=2"
  [nxptzset.cgi]="NxCgiVer=1&PtzCtlMode=1"
  [nxptzmodset.cgi]="NxCgiVer=1&NxModId=2&PtzBaseAddr=5"
  [nxptzportset.cgi]="NxCgiVer=1&NxModId=2&PortId=3&PresetName0=home"
  [nxsnsset.cgi]="NxCgiVer=1&LowerLimit=1"
  [nxibufdev.cgi]="NxModId=1&NxCgiVer=1&ImgBufSize=2"
  [nxibufdevport.cgi]="NxModId=1&NxCgiVer=1&PortId=1&ImgBufSize=2"
  [nxcondcfg.cgi]="NxCgiVer=1&NxModId=2&SvcId=0&MinId=1&CondId=0&SMon=3"
  [nxftpdur.cgi]="NxModId=1&NxCgiVer=1&SeqModulo=0"
  [nxftpdurport.cgi]="NxModId=1&NxCgiVer=1&PortId=3&PauseTime=60"
  [nxftpsig.cgi]="NxModId=1&NxCgiVer=1&EnableSvc=1"
  [nxftpsigport.cgi]="NxModId=1&NxCgiVer=1&PortId=1&ImageCount=3"
  [nxftpmkdir.cgi]="NxModId=1&NxCgiVer=1&FtpMode=sig"
  [nxmailsvc.cgi]="NxModId=1&NxCgiVer=1&SmtpServer=mail.example"
  [nxmailsvcport.cgi]="NxModId=1&NxCgiVer=1&PortId=2&ImageCount=5&RetPage=/mail.html"
  [nxdicgi.cgi]="NxModId=1&NxCgiVer=1&EnableSvc=1"
  [nxdicgiport.cgi]="NxModId=1&NxCgiVer=1&PortId=1&EnableSvc=1"
  [nxdosvc.cgi]="NxModId=1&NxCgiVer=1&EnableSvc=0"
  [nxdosvcport.cgi]="NxModId=1&NxCgiVer=1&PortId=1&PauseTime=1"
  [nxiholdsvc.cgi]="NxModId=1&NxCgiVer=1&EnableSvc=1"
  [nxiholdsvcport.cgi]="NxModId=1&NxCgiVer=1&PortId=1&PauseTime=1"
  [nxiholdcln.cgi]="NxCgiVer=1&NxModId=1&PortId=2"
  [nxaoip.cgi]="NxModId=1&NxCgiVer=1&Server=sip.example"
  [nxcall.cgi]="NxModId=1&NxCgiVer=1&EnableSvc=1"
  [nxdialup.cgi]="NxCgiVer=1&MediaType=3"
  [nxrdskbuff.cgi]="NxCgiVer=1&KeepPerTempRatio2=5"
  [nxadvsvc.cgi]="NxCgiVer=1&AdvSvcStart=1&RetPage=/index.html"
  [nxdosyscmd.cgi]="NxCgiVer=1&RetOpt=2&Command=true"
  [nxevtnote.cgi]="Evt=DI1&Valu1=on&Valu2=2&Valu3=three"
  [nxcamgpctl.cgi]="OpMode=2&ToggleCode=0x5a&uSecDuration=1000"
  [nxesmtaset.cgi]="NxCgiVer=1&SmtpServer=mail.example"
  [nxisensconf.cgi]="NxCgiVer=1"
  [nxsettextfile.cgi]="CreateOption=1&TextFilePath=/etc/note.txt&TextContents=hello"
  [nxchghwoption.cgi]="Offset=3&String=XY"
)
# nxftpbinget.cgi fetches a 1 MiB file from a local FTP server.
mkdir -p "$work/ftp-home"
head -c $((1024 * 1024)) /dev/urandom >"$work/ftp-home/image.bin"
mkdir -p "$work/var/log"
/usr/bin/python3 sim/devices.py ftpd "$work" "$work/ftp-home" 0 cam secret >"$work/ftp-port" &
server_pid=$!
for _ in $(seq 50); do [ -s "$work/ftp-port" ] && break; sleep 0.1; done
memory_forms[nxftpbinget.cgi]="NxCgiVer=1&ServerIp=127.0.0.1&User=cam&Passwd=secret&FtpCtrlPort=$(head -n1 "$work/ftp-port")&FileNames=image.bin&LocalDir=/tmp/"

largest_rss=0
for name in $names; do
  file=$(form_file "memory-$name" "${memory_forms[$name]:-NxCgiVer=1}")
  read -r _ _ _ rss empty_rss < <(in_cgi_env "$file" timeout 20 "$work/pair_runs" 3 "$file" \
    "/cgi-bin/$name" "$nxcgi" empty "$work/empty")
  row "peak memory, $name" "$rss KiB" "2048 KiB (empty static C program: $empty_rss KiB)" \
    "$(ratio "$rss" 2048)" "≤ 1.0"
  [ "$rss" -gt "$largest_rss" ] && largest_rss=$rss
done

kill "$server_pid"
wait "$server_pid" 2>/dev/null || true
server_pid=

# --- Through lighttpd: nxmailsvcport.cgi against a trivial static CGI -----------
port=$(/usr/bin/python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
cat >"$work/lighttpd.conf" <<CONF
server.document-root = "$work/docroot"
server.bind = "127.0.0.1"
server.port = $port
server.modules = ("mod_cgi", "mod_setenv")
server.errorlog = "$work/lighttpd.log"
server.max-keep-alive-requests = 1000
cgi.assign = (".cgi" => "")
setenv.add-environment = ("NXCGI_ROOT" => env.LIGHTTPD_ROOT)
CONF
mail_form="NxModId=1&NxCgiVer=1&PortId=2&ImageCount=5&QueueCount=2&RetPage=/mail.html"
cat >"$work/post.lua" <<LUA
wrk.method = "POST"
wrk.body = "$mail_form"
wrk.headers["Content-Type"] = "application/x-www-form-urlencoded"
LUA
requests_per_second() {  # cgi
  local out
  out=$(wrk -t1 -c2 -d"${wrk_seconds}s" -s "$work/post.lua" "http://127.0.0.1:$port/cgi-bin/$1")
  if grep -q 'Non-2xx' <<<"$out"; then echo "wrk: error answers from $1" >&2; exit 1; fi
  sed -n 's/^Requests\/sec: *//p' <<<"$out"
}
median() { printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
for root in "$tmpfs_root" "$disk_root"; do
  LIGHTTPD_ROOT=$root lighttpd -D -f "$work/lighttpd.conf" &
  server_pid=$!
  for _ in $(seq 50); do curl -s -o /dev/null "http://127.0.0.1:$port/cgi-bin/trivial.cgi" && break; sleep 0.1; done
  answer=$(curl -s -d "$mail_form" "http://127.0.0.1:$port/cgi-bin/nxmailsvcport.cgi")
  case $answer in *"var PORTID = 2;"*) ;; *) echo "lighttpd: unexpected answer: $answer" >&2; exit 1 ;; esac

  # Alternating pairs of runs; the ratio is the median of the per-pair ratios,
  # which follows the machine's load less than a ratio of medians does.
  ours_rps=()
  trivial_rps=()
  pair_ratios=()
  for round in $(seq "$wrk_rounds"); do
    if [ $((round % 2)) -eq 1 ]; then
      ours_now=$(requests_per_second nxmailsvcport.cgi)
      trivial_now=$(requests_per_second trivial.cgi)
    else
      trivial_now=$(requests_per_second trivial.cgi)
      ours_now=$(requests_per_second nxmailsvcport.cgi)
    fi
    ours_rps+=("$ours_now")
    trivial_rps+=("$trivial_now")
    pair_ratios+=("$(ratio "$ours_now" "$trivial_now")")
  done
  ours=$(median "${ours_rps[@]}")
  trivial=$(median "${trivial_rps[@]}")
  row "lighttpd requests/s, nxmailsvcport.cgi POST, root on $(storage_of "$root") (wrk, 2 connections, median of $wrk_rounds paired ${wrk_seconds} s runs)" \
    "$ours" "$trivial (trivial static CGI)" "$(median "${pair_ratios[@]}")" "≥ 0.9"
  kill "$server_pid"
  wait "$server_pid" 2>/dev/null || true
  server_pid=
done
root=$disk_root

# --- FTP download against curl ------------------------------------------------
if [ "$ftp_mib" != 0 ]; then
  while read -r mode _ ours _ _ _ _ curl_time _ _ _ _ ratio_value; do
    row "FTP download $ftp_mib MiB, $mode (getfile, best of 3)" "$ours s" "$curl_time s (curl)" \
      "$ratio_value" "≤ 0.9"
  done < <(TMPDIR=$work bash bench/ftp_download.sh "$build" "$ftp_mib" 3 | grep -E '^(active|passive) ')
fi

# --- The ARM executable -------------------------------------------------------
arm_build=$repo/build-arm
cmake --preset arm -B "$arm_build" >/dev/null
ninja -C "$arm_build" -j2 nxcgi >/dev/null
arm-linux-gnueabihf-strip -o "$work/nxcgi.arm" "$arm_build/bin/nxcgi"
arm_size=$(stat -c %s "$work/nxcgi.arm")
needed=$(arm-linux-gnueabihf-readelf -d "$work/nxcgi.arm" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | paste -sd ' ')
row "ARM stripped nxcgi size" "$arm_size bytes ($((arm_size / 1024)) KiB)" "204800 bytes (200 KiB)" \
  "$(ratio "$arm_size" 204800)" "≤ 1.0"
row "ARM nxcgi shared libraries (NEEDED)" "$needed" "the C library only" "" "libc.so.6"

echo "nxcgi benchmark, $(date -u '+%Y-%m-%d %H:%M UTC'), $(nproc) cores, load $(cut -d' ' -f1-3 /proc/loadavg)"
echo "host nxcgi: $(file -b "$nxcgi" | cut -d, -f1-2,5), largest peak memory of a handler: $largest_rss KiB"
echo
echo "| Figure | Measured | Reference | Ratio | Target |"
echo "|---|---|---|---|---|"
printf '%s\n' "${rows[@]}"
