#!/usr/bin/python3
"""Compares the nodes of two scene databases, record by record: object keys, properties and class versions. Takes what
`tavosce info --json` has printed.

Exit code: 0 equal, 1 differences.
"""

import json
import sys


def nodes_of(record):
    return {node["objectKey"]: node["properties"] for node in record["nodes"]}, record["classVersions"]


def main():
    left, right = (json.load(open(path, encoding="utf-8"))["records"] for path in sys.argv[1:3])
    different = [number for number, pair in enumerate(zip(left, right)) if nodes_of(pair[0]) != nodes_of(pair[1])]
    for number in different:
        print(f"different nodes in record {number}")
    if len(left) != len(right):
        print(f"{len(left)} records became {len(right)}")
    print(f"{len(left) - len(different)} of {len(left)} records have equal nodes, "
          f"{sum(len(record['nodes']) for record in left)} nodes with all their properties")
    return 1 if different or len(left) != len(right) else 0


if __name__ == "__main__":
    sys.exit(main())
