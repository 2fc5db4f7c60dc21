#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the bill of materials of a Windows package against the package.

usage: check_sbom.py ROOT OBJDUMP

- It has the fields that CycloneDX 1.5 requires, and of each component name, version, supplier, licence and sum.
- It has each binary of the package, and no other, with its sum; each of them says what is linked into it.
- Each library that is linked has its licence in the package.
- A binary loads nothing that is neither in the package nor a part of Windows.
"""
import hashlib
import json
import pathlib
import re
import subprocess
import sys

WINDOWS = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll", "oleaut32.dll", "psapi.dll", "rpcrt4.dll",
           "shell32.dll", "user32.dll"}


def faults_of_fields(bill):
    if bill.get("bomFormat") != "CycloneDX" or bill.get("specVersion") != "1.5" or bill.get("version") != 1:
        yield "it is no bill of CycloneDX 1.5"
    if not re.fullmatch(r"urn:uuid:[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}", bill.get("serialNumber", "")):
        yield "it has no serial number"
    for component in [bill["metadata"]["component"], *bill["components"]]:
        name = component.get("name")
        if component.get("type") not in ("application", "library") or not component.get("bom-ref") or not name:
            yield f"{name} has no type, reference or name"
        if not re.fullmatch(r"\d+(\.\d+)+", component.get("version", "")):
            yield f"{name} has the version {component.get('version')}"
        if not component.get("supplier", {}).get("name"):
            yield f"{name} has no supplier"
        licences = [it.get("expression") or it.get("license", {}).get("id") for it in component.get("licenses", [])]
        if not licences or not all(licences):
            yield f"{name} has no licence"


def faults_of_references(bill):
    names = [component["bom-ref"] for component in [bill["metadata"]["component"], *bill["components"]]]
    if len(set(names)) != len(names):
        yield "a reference stands for two components"
    graph = {entry["ref"]: entry["dependsOn"] for entry in bill["dependencies"]}
    if set(graph) != set(names):
        yield f"not all components say what they depend on: {set(graph) ^ set(names)}"
    reached, front = set(), {bill["metadata"]["component"]["bom-ref"]}
    while front:
        reached |= front
        front = {name for ref in front for name in graph.get(ref, [])} - reached
    if reached != set(names):
        yield f"the product does not lead to {set(names) ^ reached}"


def faults_of_binaries(bill, root):
    sums = {component["name"]: component["hashes"][0]["content"] for component in bill["components"]
            if "hashes" in component}
    there = {path.name: hashlib.sha256(path.read_bytes()).hexdigest() for path in root.glob("bin/*")
             if path.suffix in (".dll", ".exe")}
    if sums != there:
        yield f"binaries differ from those of the package: {dict(sums.items() ^ there.items()).keys()}"
    graph = {entry["ref"]: entry["dependsOn"] for entry in bill["dependencies"]}
    for component in bill["components"]:
        name = component["name"]
        if name in there and "mingw-w64" not in graph[name]:
            yield f"{name} does not say what is linked into it"
        if name not in there and not (root / "licenses" / f"{name}.txt").is_file():
            yield f"the licence of {name} is not in the package"


def faults_of_imports(root, objdump):
    binaries = [path for path in root.glob("bin/*") if path.suffix in (".dll", ".exe")]
    own = {path.name.lower() for path in binaries}
    for path in binaries:
        shown = subprocess.run([objdump, "-p", path], capture_output=True, text=True, check=True).stdout
        for name in re.findall(r"DLL Name: (\S+)", shown):
            if name.lower() not in own | WINDOWS:
                yield f"{path.name} loads {name}, which is not in the package"


def main():
    root, objdump = pathlib.Path(sys.argv[1]), sys.argv[2]
    bill = json.loads((root / "sbom.cdx.json").read_text(encoding="utf-8"))
    faults = [*faults_of_fields(bill), *faults_of_references(bill), *faults_of_binaries(bill, root),
              *faults_of_imports(root, objdump)]
    print(*faults, f"{len(bill['components'])} components, {len(faults)} faults", sep="\n")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
