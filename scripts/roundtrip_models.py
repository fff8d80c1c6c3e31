#!/usr/bin/python3
"""Imports each model file into a scene database of its own, exports it, and compares the result with the model.

VTK's own reader says what a model holds; it runs in a process of its own, because some models crash it. A model that
VTK cannot read cleanly is skipped, and so is said. What cannot be stored, such as arrays of strings, is left out with
--skip-unsupported and listed.

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


def check_refusal(tavosce, model, scene, reader):
    """What VTK cannot read the tool has to refuse, and leave nothing behind."""
    crashes = reader.returncode < 0
    reason = "VTK's own reader " + (f"crashes (signal {-reader.returncode})" if crashes else "reports an error")
    step = run(tavosce, "import", "-o", scene, model)
    if os.path.exists(scene):
        return "failed", f"{reason}, but import wrote a file"
    if step.returncode >= 0:
        return "skipped", f"{reason}; import refuses the file (exit code {step.returncode})"
    return "skipped" if crashes else "failed", f"{reason}; import crashes (signal {-step.returncode})"


def compare_with_model(model, exported):
    files = glob.glob(os.path.join(glob.escape(exported), "**", "*.vtp"), recursive=True)
    if len(files) != 1:
        return "failed", f"export made {len(files)} polydata files instead of one"
    step = run(sys.executable, COMPARE, "--leave-out-unstorable", model, files[0])
    lines = [line.strip() for line in step.stdout.splitlines()]
    if step.returncode == 1:
        return "different", "; ".join(lines[1:])
    if step.returncode != 0:
        return "failed", f"comparison: {last_line(step.stderr)}"
    left_out = [line.split("left out: ")[1] for line in lines if line.startswith("left out: ")]
    return ("equal but for what cannot be stored", "; ".join(left_out)) if left_out else ("equal", "")


def round_trip(tavosce, model, folder):
    """The kind of outcome (equal, equal but for what cannot be stored, different, failed, skipped) and a remark."""
    scene, exported = os.path.join(folder, "model.sce"), os.path.join(folder, "exported")
    reader = run(sys.executable, COMPARE, "--describe", model)
    if reader.returncode != 0:
        return check_refusal(tavosce, model, scene, reader)
    if reader.stderr:
        return "skipped", f"VTK's own reader warns: {last_line(reader.stderr)}"
    step = run(tavosce, "import", "-o", scene, model)
    if step.returncode == CANNOT_STORE:
        step = run(tavosce, "import", "-o", scene, "--skip-unsupported", model)
    if step.returncode in DONE:
        step = run(tavosce, "export", f"{scene}:0", "-o", exported)
    if step.returncode not in DONE:
        return "failed", f"tavosce {step.args[1]}: exit code {step.returncode}: {last_line(step.stderr)}"
    return compare_with_model(model, exported)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tavosce", help="the tool")
    parser.add_argument("scratch", help="folder for databases and exports; emptied first")
    parser.add_argument("models", nargs="+", metavar="MODEL", help=".ply, .obj and .stl files")
    arguments = parser.parse_args()
    for path in [arguments.tavosce] + arguments.models:
        if not os.path.isfile(path):
            parser.error(f"no such file: {path}")

    shutil.rmtree(arguments.scratch, ignore_errors=True)
    counts = collections.Counter()
    for number, model in enumerate(arguments.models):
        folder = os.path.join(arguments.scratch, f"{number:02d}-{os.path.basename(model)}")
        os.makedirs(folder)
        kind, remark = round_trip(arguments.tavosce, model, folder)
        counts[kind] += 1
        print(f"{os.path.basename(model):30} {kind}" + (f": {remark}" if remark else ""), flush=True)
    print(f"{len(arguments.models)} models: " + ", ".join(f"{count} {kind}" for kind, count in counts.most_common()))
    return 1 if counts["different"] or counts["failed"] else 0


if __name__ == "__main__":
    sys.exit(main())
