#!/usr/bin/python3
"""Lines of product code and of tests, without blank and comment lines.

Usage: count_lines.py [REPO]
Product: src/ but its tests. Tests: tests/, fuzz/ and every *_test file.
"""
import os
import re
import sys

C_LIKE = (".cc", ".h", ".c", ".mjs", ".js")
HASH_COMMENTS = (".py", ".sh", ".cmake")


def counted_lines(path):
    text = open(path, errors="replace").read()
    if path.endswith(C_LIKE):
        text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
        lines = ["" if line.strip().startswith("//") else line.split("//")[0] for line in text.splitlines()]
    else:
        lines = [line for line in text.splitlines() if not line.strip().startswith("#")]
    return sum(1 for line in lines if line.strip())


def main():
    repo = sys.argv[1] if len(sys.argv) > 1 else "."
    product = tests = 0
    for top in ("src", "tests", "fuzz"):
        for directory, _, names in os.walk(os.path.join(repo, top)):
            for name in names:
                if not (name.endswith(C_LIKE + HASH_COMMENTS) or name == "CMakeLists.txt"):
                    continue
                lines = counted_lines(os.path.join(directory, name))
                if top != "src" or re.search(r"_test\.\w+$", name):
                    tests += lines
                else:
                    product += lines
    print(f"product {product} lines, tests {tests} lines, tests/product {tests / product:.2f}")


if __name__ == "__main__":
    main()
