#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the DLLs for 32-bit clients, without running them: there need not be a 32-bit Wine.

usage: check_32bit.py SOURCE BUILD
    BUILD   a build folder of the preset windows32-release

- Each DLL is for i386, exports the four functions by their plain names, and loads nothing but the package and Windows.
- The type library in the component is one for 32 bits, and the manifest of the assembly is for x86.
- The records of the interfaces lie in memory as 32-bit clients have them.
- The package has them all.
"""
import pathlib
import re
import subprocess
import sys
import zipfile

DLLS = ["LXConfigFactoryCache32.dll", "LXConfigFactoryCachePS.dll"]
EXPORTS = ["DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"]
OTHERS = {"advapi32.dll", "kernel32.dll", "lxerror32.dll", "msvcrt.dll", "ole32.dll", "oleaut32.dll", "rpcrt4.dll"}
SYS_WIN32 = 1
LAYOUT = """
#include <LXConfigFactoryCache.h>
#include <stddef.h>
_Static_assert(sizeof(tagLXNotifications) == 12 && offsetof(tagLXNotifications, ulNotificationsDesired) == 8, "");
_Static_assert(sizeof(tagLXUpdateInfo) == 8 && offsetof(tagLXUpdateInfo, bstrObjectType) == 4, "");
_Static_assert(sizeof(tagLXDataUpdateChanges) == 24 && offsetof(tagLXDataUpdateChanges, pUpdateInfo) == 20, "");
_Static_assert(sizeof(tagLXClientInfo) == 32 && offsetof(tagLXClientInfo, pInterface) == 28, "");
_Static_assert(sizeof(tagLXNamedValue) == 24 && offsetof(tagLXNamedValue, varValue) == 8, "");
"""


def faults_of_dll(path):
    shown = subprocess.run(["i686-w64-mingw32-objdump", "-f", "-p", path], capture_output=True, text=True,
                           check=False).stdout
    if "architecture: i386" not in shown:
        yield f"{path.name} is not for i386"
    names = re.search(r"\[Ordinal/Name Pointer\] Table\n((?:\s+\[.*\n)*)", shown)
    exports = re.findall(r"\] (\S+)", names[1]) if names else []
    if exports != EXPORTS:
        yield f"{path.name} exports {exports}"
    yield from (f"{path.name} loads {name}" for name in re.findall(r"DLL Name: (\S+)", shown)
                if name.lower() not in OTHERS)


def faults_of_type_library(build):
    library = (build / "src" / "frame" / "LXConfigFactoryCache.tlb").read_bytes()
    if library[0x14] & 0xF != SYS_WIN32:
        yield f"the type library is for the system kind {library[0x14] & 0xF}"
    if library not in (build / "bin" / DLLS[0]).read_bytes():
        yield "the component has not this type library"


def faults_of_layout(source):
    compiler = ["i686-w64-mingw32-gcc-posix", "-x", "c", "-std=c11", "-fsyntax-only", f"-I{source / 'idl'}", "-"]
    compiled = subprocess.run(compiler, input=LAYOUT, capture_output=True, text=True, check=False)
    return re.findall(r".*error: .*", compiled.stderr) + ([] if compiled.returncode == 0 else ["records lie otherwise"])


def faults_of_package(build):
    found = list((build / "packages").glob("*-win32.zip"))
    if len(found) != 1:
        return [f"{len(found)} packages for 32-bit clients"]
    names = set(zipfile.ZipFile(found[0]).namelist())
    wanted = {f"bin/{name}" for name in [*DLLS, "LXError32.dll", "LXCfgCacheCallback.dll", "LXConfigFactoryCache.manifest"]}
    return [f"the package lacks {name}" for name in sorted(wanted - names)]


def main():
    source, build = map(pathlib.Path, sys.argv[1:])
    faults = [fault for name in DLLS for fault in faults_of_dll(build / "bin" / name)]
    faults += [*faults_of_type_library(build), *faults_of_layout(source), *faults_of_package(build)]
    manifest = (build / "bin" / "LXConfigFactoryCache.manifest").read_text(encoding="utf-8")
    if 'processorArchitecture="x86"' not in manifest:
        faults.append("the assembly's manifest is not for x86")
    print(*faults, f"{len(faults)} faults", sep="\n")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
