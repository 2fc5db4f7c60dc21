#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the bill of materials of the ZIP for Windows, and the NuGet package.

usage: check_zip.py ROOT NUPKG VERSION OBJDUMP
    ROOT   the unpacked ZIP, whose files the NuGet package must contain

- The bill has the fields that CycloneDX 1.5 requires, and each component's name, version, supplier and licence. It
  lists exactly the binaries of the package, with their hashes and the libraries linked into them.
- The package contains the licence of each linked library. A binary imports only from DLLs of the package and of
  Windows.
- The NuGet package follows the Open Packaging Conventions, and contains each file that its build rules name.
"""
import hashlib
import json
import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree
import zipfile

WINDOWS = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll", "oleaut32.dll", "psapi.dll", "rpcrt4.dll",
           "shell32.dll", "user32.dll"}
ID = "LXConfigFactoryCache"
PARTS = [f"{ID}.nuspec", "[Content_Types].xml", "_rels/.rels", f"build/native/{ID}.props", f"build/native/{ID}.targets",
         f"build/native/include/{ID}.h", f"build/native/idl/{ID}.idl", f"build/native/idl/{ID}.tlb", "LICENSE",
         "sbom.cdx.json", f"runtimes/win-x64/native/{ID}.manifest"]


def faults_of_fields(bill):
    if (bill.get("bomFormat"), bill.get("specVersion"), bill.get("version")) != ("CycloneDX", "1.5", 1):
        yield "it is not a CycloneDX 1.5 bill"
    if not bill.get("serialNumber", "").startswith("urn:uuid:"):
        yield "it has no serial number"
    components = [bill["metadata"]["component"], *bill["components"]]
    for component in components:
        name = component.get("name")
        yield from (f"{name} has no {field}" for field in ("type", "bom-ref", "name", "supplier", "licenses")
                    if not component.get(field))
        if not re.fullmatch(r"\d+(\.\d+)+", component.get("version", "")):
            yield f"{name} has the version {component.get('version')}"
    if sorted(it["bom-ref"] for it in components) != sorted(it["ref"] for it in bill["dependencies"]):
        yield "the dependency graph does not have one entry for each component"


def faults_of_binaries(bill, root):
    sums = {component["name"]: component["hashes"][0]["content"] for component in bill["components"]
            if "hashes" in component}
    there = {path.name: hashlib.sha256(path.read_bytes()).hexdigest() for path in root.glob("bin/*")
             if path.suffix in (".dll", ".exe")}
    if sums != there:
        yield f"binaries or hashes differ from those of the package: {dict(sums.items() ^ there.items()).keys()}"
    graph = {entry["ref"]: entry["dependsOn"] for entry in bill["dependencies"]}
    for component in bill["components"]:
        name = component["name"]
        if name in there and "mingw-w64" not in graph[name]:
            yield f"{name} does not list the libraries linked into it"
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


def elements(parts, name):
    """The elements of an XML part, with namespaces removed from their tags."""
    for element in xml.etree.ElementTree.fromstring(parts[name]).iter():
        element.tag = element.tag.rpartition("}")[2]
        yield element


def faults_of_container(parts):
    types = list(elements(parts, "[Content_Types].xml"))
    extensions = {it.get("Extension") for it in types if it.tag == "Default"}
    overrides = {it.get("PartName") for it in types if it.tag == "Override"}
    for name in parts:
        file = name.rpartition("/")[2]
        known = file.rpartition(".")[2] in extensions if "." in file else f"/{name}" in overrides
        if name != "[Content_Types].xml" and not known:
            yield f"{name} has no content type"
    targets = {it.get("Type").rpartition("/")[2]: it.get("Target") for it in elements(parts, "_rels/.rels")
               if it.tag == "Relationship"}
    if targets.get("manifest") != f"/{ID}.nuspec":
        yield "no relationship points to the description"
    yield from (f"a relationship points to {it}, which is missing" for it in targets.values()
                if it.lstrip("/") not in parts)


def faults_of_description(parts, version):
    fields = {it.tag: (it.text or "").strip() for it in elements(parts, f"{ID}.nuspec")}
    yield from (f"the description has no {field}" for field in ("id", "version", "authors", "description", "license")
                if not fields.get(field))
    if (fields.get("id"), fields.get("version")) != (ID, version):
        yield f"the description is for {fields.get('id')} {fields.get('version')}"


def faults_of_rules(parts):
    """The files that the build rules name must exist, and the assembly that they name must be the manifest's."""
    for element in elements(parts, f"build/native/{ID}.targets"):
        for text in filter(None, [element.get("Include"), element.text]):
            for named in re.findall(r"\$\(MSBuildThisFileDirectory\)([^;]*)", text):
                path = "/".join(pathlib.PurePosixPath("build/native", named.replace("\\", "/")).parts)
                while "/../" in path:
                    path = re.sub(r"[^/]+/\.\./", "", path, count=1)
                if not any(name.startswith(path.rstrip("*.")) for name in parts):
                    yield f"the build rules name {named}, which does not exist"
    identity = re.search(r"<assemblyIdentity ([^>]*)/>", parts[f"runtimes/win-x64/native/{ID}.manifest"].decode())[1]
    rule = next(it.text for it in elements(parts, f"build/native/{ID}.targets")
                if it.tag == "AdditionalManifestDependencies")
    if dict(re.findall(r"(\w+)='([^']*)'", rule)) != dict(re.findall(r'(\w+)="([^"]*)"', identity)):
        yield "the build rules name a different assembly than the manifest"


def faults_of_content(parts, root):
    for element in xml.etree.ElementTree.fromstring(parts[f"runtimes/win-x64/native/{ID}.manifest"]).iter():
        if element.tag.endswith("}file"):
            name = element.get("name")
            if parts.get(f"runtimes/win-x64/native/{name}") != (root / "bin" / name).read_bytes():
                yield f"{name} of the assembly is missing or differs from the ZIP's"
    for path in (root / "include" / ID.lower()).rglob("*.*"):
        if f"build/native/include/{path.relative_to(root / 'include' / ID.lower()).as_posix()}" not in parts:
            yield f"the header {path.name} is missing"


def main():
    root, package, version, objdump = pathlib.Path(sys.argv[1]), *sys.argv[2:]
    bill = json.loads((root / "sbom.cdx.json").read_text(encoding="utf-8"))
    with zipfile.ZipFile(package) as archive:
        parts = {name: archive.read(name) for name in archive.namelist()}
    faults = [*faults_of_fields(bill), *faults_of_binaries(bill, root), *faults_of_imports(root, objdump)]
    missing = [f"{name} is missing" for name in PARTS if name not in parts]
    faults += missing or [*faults_of_container(parts), *faults_of_description(parts, version), *faults_of_rules(parts),
                          *faults_of_content(parts, root)]
    print(*faults, f"{len(bill['components'])} components, {len(parts)} parts, {len(faults)} faults", sep="\n")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
