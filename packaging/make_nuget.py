#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the NuGet package for native projects from the ZIP for Windows: headers, DLLs, definitions, build rules.

usage: make_nuget.py ZIP TEMPLATES VERSION NUPKG
    TEMPLATES   the folder with the .nuspec, the .props and the .targets

A NuGet package is a ZIP that follows the Open Packaging Conventions: the part [Content_Types].xml gives each part's
content type, and _rels/.rels names the part that describes the package.
"""
import pathlib
import sys
import zipfile

ID = "LXConfigFactoryCache"
ASSEMBLY = ["LXConfigFactoryCache.manifest", "LXConfigFactoryCache32.dll", "LXError32.dll", "LXConfigFactoryCachePS.dll",
            "LXCfgCacheCallback.dll"]
TYPES = {"rels": "application/vnd.openxmlformats-package.relationships+xml",
         "psmdcp": "application/vnd.openxmlformats-package.core-properties+xml"}
CORE = f"package/services/metadata/core-properties/{ID}.psmdcp"
XML = '<?xml version="1.0" encoding="utf-8"?>\n'


def place_of(name):
    """The path in the package of a file in the ZIP; None if the package does not contain it."""
    folder, _, file = name.rpartition("/")
    if folder == "bin" and file in ASSEMBLY:
        return f"runtimes/win-x64/native/{file}"
    if name.startswith("include/lxconfigfactorycache/"):
        return "build/native/include/" + name.removeprefix("include/lxconfigfactorycache/")
    if name.startswith("share/lxconfigfactorycache/") and file.endswith((".idl", ".tlb")):
        return f"build/native/idl/{file}"
    return name if name in ("LICENSE", "sbom.cdx.json") or folder == "licenses" else None


def content_types(names):
    extensions = sorted({name.rpartition(".")[2] for name in names if "." in name.rpartition("/")[2]})
    rows = [f'  <Default Extension="{it}" ContentType="{TYPES.get(it, "application/octet")}"/>' for it in extensions]
    rows += [f'  <Override PartName="/{name}" ContentType="application/octet"/>' for name in sorted(names)
             if "." not in name.rpartition("/")[2]]
    return (XML + '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">\n' + "\n".join(rows) +
            "\n</Types>\n")


def relations():
    kinds = {f"/{ID}.nuspec": "http://schemas.microsoft.com/packaging/2010/07/manifest",
             f"/{CORE}": "http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties"}
    rows = [f'  <Relationship Type="{kind}" Target="{target}" Id="R{i}"/>' for i, (target, kind) in
            enumerate(kinds.items(), 1)]
    return (XML + '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">\n' +
            "\n".join(rows) + "\n</Relationships>\n")


def core_properties(version):
    return (XML + '<coreProperties xmlns="http://schemas.openxmlformats.org/package/2006/metadata/core-properties" '
            'xmlns:dc="http://purl.org/dc/elements/1.1/">\n  <dc:creator>The LXConfigFactoryCache developers</dc:creator>'
            f"\n  <dc:identifier>{ID}</dc:identifier>\n  <version>{version}</version>\n</coreProperties>\n")


def main():
    package, templates, version, output = sys.argv[1:]
    parts = {}
    with zipfile.ZipFile(package) as archive:
        for entry in archive.infolist():
            if not entry.is_dir() and (place := place_of(entry.filename)):
                parts[place] = archive.read(entry)
    for suffix in ("nuspec", "props", "targets"):
        text = pathlib.Path(templates, f"{ID}.{suffix}").read_text(encoding="utf-8").replace("@VERSION@", version)
        parts[f"{ID}.{suffix}" if suffix == "nuspec" else f"build/native/{ID}.{suffix}"] = text.encode()
    parts[CORE] = core_properties(version).encode()
    parts["_rels/.rels"] = relations().encode()
    parts = {"[Content_Types].xml": content_types([*parts]).encode(), **dict(sorted(parts.items()))}
    with zipfile.ZipFile(output, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, content in parts.items(): # sorted and without time stamps: the same parts give the same package
            archive.writestr(zipfile.ZipInfo(name), content, zipfile.ZIP_DEFLATED)


if __name__ == "__main__":
    main()
