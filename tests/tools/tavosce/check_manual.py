#!/usr/bin/env python3
"""Checks the manual page: it has every verb and option of the tool and no others, and its examples do what it says.

Examples are runs of "$ COMMAND # exit status N" (0 if not said), each with the lines that it prints; "..." stands for
any text within a line and, alone, for any lines.

usage: check_manual.py PAGE TOOL
"""
import pathlib
import re
import subprocess
import sys

import tool_checks

COMMON = "OPTIONS"
DATASET = """# vtk DataFile Version 3.0
step
ASCII
DATASET POLYDATA
POINTS 4 float
0 0 0 1 0 0 1 1 0 0 1 0
POLYGONS 1 5
4 0 1 2 3
POINT_DATA 4
SCALARS p float 1
LOOKUP_TABLE default
"""


def options_in(text: str) -> set:
    return set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", text))


def told_options(text: str) -> set:
    """The options that a help text lists: at the beginning of its lines."""
    lines = re.findall(r"^ +(-[-a-z,]+)", text, re.MULTILINE)
    return {name for line in lines for name in line.split(",")}


def check_verbs(page: str, tool: str) -> list:
    parts = dict(re.findall(r"^##? (\S+)[^\n]*\n(.*?)(?=^##? |\Z)", page, re.MULTILINE | re.DOTALL))
    heads = {head.split()[0]: head for head in re.findall(r"^## (.*)", page, re.MULTILINE)}
    verbs = set(tool_checks.verbs_of(tool))
    faults = [f"verb {verb}: only in the {'page' if verb in heads else 'tool'}" for verb in verbs ^ set(heads)]
    for verb in verbs & set(heads):
        described = options_in(re.sub("[*_]", "", "\n".join(re.findall(r"^\*-.*", parts[verb], re.MULTILINE))))
        common = options_in(re.sub("[*_]", "", parts[COMMON]))
        told = told_options(tool_checks.help_of(tool, verb))
        faults += [f"{verb}: {name} is not described" for name in told - described - common]
        faults += [f"{verb}: there is no {name}" for name in described - told]
        operands = re.search(r"^Usage: tavosce \w+ \[OPTIONS\] (.*)", tool_checks.help_of(tool, verb), re.MULTILINE).group(1)
        if operands.replace("[FILE[:REC]]", "FILE[:REC]") not in heads[verb].replace("[FILE[:REC]]", "FILE[:REC]"):
            faults.append(f"{verb}: the operands are {operands}")
    return faults


def pattern_of(lines: list) -> str:
    """A regular expression for what an example says is printed."""
    return "".join(r"(?:.*\n)*?" if line == "..." else re.escape(line).replace(r"\.\.\.", ".*") + r"\n" for line in lines)


def examples_in(page: str) -> list:
    """Commands, the exit status and the lines of each."""
    res = []
    for block in re.findall(r"^```\n(.*?)^```", page.split("# EXAMPLES")[1], re.MULTILINE | re.DOTALL):
        for line in block.splitlines():
            command = re.fullmatch(r"\$ (.*?)(?: # exit status (\d+))?", line)
            if command:
                res.append((command.group(1), int(command.group(2) or 0), []))
            else:
                res[-1][2].append(line)
    return res


def check_examples(page: str, tool: str, folder: pathlib.Path) -> list:
    faults = []
    examples = examples_in(page)
    for step in range(3):
        values = " ".join(str(step + i) for i in range(4))
        (folder / f"step-{step}.vtk").write_text(DATASET + values + "\n", encoding="ascii")
    (folder / "picture.png").write_bytes(tool_checks.PICTURE)
    for command, status, lines in examples:
        run = subprocess.run(
            ["bash", "-c", command],
            cwd=folder,
            capture_output=True,
            text=True,
            check=False,
            env={"PATH": f"{pathlib.Path(tool).resolve().parent}:/usr/bin:/bin"},
        )
        if run.returncode != status:
            faults.append(f"{command}: exit status {run.returncode}\n{run.stderr}")
        if not re.fullmatch(pattern_of(lines), run.stdout):
            faults.append(f"{command}: prints\n{run.stdout}")
    return faults if examples else ["no examples"]


def check(tool: str, folder: pathlib.Path, page_file: str) -> list:
    page = pathlib.Path(page_file).read_text(encoding="utf-8")
    return check_verbs(page, tool) + check_examples(page, tool, folder)


if __name__ == "__main__":
    sys.exit(tool_checks.report(check, sys.argv[2], sys.argv[1]))
