#!/usr/bin/python3
"""Imports each model file into a scene database of its own, exports it, and compares the result with the model.

VTK's own reader says what a model holds; it runs in a process of its own, because some models crash it. A model that
VTK cannot read cleanly is skipped, and so is said. What a database cannot store (arrays of strings, arrays that do not
fit their cells) is left out with --skip-unsupported and listed.

Exit code: 0 every model came back equal or was skipped, 1 a difference or a failure, 2 wrong usage.
"""

import argparse
import collections
import glob
import os
import re
import shutil
import subprocess
import sys

COMPARE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "compare_polydata.py")
# Exit codes of tavosce.
DONE = (0, 1)  # 1: with warnings; the comparison judges the result
CANNOT_STORE = 7


def run(*command):
    return subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          encoding="utf-8", errors="backslashreplace", check=False)


def last_line(text):
    """The last line that says something, without terminal colours and the prefix of VTK's log."""
    lines = [re.sub(r"\x1b\[[0-9;]*m", "", line).strip() for line in text.splitlines()]
    lines = [line for line in lines if line]
    return lines[-1].split("| ")[-1] if lines else "no message"


def outcome_of_reader(model):
    """Why the model cannot serve as input; empty when VTK reads it without a complaint."""
    reader = run(sys.executable, COMPARE, "--describe", model)
    if reader.returncode < 0:
        return f"VTK's own reader crashes (signal {-reader.returncode})"
    if reader.returncode != 0:
        return "VTK's own reader reports an error"
    if reader.stderr:
        return f"VTK's own reader warns: {last_line(reader.stderr)}"
    return ""


def round_trip(tavosce, model, folder):
    """One of (kind, remark): "equal", "equal in what can be stored", "different", "failed", "skipped"."""
    reason = outcome_of_reader(model)
    if reason:
        return "skipped", reason
    scene = os.path.join(folder, "model.sce")
    exported = os.path.join(folder, "exported")
    partial = []
    step = run(tavosce, "import", "-o", scene, model)
    if step.returncode == CANNOT_STORE:
        partial = ["--leave-out-unstorable"]
        step = run(tavosce, "import", "-o", scene, "--skip-unsupported", model)
    if step.returncode not in DONE:
        return "failed", f"import: exit code {step.returncode}: {last_line(step.stderr)}"
    step = run(tavosce, "export", f"{scene}:0", "-o", exported)
    if step.returncode not in DONE:
        return "failed", f"export: exit code {step.returncode}: {last_line(step.stderr)}"
    files = glob.glob(os.path.join(glob.escape(exported), "**", "*.vtp"), recursive=True)
    if len(files) != 1:
        return "failed", f"export made {len(files)} polydata files instead of one"
    step = run(sys.executable, COMPARE, *partial, model, files[0])
    lines = step.stdout.splitlines()
    if step.returncode == 1:
        return "different", "; ".join(line.strip() for line in lines[1:])
    if step.returncode != 0:
        return "failed", f"comparison: {last_line(step.stderr)}"
    left_out = [line.split("left out: ")[1] for line in lines if "left out: " in line]
    return ("equal in what can be stored", "; ".join(left_out)) if left_out else ("equal", "")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tavosce", help="the tool")
    parser.add_argument("scratch", help="folder for databases and exports; emptied first")
    parser.add_argument("models", nargs="+", metavar="MODEL", help=".ply, .obj and .stl files")
    arguments = parser.parse_args()

    shutil.rmtree(arguments.scratch, ignore_errors=True)
    counts = collections.Counter()
    for number, model in enumerate(arguments.models):
        folder = os.path.join(arguments.scratch, f"{number:02d}-{os.path.basename(model)}")
        os.makedirs(folder)
        kind, remark = round_trip(arguments.tavosce, model, folder)
        counts[kind] += 1
        print(f"{kind:9} {os.path.basename(model)}" + (f": {remark}" if remark else ""), flush=True)
    print(f"{len(arguments.models)} models: " + ", ".join(f"{count} {kind}" for kind, count in counts.most_common()))
    return 1 if counts["different"] or counts["failed"] else 0


if __name__ == "__main__":
    sys.exit(main())
