#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the NuGet package as those see it who read one: the conventions of its container, its description, and the
build rules, each file of which must be there.

usage: check_nuget.py NUPKG VERSION ROOT
    ROOT   the unpacked ZIP for Windows, whose files it must carry
"""
import pathlib
import re
import sys
import xml.etree.ElementTree
import zipfile

ID = "LXConfigFactoryCache"
PARTS = [f"{ID}.nuspec", "[Content_Types].xml", "_rels/.rels", f"build/native/{ID}.props", f"build/native/{ID}.targets",
         f"build/native/include/{ID}.h", f"build/native/idl/{ID}.idl", f"build/native/idl/{ID}.tlb", "LICENSE",
         "sbom.cdx.json", f"runtimes/win-x64/native/{ID}.manifest"]


def elements(parts, name):
    """The elements of an XML part, without their namespaces."""
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
        yield "no relationship leads to the description"
    yield from (f"a relationship leads to {it}" for it in targets.values() if it.lstrip("/") not in parts)


def faults_of_description(parts, version):
    fields = {it.tag: (it.text or "").strip() for it in elements(parts, f"{ID}.nuspec")}
    yield from (f"the description has no {field}" for field in ("id", "version", "authors", "description", "license")
                if not fields.get(field))
    if (fields.get("id"), fields.get("version")) != (ID, version):
        yield f"it is {fields.get('id')} {fields.get('version')}"


def faults_of_rules(parts):
    """Files that the build rules name stand where the rules say, and the assembly that they name is the manifest's."""
    for element in elements(parts, f"build/native/{ID}.targets"):
        for text in filter(None, [element.get("Include"), element.text]):
            for named in re.findall(r"\$\(MSBuildThisFileDirectory\)([^;]*)", text):
                path = "/".join(pathlib.PurePosixPath("build/native", named.replace("\\", "/")).parts)
                while "/../" in path:
                    path = re.sub(r"[^/]+/\.\./", "", path, count=1)
                if not any(name.startswith(path.rstrip("*.")) for name in parts):
                    yield f"the build rules name {named}, which is not there"
    identity = re.search(r"<assemblyIdentity ([^>]*)/>", parts[f"runtimes/win-x64/native/{ID}.manifest"].decode())[1]
    rule = next(it.text for it in elements(parts, f"build/native/{ID}.targets")
                if it.tag == "AdditionalManifestDependencies")
    if dict(re.findall(r"(\w+)='([^']*)'", rule)) != dict(re.findall(r'(\w+)="([^"]*)"', identity)):
        yield "the build rules name another assembly than the manifest is of"


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
    with zipfile.ZipFile(sys.argv[1]) as archive:
        parts = {name: archive.read(name) for name in archive.namelist()}
    version, root = sys.argv[2], pathlib.Path(sys.argv[3])
    faults = [f"{name} is missing" for name in PARTS if name not in parts]
    if not faults:
        faults = [*faults_of_container(parts), *faults_of_description(parts, version), *faults_of_rules(parts),
                  *faults_of_content(parts, root)]
    print(*faults, f"{len(parts)} parts, {len(faults)} faults", sep="\n")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
