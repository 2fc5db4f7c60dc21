#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the bill of materials of the Windows package (CycloneDX 1.5, JSON): its binaries with their hashes, and the
libraries linked into each binary, with versions and licences.

usage: make_sbom.py VERSION GCC-VERSION BINARIES BUILD LICENCES OUTPUT
    BINARIES   the folder of the installed binaries
    BUILD      the build folder: linker maps in maps/, binaries with debug information in bin/, headers in headers/
    LICENCES   the folder for the libraries' licences

The linker's maps show the linked archives, the debug information shows the header-only libraries. An unknown archive is
an error, so that no library gets into the package unnoticed.
"""
import hashlib
import json
import os
import pathlib
import re
import sys
import uuid

GCC_LICENCE = "GPL-3.0-or-later WITH GCC-exception-3.1"
# name -> supplier, licence, the Debian package with the licence's text
LIBRARIES = {
    "libstdc++": ("Free Software Foundation", GCC_LICENCE, "gcc-mingw-w64-base"),
    "libgcc": ("Free Software Foundation", GCC_LICENCE, "gcc-mingw-w64-base"),
    "mingw-w64": ("mingw-w64 project", "ZPL-2.1", "mingw-w64-common"),
    "winpthreads": ("mingw-w64 project", "MIT AND BSD-3-Clause", "mingw-w64-common"),
    "nlohmann-json": ("Niels Lohmann", "MIT", "nlohmann-json3-dev"),
    "CLI11": ("University of Cincinnati", "BSD-3-Clause", "libcli11-dev"),
}
# Header-only libraries: the folder, the file with the version, and the prefix of its macros.
HEADERS = {"nlohmann-json": ("nlohmann", "nlohmann/detail/abi_macros.hpp", "NLOHMANN_JSON_VERSION"),
           "CLI11": ("CLI", "CLI/Version.hpp", "CLI11_VERSION")}
OWN = {"name": "LXConfigFactoryCache", "supplier": {"name": "The LXConfigFactoryCache developers"},
       "licenses": [{"license": {"id": "MIT"}}]}


def version_in(header, prefix):
    text = pathlib.Path(header).read_text(encoding="utf-8")
    return ".".join(re.search(rf"#define {prefix}_(?:{part})\s+(\d+)", text)[1]
                    for part in ("MAJOR", "MINOR", "PATCH|BUGFIX"))


def library_of(path, gcc_version):
    """The library of an archive or start-up object, with its version; None for the project's own."""
    if not os.path.isabs(path):
        return None
    path = os.path.normpath(path)
    file, folder = os.path.basename(path), os.path.dirname(path)
    if "/gcc/" in path and file.startswith("libstdc++"):
        return "libstdc++", gcc_version
    if "/gcc/" in path and re.match(r"libgcc|crtbegin|crtend|crtfastmath", file):
        return "libgcc", gcc_version
    if folder.endswith("-mingw32/lib"):
        version = version_in(f"{folder}/../include/_mingw_mac.h", "__MINGW64_VERSION")
        return ("winpthreads" if "pthread" in file else "mingw-w64"), version
    sys.exit(f"make_sbom.py: an unknown library is linked: {path}")


def linked_into(file, build, gcc_version):
    linker_map = (build / "maps" / f"{file}.map").read_text(encoding="utf-8", errors="replace")
    paths = set(re.findall(r"([^\s():]+\.a)[(:]", linker_map)) | set(re.findall(r"(/\S+/\w*crt\w+\.o)\b", linker_map))
    found = {library_of(path, gcc_version) for path in paths} - {None}
    pdb = build / "debugfiles" / f"{file}.pdb"  # where Clang writes all debug information
    debug = (build / "bin" / file).read_bytes() + (pdb.read_bytes() if pdb.exists() else b"")
    for name, (folder, header, prefix) in HEADERS.items():
        if re.search(rb"headers/" + folder.encode() + rb"\b", debug):
            found.add((name, version_in(build / "headers" / header, prefix)))
    return found


def library_component(name, version):
    supplier, licence, _ = LIBRARIES[name]
    licences = [{"expression": licence}] if " " in licence else [{"license": {"id": licence}}]
    return {"type": "library", "bom-ref": name, "name": name, "version": version, "supplier": {"name": supplier},
            "licenses": licences, "purl": f"pkg:generic/{name.replace('+', '%2B')}@{version}"}


def binary_component(path, version):
    kind = "application" if path.suffix == ".exe" else "library"
    sum_of_it = hashlib.sha256(path.read_bytes()).hexdigest()
    return {"type": kind, "bom-ref": path.name, **OWN, "name": path.name, "version": version,
            "hashes": [{"alg": "SHA-256", "content": sum_of_it}]}


def copy_licences(names, folder):
    folder.mkdir(parents=True, exist_ok=True)
    for name in names:
        text = pathlib.Path("/usr/share/doc", LIBRARIES[name][2], "copyright").read_bytes()
        (folder / f"{name}.txt").write_bytes(text)


def main():
    version, gcc_version = sys.argv[1:3]
    binaries, build, licences, output = map(pathlib.Path, sys.argv[3:])
    files = sorted(path for path in binaries.iterdir() if path.suffix in (".dll", ".exe"))
    linked = {path.name: linked_into(path.name, build, gcc_version) for path in files}
    libraries = sorted(set().union(*linked.values()))
    copy_licences([name for name, _ in libraries], licences)
    product = {"type": "library", "bom-ref": "product", **OWN, "version": version,
               "purl": f"pkg:generic/LXConfigFactoryCache@{version}"}
    components = [binary_component(path, version) for path in files] + [library_component(*it) for it in libraries]
    dependencies = [{"ref": "product", "dependsOn": [path.name for path in files]}]
    dependencies += [{"ref": file, "dependsOn": sorted(name for name, _ in its)} for file, its in linked.items()]
    dependencies += [{"ref": name, "dependsOn": []} for name, _ in libraries]
    bill = {"bomFormat": "CycloneDX", "specVersion": "1.5", "version": 1, "metadata": {"component": product},
            "components": components, "dependencies": dependencies}
    # Derived from the content, so that the same binaries give the same number.
    bill["serialNumber"] = uuid.uuid5(uuid.NAMESPACE_OID, json.dumps(bill)).urn
    output.write_text(json.dumps(bill, indent=2) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
