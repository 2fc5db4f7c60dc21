#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the manifest of the component's side-by-side assembly, with all interfaces of the proxy module.

usage: make_manifest.py TEMPLATE VERSION ARCHITECTURE HEADER PROXIES MANIFEST
    HEADER    the header of the interfaces, for their ids
    PROXIES   the generated source of the proxies, which lists their interfaces
"""
import pathlib
import re
import sys

# The class id of the proxies, as in the template.
PROXY_CLASS = "{0B28003D-73C2-400E-9E87-3EB46CC86F1D}"


def main():
    template, version, architecture, header, proxies, manifest = sys.argv[1:]
    ids = {name: iid.upper() for iid, name in
           re.findall(r'MIDL_INTERFACE\("([\w-]+)"\)\s+(\w+)', pathlib.Path(header).read_text(encoding="utf-8"))}
    carried = re.search(r"InterfaceNamesList\[\] =\s*\{(.*?)\}", pathlib.Path(proxies).read_text(encoding="utf-8"), re.S)
    rows = [f'  <comInterfaceExternalProxyStub name="{name}" iid="{{{ids[name]}}}" proxyStubClsid32="{PROXY_CLASS}"/>'
            for name in sorted(re.findall(r'"(\w+)"', carried[1]))]
    text = pathlib.Path(template).read_text(encoding="utf-8")
    for key, value in {"version": version, "architecture": architecture, "interfaces": "\n".join(rows)}.items():
        text = text.replace(f"@{key}@", value)
    pathlib.Path(manifest).write_text(text, encoding="utf-8", newline="\r\n")


if __name__ == "__main__":
    main()
