#!/usr/bin/python3
"""Writes the seed corpora under fuzz/corpus/ (run from the source root with
/usr/bin/python3; needs a built nxconf for the catalogue seeds:
fuzz/make_seeds.py build/bin/nxconf). The dispatcher's seeds are one form per
CGI name with the fields the simulator's pages send."""
import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)


def write(harness, name, data):
    directory = os.path.join(HERE, "corpus", harness)
    os.makedirs(directory, exist_ok=True)
    with open(os.path.join(directory, name), "wb") as f:
        f.write(data)


def cgi_names():
    text = open(os.path.join(ROOT, "src/front/handler_table.cc")).read()
    return re.findall(r'^\s+\{"([a-z]+\.cgi)", ', text, re.M)


def page_fields():
    fields = {}
    web = os.path.join(ROOT, "sim/web")
    for page in sorted(os.listdir(web)):
        if not page.endswith(".html"):
            continue
        text = open(os.path.join(web, page)).read()
        for form in re.findall(r"<form[^>]*>", text, re.S):
            action = re.search(r'action="/cgi-bin/([a-z]+\.cgi)"', form)
            names = re.search(r'data-fields="([^"]*)"', form)
            if action and names:
                fields.setdefault(action.group(1), []).append(names.group(1).split())
    return fields


def form_of(field_specs, module, port, extra):
    pairs = [("NxModId", str(module)), ("PortId", str(port))]
    for spec in field_specs:
        name, _, fixed = spec.partition("!")
        value = fixed[1:] if fixed.startswith("=") else "1"
        pairs.append((name, value))
    pairs += extra
    return "&".join("%s=%s" % pair for pair in pairs).encode()


def dispatcher_seeds():
    names = cgi_names()
    fields = page_fields()
    for index, name in enumerate(names):
        forms = fields.get(name, [[]])
        for number, specs in enumerate(forms):
            selector = bytes([index])
            write("dispatcher", "%s_%d" % (name, number),
                  selector + form_of(specs, 0, 0, [("SaveCfg", "YES"), ("RetPage", "/index.html")]))
            write("dispatcher", "%s_%d_mod3" % (name, number),
                  selector + form_of(specs, 3, 3, [("NxMkChg", "YES"), ("RetReDir", "/index.html")]))
        write("dispatcher", "%s_empty" % name, bytes([index]))


def form_parser_seeds():
    seeds = [b"a=1&b=2", b"a=1&", b"a=", b"a=1&a=2", b"x&y=1", b"a=1&&b=2", b"k", b"n=a+b%41%2",
             b"t=l1%0D%0Al2", b"t=a%0D%0D%0Ab", b"t=%0D%0A", b"v=abcdef", b"v=%00x&w=%zz",
             b"NxModId=1&NxCgiVer=1&PortId=2&ImageCount=5&SaveCfg=YES&RetPage=/mail.html"]
    for number, seed in enumerate(seeds):
        write("form_parser", "seed%02d" % number, bytes([3 if number % 2 else 127]) + seed)


def tcfg_seeds():
    files = [b"", b"A=1\r\n\r\nB=2\r\n", b"PORT=1\nPORT2=5\n", b"PORT2=5\nPORT=1\n",
             b"NAME = 'abc def' ; comment\n", b"KEY=\n", b"KEY word\n", b"K=1\nK=2\n",
             b"a,,b\n", b"name:x:1000:1000::/home/x:/bin/sh\n", b'KEY = "old" # note\n',
             b"SERVER_NAME=nxserver\n", b"0x10,20,abc,0XfF\n"]
    for number, content in enumerate(files):
        header = bytes([16 + number * 9 % 200, number * 5 % 256, number * 3 % 8, number % 8])
        write("tcfg", "seed%02d" % number, header + content)


def ftp_reply_seeds():
    replies = [b"220 Welcome\r\n", b"230-first\r\n230 last\r\n", b"230-first\r\n 230 inner\r\n230 last\r\n",
               b"227 Entering Passive Mode (127,0,0,1,4,1)\r\n", b"\xff\xfb\x01\xff\xfd\x03220 ok\r\n",
               b"550 No such file\r\n", b"150 Opening\r\n226 Done\r\n", b"421 closing\r\n", b"220 cut",
               b"\xff\xf4\xff"]
    for number, reply in enumerate(replies):
        write("ftp_reply", "seed%02d" % number, bytes([number % 8]) + reply)


def catalogue_seeds(nxconf):
    with tempfile.TemporaryDirectory() as root:
        subprocess.run([nxconf, "init", root], check=True, stdout=subprocess.DEVNULL)
        ptz = open(os.path.join(root, "opt/vsb/etc/NxConf/PtzModel.bin"), "rb").read()
        sensor = open(os.path.join(root, "opt/vsb/etc/NxConf/SensorModel.bin"), "rb").read()
    for flags, model in ((0, 0), (0, 2), (2, 1), (0, 255)):
        write("catalogue", "ptz_%d_%d" % (flags, model), bytes([flags, model]) + ptz)
    for flags, model in ((1, 0), (1, 1), (3, 2), (1, 255)):
        write("catalogue", "sensor_%d_%d" % (flags, model), bytes([flags, model]) + sensor)


if __name__ == "__main__":
    form_parser_seeds()
    tcfg_seeds()
    ftp_reply_seeds()
    dispatcher_seeds()
    catalogue_seeds(sys.argv[1] if len(sys.argv) > 1 else os.path.join(ROOT, "build/bin/nxconf"))
