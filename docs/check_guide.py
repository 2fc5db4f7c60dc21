#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that the documents for users agree with the sources.

usage: check_guide.py PROJECT-FOLDER VERSION

- Each code block of guide.md and README.md follows a comment that names its source file, and that file contains it.
  Other tests build and run those files.
- Links between the documents, and paths in examples/ that they name, have a target.
- sample-server.md lists all edits of the sample server.
- The file names in guide.md and the newest version in CHANGELOG.md have the project's version.
"""
import pathlib
import re
import sys


def code_blocks(page, folder, least):
    faults = []
    text = page.read_text(encoding="utf-8")
    blocks = re.findall(r"(?:<!-- (\S+) -->\n)?```(\w+)\n(.*?)```", text, re.S)
    for file, language, code in blocks:
        shown = " ".join(code.split())
        if not file:
            faults.append(f"{page.name}: a {language} block names no file: {shown[:60]}")
        elif shown not in " ".join((folder / file).read_text(encoding="utf-8").split()):
            faults.append(f"{page.name}: {file} does not contain: {shown[:80]}")
    if len(blocks) < least:
        faults.append(f"{page.name}: only {len(blocks)} code blocks were found")
    return faults


def links(page, folder):
    text = page.read_text(encoding="utf-8")
    return [f"{page.name} links to {target}, which does not exist" for target in re.findall(r"\]\(([^)#:]+)\)", text)
            if not (page.parent / target).exists()] + [
            f"{page.name} names {path}, which does not exist" for path in re.findall(r"`(examples/[\w./]+)`", text)
            if not (folder / path).exists()]


def versions(folder, guide, version):
    newest = re.search(r"^## (\d\S*)", (folder / "CHANGELOG.md").read_text(encoding="utf-8"), re.M)
    faults = [] if newest and newest[1] == version else [f"the newest version of CHANGELOG.md is not {version}"]
    named = re.findall(r"LXConfigFactoryCache-(\d[\d.]*)-win64|lxconfigfactorycache_(\d[\d.]*)_amd64", guide)
    return faults + [f"guide.md names version {v}" for pair in named for v in pair if v and v != version]


def edits(folder):
    """The document must list each edit of the sample server with its arguments."""
    page = (folder / "docs" / "sample-server.md").read_text(encoding="utf-8")
    source = (folder / "server" / "XServerTexts.cpp").read_text(encoding="utf-8")
    taken = re.findall(r'^ *\{"(\w+)", \{([^}]*)\}, \[\]', source, re.M)
    rows = [f"| `{name}` | " + ", ".join(f"`{a}`" for a in re.findall(r'"([^"]+)"', arguments)) + " |"
            for name, arguments in taken]
    faults = [f"sample-server.md lacks: {row}" for row in rows if row not in page]
    return faults + ([] if len(rows) > 30 else [f"only {len(rows)} edits were found"])


def main():
    folder, version = pathlib.Path(sys.argv[1]), sys.argv[2]
    guide = (folder / "docs" / "guide.md").read_text(encoding="utf-8")
    faults = code_blocks(folder / "docs" / "guide.md", folder, 10) + code_blocks(folder / "README.md", folder, 1)
    faults += links(folder / "README.md", folder) + versions(folder, guide, version) + edits(folder)
    for name in ("guide", "reference", "troubleshooting", "transfer-format", "sample-server", "lxcfc"):
        faults += links(folder / "docs" / f"{name}.md", folder)
    print(*faults, f"{len(faults)} faults", sep="\n")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
