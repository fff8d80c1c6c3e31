#!/usr/bin/python3
"""Prints the records of a scene database as a table, from the output of `tavosce info --json`.

Exit code: 0 the file is whole and has as many records as expected, 1 it is not or has not.
"""

import argparse
import json
import sys

COLUMNS = ("record", "frame", "title", "bytes", "nodes", "blocks", "stored", "shared", "bytes not stored again")


def text(value):
    """Strings that are no UTF-8 come as {"base64": ...}."""
    return value if isinstance(value, str) else json.dumps(value)


def row_of(record):
    shared = [block for block in record["blocks"] if block["shared"]]
    return (
        record["index"],
        record["frame"],
        text(record["title"]),
        record["length"],
        len(record["nodes"]),
        len(record["blocks"]),
        len(record["blocks"]) - len(shared),
        len(shared),
        sum(block["length"] for block in shared),
    )


def print_table(rows):
    cells = [COLUMNS] + [tuple(str(value) for value in row) for row in rows]
    widths = [max(len(line[column]) for line in cells) for column in range(len(COLUMNS))]
    for line in cells:
        print("  ".join(value.rjust(width) for value, width in zip(line, widths)))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--records", type=int, help="how many records there have to be")
    parser.add_argument("--input-bytes", type=int, help="size of what was imported, to compare with")
    arguments = parser.parse_args()

    scene = json.load(sys.stdin)
    rows = [row_of(record) for record in scene["records"]]
    print_table(rows)
    saved = sum(row[-1] for row in rows)
    print(f"{text(scene['file'])}: {scene['size']} bytes, {len(rows)} records, release {text(scene['release'])}, "
          f"format version {scene['formatVersion']}, {'whole' if scene['whole'] else 'NOT whole'}")
    print(f"sharing: {sum(row[-2] for row in rows)} of {sum(row[-4] for row in rows)} blocks are references, "
          f"{saved} bytes ({100 * saved / (scene['size'] + saved):.0f} percent) not stored again")
    if arguments.input_bytes:
        print(f"input: {arguments.input_bytes} bytes of files, {scene['size'] / arguments.input_bytes:.2f} of that here")
    if arguments.records is not None and len(rows) != arguments.records:
        print(f"summarize_scene.py: expected {arguments.records} records, found {len(rows)}", file=sys.stderr)
        return 1
    return 0 if scene["whole"] else 1


if __name__ == "__main__":
    sys.exit(main())
