#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Generates reference.md from the interface definitions, their help strings and the table of properties.

usage: make_reference.py [--check] DEFINITIONS.idl properties.json reference.md

With --check it writes nothing, and fails if the page is out of date or if a method of an interface that the component
implements has no help string.
"""
import json
import pathlib
import re
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path[:0] = [str(ROOT / "idl"), str(ROOT / "models")]
sys.dont_write_bytecode = True
import definitions as idl  # noqa: E402
import make_properties  # noqa: E402

HEAD = """# Reference

Every interface of `LXConfigFactoryCache.idl`, with its methods in slot order. All methods return an `HRESULT` and are
`STDMETHODCALLTYPE`. The following applies to all of them:

- A look-up that finds nothing returns `S_FALSE` with a null result; so does an enumeration without elements.
- Flags are `LONG`s: 0 is false, anything else is true. Text is UTF-16, in a `BSTR`; a null `BSTR` is an empty text.
- Out pointers are set to null before anything else. The caller owns the interface pointers, texts and arrays that it
  receives.
- "`E_NOTIMPL` in the cache" applies to the component's objects; the server's own object may do more.
- A failing call sets an error text: [troubleshooting.md](troubleshooting.md). [guide.md](guide.md) says which calls may
  wait for the server. The configuration name (`bstrConfigName`) is ignored.

C++17 programs may use them through the typed layer, `lxcfc.hpp`, which frees, converts and raises.

This page is generated from the definitions; a test fails when it is out of date.
"""

# The heading of each part of the definitions, by its first interface.
PARTS = {"ILXConfigFactoryCache": "The component", "ILXConfigObject": "Configuration objects",
         "ILXConfigFactory": "The config factory", "ILXTypeEnum": "Enumerators", "ILXCallback": "Callbacks",
         "ILX_BaseDataObject": "Services of the server", "ILXTypeCache": "Between the component's own objects"}
ORDER = ["ILXConfigFactoryCache", "ILXConfigObject", "ILXConfigFactory", "ILXTypeEnum", "ILXCallback",
         "ILX_BaseDataObject", "ILXTypeCache"]
# Interfaces that clients supply: the component calls only the methods that have a help string.
FOREIGN = {"ILX_BaseDataObject", "ILX_Query", "ILXDataUpdate", "ILXTypeCache", "ILXTypeInheritance"}
TYPES = {"long": "LONG", "unsigned long": "ULONG", "LX_BSTR_ARRAY": "SAFEARRAY*", "LX_VARIANT_ARRAY": "SAFEARRAY*",
         "LX_BSTR_ARRAY*": "SAFEARRAY**", "LX_VARIANT_ARRAY*": "SAFEARRAY**", "long*": "LONG*",
         "unsigned long*": "ULONG*"}


def paragraph(text):
    """A paragraph of the page, broken into lines of at most 120 characters, but not inside code."""
    text = re.sub(r"`[^`]*`", lambda code: code[0].replace(" ", "\0"), text)
    return "\n" + textwrap.fill(text, 120, break_long_words=False, break_on_hyphens=False).replace("\0", " ") + "\n"


def slots_before(interface, interfaces):
    base = next((i for i in interfaces if i.name == interface.base), None)
    return 3 if base is None else slots_before(base, interfaces) + len(base.methods)


def signature(method):
    parameters = []
    for p in method.parameters:
        length = re.search(r"size_is\(([^)]*)\)", p.attributes)
        array = f", {length[0]}" if length else ""
        direction = {"In": "in", "Out": "out", "InOut": "in, out"}[p.role]
        parameters.append(f"[{direction}{array}] {TYPES.get(p.type, p.type)} {p.name}")
    return f"{method.name}({', '.join(parameters)})"


def section(interface, interfaces):
    text = f"\n### {interface.name}\n" + paragraph(
        f"{interface.help}. Derives from `{interface.base}`; IID `{{{interface.iid.upper()}}}`.")
    rows = [(slots_before(interface, interfaces) + i, m) for i, m in enumerate(interface.methods)]
    listed = [(slot, m) for slot, m in rows if m.help or interface.name not in FOREIGN]
    text += "\n| Slot | Method | |\n|---|---|---|\n"
    for slot, method in listed:
        text += f"| {slot} | `{signature(method)}` | {method.help.replace('|', chr(92) + '|')} |\n"
    silent = [f"`{m.name}` ({slot})" for slot, m in rows if (slot, m) not in listed]
    if silent:
        what = "Placeholders" if "Reserved" in silent[0] else "The component does not call"
        text += paragraph(f"{what}: {', '.join(silent)}.")
    return text


def enumerations(text):
    page = "\n## Enumerations\n"
    for name, body in re.findall(r"typedef enum (\w+)\s*\{([^}]*)\}", text):
        values = re.findall(r"(\w+)\s*=\s*(\d+)", body)
        page += paragraph(f"`{name}`: " + ", ".join(f"`{n}` {v}" for n, v in values) + ".")
    return page


def records(text):
    page = "\n## Records\n"
    for name, body in re.findall(r"typedef struct (\w+)\s*\{([^}]*)\}", text):
        fields = [re.sub(r"\[[^\]]*\]\s*", "", f).strip() for f in body.split(";") if f.strip()]
        fields = [" ".join(f.split()).replace("unsigned long", "ULONG").replace("long ", "LONG ") for f in fields]
        page += paragraph(f"`{name}`: " + ", ".join(f"`{f}`" for f in fields) + ".")
    return page


def classes(text, texts):
    page = "\n## Classes\n"
    for attributes, name, body in re.findall(r"\[([^\[\]]*)\]\s*coclass (\w+)\s*\{([^}]*)\}", text):
        clsid = re.search(r"uuid\(([-\w]+)\)", attributes)[1].upper()
        faces = ", ".join(f"`{i}`" for i in re.findall(r"interface (\w+)", body))
        page += paragraph(f"`{name}` `{{{clsid}}}`: {idl.help_in(attributes, texts)}. Interfaces: {faces}.")
    return page


def row_of(prop):
    words = prop.get("words", {})
    meaning = prop["meaning"] + (": " + ", ".join(f"{n} {w}" for n, w in words.items()) if words else "")
    read = "yes" if prop["readBy"] == "component" else ""
    name = f"`{prop['name']}`" if "name" in prop else ""
    constants = f"`{make_properties.c_name(prop['constant'])}`, `lx::{prop['constant']}`"
    return (f"| {prop['index']} | {constants} | {name} | `{prop['key']}` | {prop['type']} | {read} | {meaning} |\n")


def properties(table):
    page = """
## Properties

`GetProperty` and `SetProperty` take an index, `Get` and `Set` a name exactly as written here. The constants are in
`LXProperties.h`, in C++ under both names. "Shown as" is the name in `lxcfc` and in model files.
Properties that the component reads ("Read") mean the same with every server. The others have the meaning that the
shipped model and the sample server give them; other indexes depend on the server.
"""
    for kind in table["kinds"]:
        page += f"\n**{kind['kind']}** (`{kind['enumeration']}`)\n\n"
        page += "| Index | Constants | Name | Shown as | Type | Read | Meaning |\n|---|---|---|---|---|---|---|\n"
        page += "".join(map(row_of, kind["properties"]))
    page += "\n## Masks, filters and modes\n\nIn `LXProperties.h`. Bits may be combined.\n"
    for bits in table["bits"]:
        values = ", ".join(f"`{v['constant']}` {v['value']} ({v['meaning']})" for v in bits["values"])
        page += paragraph(f"`{bits['enumeration']}`: {bits['meaning']}. {values}.")
    return page


def page_of(definitions, table):
    texts = []
    text = idl.expand_macros(definitions, texts)
    interfaces = idl.parse(text, texts)
    missing = [f"{i.name}::{m.name}" for i in interfaces if i.name not in FOREIGN for m in i.methods if not m.help]
    parts, current = {name: [] for name in ORDER}, None
    for interface in interfaces:
        current = interface.name if interface.name in PARTS else current
        parts[current].append(interface)
    page = HEAD
    for name, members in parts.items():
        page += f"\n## {PARTS[name]}\n" + "".join(section(i, interfaces) for i in members)
    return page + properties(table) + classes(text, texts) + records(text) + enumerations(text), missing


def main():
    arguments = [a for a in sys.argv[1:] if a != "--check"]
    definitions, properties_file, target = map(pathlib.Path, arguments)
    page, missing = page_of(definitions.read_text(encoding="utf-8"),
                            json.loads(properties_file.read_text(encoding="utf-8")))
    if "--check" not in sys.argv:
        target.write_text(page, encoding="utf-8")
        return
    if missing:
        sys.exit("without a help string: " + ", ".join(missing))
    if target.read_text(encoding="utf-8") != page:
        sys.exit(f"{target} is out of date: run {pathlib.Path(__file__).name}")


if __name__ == "__main__":
    main()
