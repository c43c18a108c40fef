#!/usr/bin/python3
"""Checks the layers of src/: each folder includes only the folders below it.

Usage: check_layers.py SRC_DIR      prints every include against the order, exits 1 if any
       check_layers.py --self-test  proves on a small tree that such includes are caught

The layers, from the bottom up. A file may include files of its own layer and
of the layers before it; the handler families are one level and may not
include each other.
"""
import os
import re
import sys
import tempfile

LAYERS = [
    ["platform"],
    ["cgi"],
    ["config"],
    ["ftp/client"],
    ["ftp"],
    ["handlers"],
    ["handlers/service", "handlers/device", "handlers/maint", "handlers/ftp"],
    ["front"],
    ["tools"],
    ["main.cc"],
]
RANK = {folder: rank for rank, folders in enumerate(LAYERS) for folder in folders}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def folder_of(path):
    """The most specific layer folder a path (relative to src/) belongs to."""
    parts = path.split("/")
    for length in range(len(parts), 0, -1):
        folder = "/".join(parts[:length])
        if folder in RANK:
            return folder
    return None


def violations(src):
    found = []
    for directory, _, names in os.walk(src):
        for name in sorted(names):
            if not name.endswith((".h", ".cc")):
                continue
            path = os.path.relpath(os.path.join(directory, name), src)
            own = folder_of(path)
            if own is None:
                found.append(f"{path}: not in any layer")
                continue
            with open(os.path.join(src, path), errors="replace") as source:
                for target in INCLUDE.findall(source.read()):
                    other = folder_of(target)
                    if other is None or other == own:
                        continue
                    if RANK[other] >= RANK[own]:
                        found.append(f"{path} includes {target}: {own} may not include {other}")
    return found


def self_test():
    tree = {
        "platform/low.h": '#include "front/high.h"\n',
        "front/high.h": '#include "platform/low.h"\n',
        "handlers/device/a.cc": '#include "handlers/maint/b.h"\n#include "handlers/handler.h"\n',
        "handlers/maint/b.h": "",
        "handlers/handler.h": '#include "cgi/err_msg.h"\n',
        "cgi/err_msg.h": "",
    }
    with tempfile.TemporaryDirectory() as src:
        for path, text in tree.items():
            os.makedirs(os.path.dirname(os.path.join(src, path)), exist_ok=True)
            with open(os.path.join(src, path), "w") as out:
                out.write(text)
        found = violations(src)
    expected = [
        "handlers/device/a.cc includes handlers/maint/b.h: handlers/device may not include handlers/maint",
        "platform/low.h includes front/high.h: platform may not include front",
    ]
    if sorted(found) != expected:
        print("self-test failed; found:", *found, sep="\n  ")
        return 1
    print("self-test: an upward include and a sibling include are caught")
    return 0


def main(argv):
    if argv[1:] == ["--self-test"]:
        return self_test()
    if len(argv) != 2:
        print(__doc__)
        return 2
    found = violations(argv[1])
    for line in found:
        print(line)
    print(f"{len(found)} includes against the layer order")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
