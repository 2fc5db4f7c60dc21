#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Generates lowercase.inc, the simple lower-case mappings, from Unicode's data.

usage: make_lowercase.py [--check] [FOLDER]     (default: the folder of the Debian package unicode-data)

The folder contains UnicodeData.txt and PropList.txt; the latter's first line has the version of Unicode.

With --check it writes nothing and fails if the committed file differs. Exit status 77 (skipped): the data is missing or
has a different version of Unicode than the committed file.
"""
import difflib
import pathlib
import re
import sys

DATA = "/usr/share/unicode"
TABLE = pathlib.Path(__file__).resolve().with_name("lowercase.inc")


def mappings(data):
    """Yields (capital, small letter) pairs beyond ASCII in order. Asserts that both have equally many UTF-16 units."""
    for line in data.splitlines():
        fields = line.split(";")
        if fields[13] and (capital := int(fields[0], 16)) >= 0x80:
            small = int(fields[13], 16)
            assert (capital > 0xFFFF) == (small > 0xFFFF), f"U+{capital:04X} takes another number of units when small"
            yield capital, small


def ranges(pairs):
    """[first, count, distance] for runs of capitals with the same distance to their small letters. At distance 1,
    capitals and small letters alternate."""
    found = []
    for capital, small in pairs:
        distance = small - capital
        first, count, last_distance = found[-1] if found else (0, 0, 0)
        if distance == last_distance and capital == first + count * (2 if distance == 1 else 1):
            found[-1][1] += 1
        else:
            found.append([capital, 1, distance])
    return found


def table(folder):
    data = (folder / "UnicodeData.txt").read_text(encoding="ascii")
    version = re.search(r"-([\d.]+)\.txt", (folder / "PropList.txt").read_text(encoding="utf-8"))[1]
    rows = [f"{{0x{first:04X}, {count}, {distance}}}," for first, count, distance in ranges(mappings(data))]
    lines, line = [], ""
    for row in rows:
        if line and len(line) + 1 + len(row) > 119:
            lines.append(line)
            line = ""
        line += (" " if line else "") + row
    return "\n".join(["// SPDX-License-Identifier: MIT",
                      f"// Simple lower case, Unicode {version}; made by make_lowercase.py.",
                      "// Ranges of capitals: first, count, distance to the small letters. See LXLowerCase.cpp.",
                      *lines, line]) + "\n"


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--check"]
    folder = pathlib.Path(arguments[0] if arguments else DATA)
    if not (folder / "UnicodeData.txt").exists():
        print(f"SKIPPED: there is no data in {folder} (Debian package unicode-data)")
        sys.exit(77)
    fresh = table(folder)
    if "--check" not in sys.argv:
        TABLE.write_text(fresh, encoding="ascii", newline="\n")
        return
    committed = TABLE.read_text(encoding="ascii")
    if fresh.splitlines()[1] != committed.splitlines()[1]:
        print(f"SKIPPED: the data in {folder} has a different version: {fresh.splitlines()[1]}")
        sys.exit(77)
    print(*difflib.unified_diff(committed.splitlines(), fresh.splitlines(), "committed", "fresh", lineterm=""), sep="\n")
    sys.exit(fresh != committed)


if __name__ == "__main__":
    main()
