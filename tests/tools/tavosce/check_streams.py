#!/usr/bin/env python3
"""Checks what the tool does where its standard streams are closed or full.

usage: check_streams.py TOOL
"""
import pathlib
import subprocess
import sys

import tool_checks

# Words make the tool speak on standard error while the scene database is open.
DATASET = "# vtk DataFile Version 3.0\nt\nASCII\nDATASET POLYDATA\nFIELD F 1\nw 1 1 string\nword\nPOINTS 0 float\n\n"


def status(command: str, tool: str, folder: pathlib.Path) -> int:
    """The exit status of a shell's command line, in which $0 is the tool."""
    return subprocess.run(["sh", "-c", command, tool], cwd=folder, capture_output=True, check=False).returncode


def check(tool: str, folder: pathlib.Path) -> list:
    (folder / "e.vtk").write_text(DATASET, encoding="ascii")
    faults = []
    for closed, expected in [("2>&-", 0), ("<&- 2>&-", 0), ("<&- >&- 2>&-", 6)]:
        for option in ["--force", "--append"]:
            found = status(f'"$0" import e.vtk --skip-unsupported -o x.sce {option} {closed}', tool, folder)
            if found != expected:
                faults.append(f"import {option} {closed}: {found}, not {expected}")
            if status('"$0" verify x.sce', tool, folder) != 0:
                faults.append(f"import {option} {closed}: messages went into the file")
    for line in ["--help", "--version", "ls x.sce", "ls --help"]:
        for output in [">/dev/full", ">&-"]:
            if status(f'"$0" {line} {output}', tool, folder) != 6:
                faults.append(f"{line} {output}: nothing is said of results that are lost")
    return faults


if __name__ == "__main__":
    sys.exit(tool_checks.report(check, sys.argv[1]))
