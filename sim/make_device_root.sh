#!/usr/bin/env bash
# Makes a device root for NXCGI_ROOT: the factory-default configuration of
# `nxconf init`, a sample page, and stub commands that journal their calls.
# The one maker of device roots: the simulator, the tests, the fuzz harnesses
# and the benchmarks all start from what it makes.
# Usage: make_device_root.sh BUILD_DIR ROOT
# NXCONF, when set, is the command that runs nxconf (an emulator and the
# binary of a cross build).
#
# The journal, /var/log/device.journal in the root, is one file for every
# event of the simulated device: each line is a UTC time stamp, a blank, and
# the event ("/usr/sbin/savecfg", "/etc/init.d/uartsvc restart",
# "uartsvc: ...").
set -euo pipefail
build_dir=$1
root=$2
mkdir -p "$root"
${NXCONF:-$build_dir/bin/nxconf} init "$root" >/dev/null
mkdir -p "$root"/{web/img,var/run,var/log,tmp/advbuf,etc/init.d,etc/sysconfig,usr/sbin,opt/vsb/bin,opt/vsb/etc/NxConf,dev,proc/driver}
[ -f "$root/web/index.html" ] || cat > "$root/web/index.html" <<'HTML'
<html><body><p>module <script>document.write(NXMODID)</script>, port <script>document.write(PORTID)</script></p></body></html>
HTML
# The save command, the init scripts, the camera apply tool and the flash
# utility: each call becomes one journal line with its arguments.
for stub in /usr/sbin/savecfg /etc/init.d/uartsvc /etc/init.d/mailtxd /etc/init.d/advsvc /opt/vsb/bin/camgpctl /usr/sbin/fuc; do
  cat > "$root$stub" <<STUB
#!/bin/sh
line="\$(date -u +%Y-%m-%dT%H:%M:%S.%6NZ) $stub"
for arg in "\$@"; do line="\$line \$arg"; done
printf '%s\n' "\$line" >> "\$NXCGI_ROOT/var/log/device.journal"
STUB
  chmod 755 "$root$stub"
done
touch "$root/var/log/device.journal"
# The GPIO device node: a plain file, so that opening it works; writes reach nothing.
[ -e "$root/dev/kv_gpio" ] || : > "$root/dev/kv_gpio"
