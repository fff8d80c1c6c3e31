#!/usr/bin/env python3
"""Interrupts the tool in the middle of its work: nothing has changed then, unless everything has.

usage: check_signals.py TOOL
"""
import array
import ctypes
import os
import pathlib
import random
import signal
import struct
import subprocess
import sys
import tempfile
import zlib

INTERRUPTED = 130
TRIES = 20
PR_SET_CHILD_SUBREAPER = 36

# Each makes or replaces something, adds to something, or reads much.
COMMANDS = [
    "import ../in/mesh.vtp --session s -o new.sce",
    "import ../in/mesh.ply --session s -o new.sce",
    "import ../in/scene --session s -o new.sce",
    "import ../in/mesh.vtp --session s --force -o old.sce",
    "import ../in/mesh.vtp ../in/mesh.ply --session s --append -o old.sce",
    "thumb ../in/mesh.sce -o new.png",
    "thumb ../in/mesh.sce --force -o old.png",
    "thumb old.sce:0 --set ../in/noise.png",
    "export ../in/mesh.sce -o new",
    "export ../in/mesh.sce --force -o scene",
    "export ../in/mesh.sce --scene-directory -o new",
    "export ../in/mesh.sce --scene-directory --force -o scene",
    "recover ../in/mesh.sce -o new.sce",
    "recover ../in/mesh.sce --force -o old.sce",
    "verify ../in/mesh.sce ../in/scene",
    "diff ../in/mesh.sce ../in/scene",
    "cat ../in/mesh.sce PolyDataNode_1/points",
]
SIGNALS = [[signal.SIGINT], [signal.SIGTERM, signal.SIGTERM], [signal.SIGHUP, signal.SIGINT], [signal.SIGKILL]]


def noise(count: int) -> array.array:
    values = random.Random(1)
    return array.array("f", (values.random() for _ in range(count)))


def ply(points: int) -> bytes:
    """A strip of triangles between points anywhere."""
    faces = points - 2
    head = (
        f"ply\nformat binary_little_endian 1.0\nelement vertex {points}\nproperty float x\nproperty float y\n"
        f"property float z\nelement face {faces}\nproperty list uchar int vertex_indices\nend_header\n"
    )
    return head.encode() + noise(3 * points).tobytes() + b"".join(struct.pack("<B3i", 3, i, i + 1, i + 2) for i in range(faces))


def png(side: int) -> bytes:
    def chunk(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = b"".join(b"\0" + random.Random(row).randbytes(3 * side) for row in range(side))
    header = struct.pack(">IIBBBBB", side, side, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 1)) + chunk(b"IEND", b"")


def make_inputs(tool: str, root: pathlib.Path) -> None:
    for name in ["in", "out"]:
        (root / name).mkdir()
    (root / "in/mesh.ply").write_bytes(ply(50000))
    (root / "in/small.ply").write_bytes(ply(3))
    (root / "in/noise.png").write_bytes(png(1000))
    (root / "out/old.png").write_bytes(png(1))
    for line in [
        "import in/mesh.ply -o in/mesh.sce --session s",
        "import in/small.ply -o out/old.sce",
        "thumb in/mesh.sce:0 --set in/noise.png",
        "export in/mesh.sce:0 -o in/exported",
        "export in/mesh.sce:0 --scene-directory -o in/scene",
        "export out/old.sce:0 --scene-directory -o out/scene",
    ]:
        subprocess.run([tool, *line.split()], cwd=root, check=True, stdout=subprocess.DEVNULL)
    (root / "in/exported/PolyDataNode_1.vtp").rename(root / "in/mesh.vtp")


def state(folder: pathlib.Path) -> dict:
    return {path: path.read_bytes() if path.is_file() else None for path in sorted(folder.rglob("*"))}


def restore(before: dict, folder: pathlib.Path) -> None:
    for path in reversed(sorted(folder.rglob("*"))):
        if path not in before:
            path.rmdir() if path.is_dir() else path.unlink()
    for path, content in before.items():
        if content is not None:
            path.write_bytes(content)


def transferred(process: subprocess.Popen) -> int:
    """How many bytes a process has read and written by now."""
    text = pathlib.Path(f"/proc/{process.pid}/io").read_text(encoding="ascii")
    return sum(int(line.split()[1]) for line in text.splitlines()[:2])


def has_ended(process: subprocess.Popen) -> bool:
    return os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOWAIT | os.WNOHANG) is not None


def wait_for_orphans() -> None:
    try:
        while True:
            os.waitpid(-1, 0)
    except ChildProcessError:
        pass


def run(tool: str, command: str, folder: pathlib.Path, signals=(), after=sys.maxsize):
    """Sends signals to the tool, and to all that it has started, when it has moved so many bytes. Its exit status, below
    0 if a signal ended it, how many bytes it has moved, and what it said."""
    with tempfile.TemporaryFile() as words:
        process = subprocess.Popen(
            [tool, *command.split()], cwd=folder, stdout=subprocess.DEVNULL, stderr=words, start_new_session=True
        )
        while not has_ended(process) and transferred(process) < after:
            os.sched_yield()
        for number in signals:
            os.killpg(process.pid, number)
        os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOWAIT)
        total = transferred(process)
        status = process.wait()
        wait_for_orphans()
        words.seek(0)
        return status, total, words.read().decode()


def is_as_before(before: dict, now: dict, killed: bool) -> bool:
    """Whoever is killed while adding to a file may leave there what no reader takes for more than it is."""
    grown = {path: content[: len(before.get(path) or b"")] if content else content for path, content in now.items()}
    return before == (grown if killed else now)


def check(tool: str, command: str, folder: pathlib.Path, faults: list) -> None:
    before = state(folder)
    whole, total, _ = run(tool, command, folder)
    after = state(folder)
    for signals in SIGNALS:
        for attempt in range(TRIES):
            restore(before, folder)
            moment = total * (2 + attempt * 3 % 7) // 10
            status, _, words = run(tool, command, folder, signals, moment)
            killed = status == -signals[0]  # before it had looked at anything, unless nobody can refuse
            if status == INTERRUPTED or killed:
                now = state(folder)
                if not (killed and now == after) and not is_as_before(before, now, signals[0] == signal.SIGKILL):
                    faults.append(f"{command}: {signals} leaves {[path.name for path in now]}")
                if not killed and words.strip() != "tavosce: interrupted":
                    faults.append(f"{command}: {signals}: {words}")
                break
            if status != whole or state(folder) != after:
                faults.append(f"{command}: {signals}: {status} {words}")
        else:
            faults.append(f"{command}: {signals} never end it")
    restore(before, folder)


def main() -> int:
    tool = os.path.abspath(sys.argv[1])
    for number in [signal.SIGINT, signal.SIGTERM, signal.SIGHUP]:
        signal.signal(number, signal.SIG_DFL)  # ignored ones would stay ignored
    ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)  # to wait for all that a run has started
    faults = []
    with tempfile.TemporaryDirectory() as name:
        root = pathlib.Path(name)
        make_inputs(tool, root)
        for command in COMMANDS:
            check(tool, command, root / "out", faults)
    for fault in faults:
        print(fault, file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
