#!/usr/bin/env python3
"""Takes the program out of the README, and checks that it does what it says and takes any file.

usage: check_readme.py --extract README SOURCE
       check_readme.py PROGRAM
"""
import multiprocessing.pool
import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile

COPIES = 120


def extract(readme: pathlib.Path, source: pathlib.Path) -> int:
    programs = re.findall(r"^```cpp\n(.*?)^```", readme.read_text(encoding="utf-8"), re.MULTILINE | re.DOTALL)
    if len(programs) != 1:
        print(f"{readme}: expected one program, found {len(programs)}", file=sys.stderr)
        return 1
    source.write_text(programs[0], encoding="utf-8")
    return 0


def damaged(content: bytes, number: int) -> bytes:
    """A copy that is cut, or has some other bytes."""
    choose = random.Random(number)
    if number % 10 == 0:
        return content[: choose.randrange(len(content))]
    res = bytearray(content)
    for _ in range(choose.randint(1, 4)):
        res[choose.randrange(len(res))] = choose.randrange(256)
    return bytes(res)


def check(program: str, folder: pathlib.Path) -> list:
    def run(*arguments: str):
        command = [program, *arguments]
        return subprocess.run(command, cwd=folder, capture_output=True, text=True, errors="replace", check=False)

    faults = []
    whole = run()
    if (whole.returncode, whole.stdout, whole.stderr) != (0, "1 point(s)\n", ""):
        faults.append(f"exit status {whole.returncode}\n{whole.stdout}{whole.stderr}")
    content = (folder / "example.sce").read_bytes()
    for number in range(COPIES):
        (folder / f"{number}.sce").write_bytes(damaged(content, number))
    with multiprocessing.pool.ThreadPool(os.cpu_count()) as pool:
        runs = pool.map(run, [f"{number}.sce" for number in range(COPIES)])
    faults += [f"{run.args[1]}: exit status {run.returncode}\n{run.stderr}" for run in runs if run.returncode not in (0, 1)]
    if not any("Expect to have only Headers here" in run.stderr for run in runs):
        faults.append("no copy is damaged in such a way that reading throws")
    return faults


def main() -> int:
    if sys.argv[1] == "--extract":
        return extract(pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3]))
    with tempfile.TemporaryDirectory() as folder:
        faults = check(os.path.abspath(sys.argv[1]), pathlib.Path(folder))
    for fault in faults:
        print(fault, file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
