#!/usr/bin/env python3
"""Writes the golden files of this folder from the worked examples of docs/formats.

An example is a fenced block whose first line names its file:

    ```golden NAME
    OFFSET  BYTES  -- comment
    ```

OFFSET is the hexadecimal position of the line's first byte and is checked. BYTES are hexadecimal pairs and texts in
single quotes, separated by blanks. With --check nothing is written; the exit code tells whether all files are as their
pages say.
"""

import pathlib
import re
import sys

DATA = pathlib.Path(__file__).resolve().parent
PAGES = DATA.parent.parent / "docs" / "formats"
EXAMPLE = re.compile(r"^```golden (\S+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
LINE = re.compile(r"^([0-9a-f]+)((?:\s+(?:'[^']*'|[0-9a-f]{2}))*)\s*(?:-- .*)?$")
PIECE = re.compile(r"'([^']*)'|([0-9a-f]{2})")


def example_bytes(name, text):
    content = bytearray()
    for line in text.splitlines():
        match = LINE.match(line)
        if not match:
            sys.exit(f"{name}: cannot read the line {line!r}")
        if int(match.group(1), 16) != len(content):
            sys.exit(f"{name}: the line {line!r} stands at offset {len(content):x}")
        for quoted, pair in PIECE.findall(match.group(2)):
            content += bytes.fromhex(pair) if pair else quoted.encode("ascii")
    return bytes(content)


def main():
    check = "--check" in sys.argv[1:]
    same = True
    for page in sorted(PAGES.glob("*.md")):
        for name, text in EXAMPLE.findall(page.read_text(encoding="utf-8")):
            content = example_bytes(name, text)
            path = DATA / name
            if path.is_file() and path.read_bytes() == content:
                continue
            same = False
            if not check:
                path.write_bytes(content)
            print(f"{name}: {'differs from' if check else 'written from'} {page.name}")
    return 1 if check and not same else 0


if __name__ == "__main__":
    sys.exit(main())
