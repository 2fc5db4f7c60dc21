#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes lowercase.inc, the simple lower case of Unicode's characters, from Unicode's data.

usage: make_lowercase.py [--check] [FOLDER]     (default: that of the Debian package unicode-data)

The folder has UnicodeData.txt, and PropList.txt, whose first line names the version of Unicode.

With --check it writes nothing, and fails when the file beside this script is another. It ends with 77 when there is no data,
or only data of another version of Unicode than the file's.
"""
import difflib
import pathlib
import re
import sys

DATA = "/usr/share/unicode"
TABLE = pathlib.Path(__file__).resolve().with_name("lowercase.inc")


def mappings(data):
    """(character, its small one) in order, ASCII left out; checks what the code takes for granted."""
    for line in data.splitlines():
        fields = line.split(";")
        if fields[13] and (capital := int(fields[0], 16)) >= 0x80:
            small = int(fields[13], 16)
            assert (capital > 0xFFFF) == (small > 0xFFFF), f"U+{capital:04X} takes another number of units when small"
            yield capital, small


def ranges(pairs):
    """[first, last, step, distance]: every step-th character from first to last is small at that distance."""
    found = []
    for capital, small in pairs:
        distance = small - capital
        if found and found[-1][3] == distance:
            first, last, step, _ = found[-1]
            gap = capital - last
            if gap == step or (first == last and gap <= 2):
                found[-1][1:3] = [capital, gap]
                continue
        found.append([capital, capital, 1, distance])
    return found


def table(folder):
    data = (folder / "UnicodeData.txt").read_text(encoding="ascii")
    version = re.search(r"-([\d.]+)\.txt", (folder / "PropList.txt").read_text(encoding="utf-8"))[1]
    rows = [f"{{0x{first:04X}, 0x{last:04X}, {step}, {distance}}}," for first, last, step, distance in ranges(mappings(data))]
    lines, line = [], ""
    for row in rows:
        if line and len(line) + 1 + len(row) > 110:
            lines.append(line)
            line = ""
        line += (" " if line else "") + row
    return "\n".join(["// SPDX-License-Identifier: MIT",
                      f"// Simple lower case, Unicode {version}; made by make_lowercase.py.",
                      "// Every step-th character from the first to the last is small at that distance: first, last, step, distance.",
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
        print(f"SKIPPED: the data in {folder} is of another version: {fresh.splitlines()[1]}")
        sys.exit(77)
    print(*difflib.unified_diff(committed.splitlines(), fresh.splitlines(), "committed", "fresh", lineterm=""), sep="\n")
    sys.exit(fresh != committed)


if __name__ == "__main__":
    main()
