#!/usr/bin/env python3
"""Checks that the documents which the tool prints have the members, of the types, that a page shows.

usage: check_json.py PAGE TOOL
"""
import json
import pathlib
import re
import subprocess
import sys

import tool_checks

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


def prepare(tool: str, folder: pathlib.Path) -> None:
    """Makes the files that the examples name."""
    (folder / "a.vtk").write_text(DATASET % 3, encoding="ascii")
    (folder / "b.vtk").write_text(DATASET % 4, encoding="ascii")
    (folder / "in.png").write_bytes(tool_checks.PICTURE)
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


def check_examples(page: str, tool: str, folder: pathlib.Path) -> list:
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
    for verb in tool_checks.verbs_of(tool):
        if ("--json" in tool_checks.help_of(tool, verb)) != (verb in documented):
            faults.append(f"{verb}: the page and --help disagree about --json")
    return faults


def check(tool: str, folder: pathlib.Path, page_file: str) -> list:
    page = pathlib.Path(page_file).read_text(encoding="utf-8")
    prepare(tool, folder)
    return check_examples(page, tool, folder) + check_verbs(page, tool)


if __name__ == "__main__":
    sys.exit(tool_checks.report(check, sys.argv[2], sys.argv[1]))
