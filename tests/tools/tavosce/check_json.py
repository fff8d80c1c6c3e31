#!/usr/bin/env python3
"""Checks that the documents which the tool prints have the members, of the types, that a page shows.

usage: check_json.py PAGE TOOL
"""
import json
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import zlib

DATASET = """# vtk DataFile Version 3.0
t
ASCII
DATASET POLYDATA
POINTS 3 float
0 0 0 1 0 0 0 1 0
POLYGONS 1 4
3 0 1 2
POINT_DATA 3
SCALARS p float 1
LOOKUP_TABLE default
1 2 %d
"""


def picture() -> bytes:
    """A PNG file of two pixels."""

    def chunk(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = chunk(b"IHDR", struct.pack(">IIBBBBB", 2, 1, 8, 2, 0, 0, 0))
    return b"\x89PNG\r\n\x1a\n" + header + chunk(b"IDAT", zlib.compress(bytes(7))) + chunk(b"IEND", b"")


def prepare(tool: str, folder: pathlib.Path) -> None:
    """Makes the files that the examples name."""
    (folder / "a.vtk").write_text(DATASET % 3, encoding="ascii")
    (folder / "b.vtk").write_text(DATASET % 4, encoding="ascii")
    (folder / "in.png").write_bytes(picture())
    for line in ["import -o a.sce --session run-1 a.vtk b.vtk", "thumb a.sce:0 --set in.png"]:
        subprocess.run([tool, *line.split()], cwd=folder, check=True, stdout=sys.stderr)
    scene = (folder / "a.sce").read_bytes()
    (folder / "bad.sce").write_bytes(scene.replace(b'"Version":2', b'"Version":9', 1) + b"junk")


def shapes(value, path: str = "") -> set:
    """The paths of all members with their types; elements of an array count as one. Null goes with any type."""
    if isinstance(value, dict):
        return {path + "{}"}.union(*(shapes(member, f"{path}.{key}") for key, member in value.items()))
    if isinstance(value, list):
        return {path + "[]"}.union(*(shapes(element, path + "[]") for element in value))
    if value is None:
        return set()
    return {f"{path} {'int' if isinstance(value, float) else type(value).__name__}"}


def check_examples(page: str, tool: str, folder: str) -> list:
    faults = []
    examples = re.findall(r"```json tavosce ([^\n]*)\n(.*?)```", page, re.DOTALL)
    for line, document in examples:
        run = subprocess.run([tool, *line.split()], cwd=folder, check=False, stdout=subprocess.PIPE)
        differing = shapes(json.loads(run.stdout)) ^ shapes(json.loads(document))
        faults += [f"{line}: {place} is on one side only" for place in sorted(differing)]
    return faults if examples else ["the page has no examples"]


def check_verbs(page: str, tool: str) -> list:
    """Whether the page has a section for each verb that takes --json, and for no other."""
    faults = []
    documented = re.findall(r"^## (\w+)", page, re.MULTILINE)
    help_text = subprocess.run([tool, "--help"], check=True, capture_output=True, text=True).stdout
    for verb in re.findall(r"^  ([a-z]+) +[A-Z]", help_text, re.MULTILINE):
        options = subprocess.run([tool, verb, "--help"], check=True, capture_output=True, text=True).stdout
        if ("--json" in options) != (verb in documented):
            faults.append(f"{verb}: the page and --help disagree about --json")
    return faults


def main() -> int:
    page, tool = pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"), str(pathlib.Path(sys.argv[2]).resolve())
    with tempfile.TemporaryDirectory() as name:
        prepare(tool, pathlib.Path(name))
        faults = check_examples(page, tool, name) + check_verbs(page, tool)
    for fault in faults:
        print(fault, file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
