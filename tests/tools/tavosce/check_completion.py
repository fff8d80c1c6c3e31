#!/usr/bin/env python3
"""Checks the scripts with which shells complete command lines of the tool.

usage: check_completion.py TOOL
"""
import pathlib
import re
import subprocess
import sys

import tool_checks

UNSEEN = "N\x9b$(touch x)"
HOSTILE = "$(touch x)'; &"  # as long as the key that it takes the place of
DATASET = "# vtk DataFile Version 3.0\nt\nASCII\nDATASET POLYDATA\nPOINTS 1 float\n0 0 0\n"

# A command line up to the cursor, and what is offered.
CASES = [
    ("tavosce t", ["tree", "thumb"]),
    ("tavosce --v", ["--version"]),
    ("tavosce tree --", ["--help", "--json"]),
    ("tavosce import -o x.sce --f", ["--force"]),
    ("tavosce import -o x", []),
    ("tavosce thumb a.sce --s", ["--set"]),
    ("tavosce completion f", ["fish"]),
    ("tavosce tree a.sce:", ["0", "1"]),
    ("tavosce diff a.sce:0 a.sce:1", ["1"]),
    ("tavosce tree my\\ own.sce:", ["0", "1"]),
    ("tavosce cat a.sce:1 Sc", ["SceneNode_1"]),
    ("tavosce cat --slice 0:1 a.sce Sc", ["SceneNode_1"]),
    ("tavosce cat a.sce ", [HOSTILE, "SceneNode_1"]),
    ("tavosce ls a.sce", []),
    ("tavosce tree none.sce:", []),
    ("tavosce tree damaged.sce:", []),
    ("tavosce nonsense a", []),
    ("tavosce tavosce ", []),
    ('tavosce tree "a.sce:', ["a.sce:0", "a.sce:1"]),
    ("tavosce tree 'my own.sce:1", ["my own.sce:1"]),
    ('tavosce tree a.s"ce:', []),
    ('tavosce cat a.sce "', ["SceneNode_1"]),
    ("tavosce cat unseen.sce ", ["SceneNode_1"]),
]


def pieces_of(line: str) -> list:
    """What bash makes of a line: words, parted at colons too, and the empty one behind a blank."""
    return re.findall(r"""(?:\\.|"[^"]*"?|'[^']*'?|[^\s:"'])+|:+|(?<=\s)$""", line)


def offers(script: str, tool: str, line: str, folder: str) -> list:
    """What the script for bash offers, as the shell understands it."""
    pieces = pieces_of(line)
    asking = """
        source "$1"; tool=$2; quote=$3; COMP_LINE=$4; COMP_POINT=${#4}; shift 4
        COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMP_WORDBREAKS=$' \\t\\n"\\'><=;|&(:'
        _tavosce "$tool"
        for reply in "${COMPREPLY[@]}"; do eval "printf '%s\\0' $quote$reply$quote"; done
    """
    quote = re.search(r" (['\"]?)[^ ]*( own.*)?$", line)[1]
    run = subprocess.run(
        ["bash", "-u", "-c", asking, "bash", script, tool, quote, line, *pieces],
        cwd=folder,
        check=True,
        capture_output=True,
        text=True,
    )
    assert not run.stderr, run.stderr
    return run.stdout.split("\0")[:-1]


def check_bash(tool: str, folder: pathlib.Path) -> list:
    script = folder / "script.bash"
    script.write_bytes(subprocess.run([tool, "completion", "bash"], check=True, capture_output=True).stdout)
    (folder / "point.vtk").write_text(DATASET, encoding="ascii")
    subprocess.run([tool, "import", "-o", "a.sce", "point.vtk", "point.vtk"], cwd=folder, check=True, stdout=sys.stderr)
    scene = (folder / "a.sce").read_bytes().replace(b"PolyDataNode_1", HOSTILE.encode())
    unseen = scene.replace(HOSTILE.encode(), UNSEEN.encode().ljust(len(HOSTILE), b"_"))
    files = {"a.sce": scene, "my own.sce": scene, "damaged.sce": b"no scene", "unseen.sce": unseen}
    for name, content in files.items():
        (folder / name).write_bytes(content)
    faults = []
    for line, expected in CASES:
        found = offers(str(script), tool, line, str(folder))
        if found != expected:
            faults.append(f"bash: {line!r}: offers {found}, not {expected}")
    if (folder / "x").exists():
        faults.append("bash: a node's key was run as a command")
    return faults


def check_other(shell: str, tool: str, folder: pathlib.Path) -> list:
    """Whether the shell takes its script, and all verbs are in it."""
    text = subprocess.run([tool, "completion", shell], check=True, capture_output=True, text=True).stdout
    script = folder / f"script.{shell}"
    script.write_text(text, encoding="utf-8")
    faults = [f"{shell}: {verb} is missing" for verb in tool_checks.verbs_of(tool) if not re.search(rf"\b{verb}\b", text)]
    if subprocess.run([shell, "-n", str(script)], check=False).returncode != 0:
        faults.append(f"{shell} does not take the script")
    return faults


def check_fish(tool: str, folder: pathlib.Path) -> list:
    faults = check_other("fish", tool, folder)
    for line, expected in [("tavosce cat --s", ["--slice", "--stats"]), ("tavosce completion z", ["zsh"])]:
        asking = f"source {folder}/script.fish; complete -C '{line}'"
        run = subprocess.run(["fish", "-c", asking], check=True, capture_output=True, text=True)
        names = [offer.split("\t")[0] for offer in run.stdout.splitlines()]
        faults += [] if names == expected else [f"fish: {line!r}: offers {names}, not {expected}"]
    return faults


def check(tool: str, folder: pathlib.Path) -> list:
    return check_bash(tool, folder) + check_other("zsh", tool, folder) + check_fish(tool, folder)


if __name__ == "__main__":
    sys.exit(tool_checks.report(check, sys.argv[1]))
