#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the table of all interfaces and methods from the interface definitions.

usage: make_surface.py DEFINITIONS.idl surfacetable.inc

For each interface, in the order of the definitions, its methods in slot order, and for each method its parameters:
which way they go, and which parameter says how many elements an array has. The C++ types are not copied: the table
names the methods, and surface.h takes the types from them.
"""
import re
import sys

# Interfaces of the platform that objects of the component answer too.
PLATFORM = """
[object] interface IClassFactory : IUnknown
{
    HRESULT CreateInstance([in] IUnknown* pUnkOuter, [in] REFIID riid, [out] void** ppvObject);
    HRESULT LockServer([in] BOOL fLock);
}
[object] interface ISupportErrorInfo : IUnknown
{
    HRESULT InterfaceSupportsErrorInfo([in] REFIID riid);
}
"""


def expand_macros(text):
    """The definitions with comments, texts and conditions taken out and macros with arguments replaced."""
    text = re.sub(r"//[^\n]*", "", text)
    text = re.sub(r'"[^"\n]*"', '""', text)
    macro = re.compile(r"^#define (\w+)\(([^)]*)\)((?:.*\\\n)*.*)\n", re.M)
    macros = {m[1]: ([p.strip() for p in m[2].split(",")], m[3].replace("\\\n", "\n")) for m in macro.finditer(text)}
    text = re.sub(r"^#.*\n", "", macro.sub("", text), flags=re.M)
    for name, (parameters, body) in macros.items():
        def expand(use, parameters=parameters, body=body):
            given = dict(zip(parameters, (a.strip() for a in use[1].split(","))))
            return re.sub(r"\w+", lambda word: given.get(word[0], word[0]), body)
        text = re.sub(r"^%s\(([^)]*)\);" % name, expand, text, flags=re.M)
    return text


def parse_parameters(text, method):
    """[(name, role, index of the parameter with the count or -1)]"""
    parts = re.findall(r"\[([^\]]*)\]\s*([^\[\]]*?)\s*(\w+)\s*(?:,\s*(?=\[)|$)", text.strip())
    if len(parts) != text.count("["):
        raise ValueError(f"{method}: cannot read its parameters")
    names = [name for _, _, name in parts]
    result = []
    for attributes, _, name in parts:
        words = re.findall(r"\w+", re.sub(r"\([^)]*\)", "", attributes))
        role = "InOut" if "in" in words and "out" in words else "Out" if "out" in words else "In"
        size = re.search(r"size_is\(\s*(\w+)\s*\)", attributes)
        result.append((name, role, names.index(size[1]) if size else -1))
    return result


def parse(text):
    """[(interface, base, [(method, parameters)])]"""
    interfaces = []
    for found in re.finditer(r"\[[^\[\]]*\bobject\b[^\[\]]*\]\s*interface (\w+)\s*:\s*(\w+)\s*\{([^{}]*)\}", text):
        methods = [(m[1], parse_parameters(m[2], found[1] + "::" + m[1]))
                   for m in re.finditer(r"HRESULT\s+(\w+)\s*\((.*?)\)\s*;", found[3], re.S)]
        if len(methods) != found[3].count("HRESULT"):
            raise ValueError(f"{found[1]}: cannot read its methods")
        interfaces.append((found[1], found[2], methods))
    return interfaces


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        interfaces = parse(expand_macros(file.read()) + PLATFORM)
    with open(sys.argv[2], "w", encoding="utf-8") as table:
        print("// Made by make_surface.py.", file=table)
        for name, base, methods in interfaces:
            print(f'Interface<{name}>("{name}", "{base}", {{', file=table)
            for method, parameters in methods:
                listed = ", ".join(f'{{"{p}", XRole::{role}, {count}}}' for p, role, count in parameters)
                print(f'    Method<&{name}::{method}>("{method}", {{{listed}}}),', file=table)
            print("}),", file=table)


if __name__ == "__main__":
    main()
