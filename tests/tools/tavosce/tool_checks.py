"""What the checks of the tool share."""
import base64
import pathlib
import re
import subprocess
import sys
import tempfile

# A PNG file of 2 x 2 pixels.
PICTURE = base64.b64decode(
    "iVBORw0KGgoAAAANSUhEUgAAAAIAAAACCAIAAAD91JpzAAAAEElEQVR42mP4zwAE/xkgFAAb8gP9PpddpAAAAABJRU5ErkJggg=="
)


def help_of(tool: str, *verb: str) -> str:
    return subprocess.run([tool, *verb, "--help"], check=True, capture_output=True, text=True).stdout


def verbs_of(tool: str) -> list:
    verbs = re.findall(r"^  ([a-z]+) +[A-Z]", help_of(tool).split("Subcommands:")[1], re.MULTILINE)
    assert verbs, "the tool lists no verbs"
    return verbs


def report(check, tool: str, *arguments: str) -> int:
    """Prints the faults that a check finds in a fresh folder; 1 if there are any."""
    with tempfile.TemporaryDirectory() as folder:
        faults = check(str(pathlib.Path(tool).resolve()), pathlib.Path(folder), *arguments)
    for fault in faults:
        print(fault, file=sys.stderr)
    return 1 if faults else 0
