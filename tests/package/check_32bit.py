#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the DLLs for 32-bit clients without running them, because a 32-bit Wine may not be available.

usage: check_32bit.py BUILD
    BUILD   a build folder of the preset windows32-release

- Each DLL imports only from DLLs of the package and of Windows. The component and the proxies are for i386, and export
  the four functions under their undecorated names.
- The type library in the component is for 32 bits, and the manifest of the assembly for x86.
- The package contains all of them.

tests/headers checks the layout of the records for 32 bits.
"""
import pathlib
import re
import subprocess
import sys
import zipfile

sys.dont_write_bytecode = True
from check_zip import faults_of_imports  # noqa: E402

OBJDUMP = "i686-w64-mingw32-objdump"
DLLS = ["LXConfigFactoryCache32.dll", "LXConfigFactoryCachePS.dll"]
EXPORTS = ["DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"]
SYS_WIN32 = 1


def faults_of_dll(path):
    shown = subprocess.run([OBJDUMP, "-f", "-p", path], capture_output=True, text=True, check=False).stdout
    if "architecture: i386" not in shown:
        yield f"{path.name} is not for i386"
    names = re.search(r"\[Ordinal/Name Pointer\] Table\n((?:\s+\[.*\n)*)", shown)
    exports = re.findall(r"\] (\S+)", names[1]) if names else []
    if exports != EXPORTS:
        yield f"{path.name} exports {exports}"


def faults_of_type_library(build):
    library = (build / "src" / "frame" / "LXConfigFactoryCache.tlb").read_bytes()
    if library[0x14] & 0xF != SYS_WIN32:
        yield f"the type library is for the system kind {library[0x14] & 0xF}"
    if library not in (build / "bin" / DLLS[0]).read_bytes():
        yield "the component does not contain this type library"


def faults_of_package(build):
    found = list((build / "packages").glob("*-win32.zip"))
    if len(found) != 1:
        return [f"{len(found)} packages for 32-bit clients"]
    names = set(zipfile.ZipFile(found[0]).namelist())
    wanted = [*DLLS, "LXError32.dll", "LXCfgCacheCallback.dll", "LXConfigFactoryCache.manifest"]
    return [f"the package lacks {name}" for name in wanted if f"bin/{name}" not in names]


def main():
    build = pathlib.Path(sys.argv[1])
    faults = [fault for name in DLLS for fault in faults_of_dll(build / "bin" / name)]
    faults += [*faults_of_imports(build, OBJDUMP), *faults_of_type_library(build), *faults_of_package(build)]
    manifest = (build / "bin" / "LXConfigFactoryCache.manifest").read_text(encoding="utf-8")
    if 'processorArchitecture="x86"' not in manifest:
        faults.append("the assembly's manifest is not for x86")
    print(*faults, f"{len(faults)} faults", sep="\n")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
