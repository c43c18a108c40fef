#!/usr/bin/python3
"""The simulator's window into the device: a CGI program (not one of the
device's own names) that the pages use to show the current state.

    /cgi-bin/simstate.py?what=files                 configuration files, as JSON
    /cgi-bin/simstate.py?what=dump&file=NxModId1/MailConf.bin
                                                    `nxconf dump` of one binary file
    /cgi-bin/simstate.py?what=text&file=esmta.conf  one key=value text file
    /cgi-bin/simstate.py?what=journal               the device journal, as text
    /cgi-bin/simstate.py?what=marks                 pid files and change marks, as JSON

Files are named relative to /opt/vsb/etc/NxConf (binary files and
camgpctl.conf) or /opt/vsb/etc (the other text files); nothing outside
them is served.
"""
import json
import os
import re
import subprocess
import sys
import urllib.parse

ROOT = os.environ.get("NXCGI_ROOT", "")
NXCONF = os.environ.get("SIM_NXCONF", "nxconf")
CONF_DIR = ROOT + "/opt/vsb/etc/NxConf"
TEXT_FILES = {
    "esmta.conf": ROOT + "/opt/vsb/etc/esmta.conf",
    "smsta.conf": ROOT + "/opt/vsb/etc/smsta.conf",
    "NxIsensNe.conf": ROOT + "/opt/vsb/etc/NxIsensNe.conf",
    "camgpctl.conf": CONF_DIR + "/camgpctl.conf",
    "names.conf": ROOT + "/etc/sysconfig/names.conf",
    "kv_basic_conf": ROOT + "/proc/driver/kv_basic_conf",
}
BINARY_NAME = re.compile(r"^(NxModId[0-3]/)?[A-Za-z]+\.bin$")


def answer(status, content_type, body):
    data = body.encode() if isinstance(body, str) else body
    sys.stdout.buffer.write(("Status: %s\r\nContent-Type: %s\r\nCache-Control: no-store\r\n"
                             "Content-Length: %d\r\n\r\n" % (status, content_type, len(data))).encode())
    sys.stdout.buffer.write(data)
    return 0


def list_files():
    binary = []
    for directory, _, names in os.walk(CONF_DIR):
        for name in names:
            relative = os.path.relpath(os.path.join(directory, name), CONF_DIR)
            if BINARY_NAME.match(relative):
                binary.append(relative)
    binary.sort(key=lambda n: (n.count("/"), n))
    text = [name for name, path in TEXT_FILES.items() if os.path.exists(path)]
    return answer("200 OK", "application/json", json.dumps({"binary": binary, "text": text}))


# Files that daemons and handlers leave as signs: their text, or null.
MARKS = ["/var/run/isensd.pid", "/var/run/nxcamctld.pid", "/tmp/NxConfChg", "/tmp/ChkPtzConfChg"]


def marks():
    state = {}
    for device_path in MARKS:
        try:
            with open(ROOT + device_path, "rb") as source:
                state[device_path] = source.read(256).decode("utf-8", "replace")
        except OSError:
            state[device_path] = None
    return answer("200 OK", "application/json", json.dumps(state))


def main():
    query = urllib.parse.parse_qs(os.environ.get("QUERY_STRING", ""))
    what = query.get("what", [""])[0]
    name = query.get("file", [""])[0]
    if what == "files":
        return list_files()
    if what == "dump":
        if not BINARY_NAME.match(name) or name.endswith("Model.bin"):
            return answer("404 Not Found", "text/plain", "no such configuration file: %s\n" % name)
        run = subprocess.run([NXCONF, "dump", os.path.join(CONF_DIR, name)], capture_output=True)
        if run.returncode != 0:
            return answer("500 Internal Server Error", "text/plain", run.stderr)
        return answer("200 OK", "application/json", run.stdout)
    if what == "text":
        path = TEXT_FILES.get(name)
        if path is None or not os.path.exists(path):
            return answer("404 Not Found", "text/plain", "no such text file: %s\n" % name)
        with open(path, "rb") as source:
            return answer("200 OK", "text/plain; charset=utf-8", source.read())
    if what == "marks":
        return marks()
    if what == "journal":
        try:
            with open(ROOT + "/var/log/device.journal", "rb") as source:
                return answer("200 OK", "text/plain; charset=utf-8", source.read())
        except FileNotFoundError:
            return answer("200 OK", "text/plain; charset=utf-8", "")
    return answer("400 Bad Request", "text/plain", __doc__)


if __name__ == "__main__":
    sys.exit(main())
