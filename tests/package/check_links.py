#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that every link in the documents of a package has a target in the package.

usage: check_links.py ROOT

Checks links and pictures in Markdown, with their fragments (#...), and source paths that a document names, such as
`examples/client.cpp` or `models/plant.json`. Web addresses are not checked.
"""
import pathlib
import re
import sys
import urllib.parse

FOLDERS = "bench|cmake|docs|examples|fuzz|idl|include|models|packaging|platform|proxy|server|src|tests|tools"


def without_code(text):
    return re.sub(r"`[^`\n]*`", "", re.sub(r"^(```.*?^```|    [^\n]*)$", "", text, flags=re.S | re.M))


def markdown_places(text):
    """The fragment names of a page's headings."""
    plain = re.sub(r"^```.*?^```", "", text, flags=re.S | re.M)
    headings = re.findall(r"^#+ +(.*?) *$", plain, re.M)
    return {re.sub(r"[^\w\- ]", "", re.sub(r"\]\([^)]*\)", "]", h)).lower().replace(" ", "-") for h in headings}


def read(path):
    """A document's links, the fragments in it that links may name, and the source paths that it names."""
    text = path.read_text(encoding="utf-8")
    prose = without_code(text)
    links = re.findall(r"\]\(\s*<?([^)>\s]+)", prose) + re.findall(r"^\[[^\]]+\]:\s*(\S+)", prose, re.M)
    return links, markdown_places(text), re.findall(rf"`((?:{FOLDERS})/[\w./-]+)`", text)


def fault_of(root, document, link, places):
    parts = urllib.parse.urlsplit(link)
    if parts.scheme or parts.netloc:
        return None if parts.scheme in ("http", "https", "mailto", "data") else "is not a valid address"
    target = (document.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else document
    if not target.is_relative_to(root) or not target.exists():
        return "is not in the package"
    if parts.fragment and urllib.parse.unquote(parts.fragment) not in places.get(target, ()):
        return "has no such fragment"
    return None


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    documents = {path: read(path) for path in sorted(root.rglob("*.md"))}
    places = {path: found[1] for path, found in documents.items()}
    data = next(root.glob("**/share/lxconfigfactorycache"), root)
    faults, followed = [], 0
    for document, (links, _, paths) in documents.items():
        for link in links:
            followed += 1
            if fault := fault_of(root, document, link, places):
                faults.append(f"{document.name}: {link} {fault}")
        faults += [f"{document.name} names {path}, which is not in the package" for path in paths
                   if not any((folder / path).exists() for folder in (document.parent, data, root))]
    if followed < 10:
        faults.append(f"only {followed} links were found")
    print(*faults, f"{followed} links in {len(documents)} documents, {len(faults)} faults", sep="\n")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
