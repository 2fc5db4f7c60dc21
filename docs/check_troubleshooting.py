#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that troubleshooting.md lists every text that the component can raise or log, and no others.

usage: check_troubleshooting.py SOURCE-FOLDER... PAGE

Texts are the wide literals of the sources (OLESTR) and the concatenations of XLXFormat. "…" stands for each %d and %s,
and for each part of a concatenation that is not a literal. The page has the texts in backquotes, in the first column of
its tables.
"""
import pathlib
import re
import sys

# Wide literals that are data, not messages.
DATA = """
    nodes typename objects configtypename cfc_specific searchable relationname recursiv properties
    nameshort master pc lumbrixtypeset lumbrixtypechild lumbrixtype lumbcompbase cfc_forward/ cfc _reverse UpdateMng
    QueryEngine Foldername Configfactory @@nodes %MODULE% invalidated
    TypeLib\\\\{3B700219-CA40-4C9A-B2E6-85B56601D125}\\\\1.0
""".split() + [
    "server call", "CFC update notification", "invalid pointer: …", "…", "……",
    "CFC update: CFDataID: '…', Update Mode: …, CurrentDataId: '…', TranslatedDataId: '…'"]


def literals(text):
    """Adjacent string literals, joined."""
    return "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', text))


def texts_of(source):
    """Every text of one source file."""
    source = re.sub(r"//[^\n]*", "", source)
    for found in re.finditer(r'OLESTR\(\s*((?:"(?:[^"\\]|\\.)*"\s*)+)\)', source):
        yield re.sub(r"%[ds]", "…", literals(found[1]))
    for found in re.finditer(r"XLXFormat\(\)((?:\s*<<\s*(?:(?:\"(?:[^\"\\]|\\.)*\"\s*)+|[\w.:]+(?:\([^()]*\))?(?:\{\w+\})?))+)",
                             source):
        parts = re.split(r"<<", found[1])[1:]
        yield "".join(literals(part) if '"' in part else "…" for part in parts)


def main():
    *folders, page = map(pathlib.Path, sys.argv[1:])
    in_source = set()
    for file in (file for folder in folders for file in folder.rglob("*")):
        if file.suffix in (".cpp", ".h", ".inc"):
            in_source.update(texts_of(file.read_text(encoding="utf-8")))
    in_source.discard("")
    on_page = set()
    for line in page.read_text(encoding="utf-8").splitlines():
        first = line.split(" | ")[0]
        if first.startswith("| `") and not re.match(r"\| `[A-Z]+(_[A-Z0-9]+)+", first):  # HRESULTs are not texts
            on_page.update(re.findall(r"`([^`]*)`", first))
    faults = [f"not on the page: {text}" for text in sorted(in_source - on_page - set(DATA))]
    faults += [f"on the page, but not in the sources: {text}" for text in sorted(on_page - in_source)]
    faults += [f"in DATA, but not in the sources: {text}" for text in sorted(set(DATA) - in_source)]
    print(*faults, f"{len(in_source - set(DATA))} texts, {len(faults)} faults", sep="\n")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
