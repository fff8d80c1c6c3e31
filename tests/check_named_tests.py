#!/usr/bin/env python3
"""Checks that every test which a page names by `Suite.name` exists.

usage: check_named_tests.py PAGE TESTS_FOLDER
"""
import pathlib
import re
import sys


def main() -> int:
    page, folder = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    named = set(re.findall(r"`(\w+Test)\.(\w+)`", page.read_text(encoding="utf-8")))
    found = set()
    for source in folder.rglob("*Test.cpp"):
        text = source.read_text(encoding="utf-8")
        found.update(re.findall(r"\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", text))
    for suite, name in sorted(named - found):
        print(f"{page}: no such test: {suite}.{name}", file=sys.stderr)
    return 1 if named - found or not named else 0


if __name__ == "__main__":
    sys.exit(main())
