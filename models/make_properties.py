#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes of properties.json what the sources need: the constants for clients and servers, the names that the component
converts, and the sample server's table. docs/make_reference.py makes the reference's tables of the same file.

usage: make_properties.py [--check]

With --check it fails when one of the files is another.
"""
import json
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADER = """/* SPDX-License-Identifier: MIT
 *
 * The properties of configuration objects by index, and the bits of masks, filters and modes, for C and C++: in both
 * LXP_UNIT, in C++ lx::Unit too. Made from models/properties.json by models/make_properties.py.
 *
 * The component itself reads those that are marked with a "*", so they mean the same in front of every server. What the
 * others mean is the server's affair; here it is what the shipped model and the sample server mean by them.
 */
#ifndef LXPROPERTIES_H
#define LXPROPERTIES_H

/* In C++ the bits have a type that a LONG takes without a cast. */
#ifdef __cplusplus
#define LX_AS_INT : int
#else
#define LX_AS_INT
#endif

"""
INC_HEAD = "// SPDX-License-Identifier: MIT\n// Made from models/properties.json by models/make_properties.py.\n//\n"


def c_name(constant):
    """LXP_PPR_RELATION_TYPE for PPRRelationType."""
    words = re.sub(r"([A-Z]+)([A-Z][a-z])", r"\1_\2", constant)
    return "LXP_" + re.sub(r"([a-z])([A-Z])", r"\1_\2", words).upper()


def enumerators(rows):
    """Rows of (what is set, comment), with a comma behind all but the last."""
    texts = [text + "," for text, _ in rows[:-1]] + [rows[-1][0]]
    width = max(map(len, texts))
    return "".join(f"    {text.ljust(width)} /* {comment} */\n" for text, (_, comment) in zip(texts, rows))


def header(table):
    text = HEADER
    for kind in table["kinds"]:
        rows = [(f"{c_name(p['constant'])} = {p['index']}", ("* " if p["readBy"] == "component" else "") + p["meaning"])
                for p in kind["properties"]]
        text += f"/* {kind['kind']} */\nenum {kind['enumeration']} {{\n{enumerators(rows)}}};\n\n"
    for bits in table["bits"]:
        rows = [(f"{v['constant']} = {v['value']}", v["meaning"]) for v in bits["values"]]
        text += f"/* {bits['meaning']}. */\nenum {bits['enumeration']} LX_AS_INT {{\n{enumerators(rows)}}};\n\n"
    text += "#undef LX_AS_INT\n\n#ifdef __cplusplus\nnamespace lx {\n"
    for kind in table["kinds"]:
        for p in kind["properties"]:
            text += f"inline constexpr int {p['constant']} = {c_name(p['constant'])};\n"
    return text + "} // namespace lx\n#endif\n\n#endif\n"


def names(table):
    """What the component converts: formats and specs have their names from attributes."""
    text = INC_HEAD + "// The property names that the server's objects know, by kind of configuration element.\n"
    text += "// LX_PROPERTY(kind, index, name)\n"
    kinds = {}
    for kind in table["kinds"]:
        known = kinds.setdefault(kind["namesOf"], [])
        known += [row for p in kind["properties"] if "name" in p and (row := (p["index"], p["name"])) not in known]
    for kind, rows in kinds.items():
        for index, name in sorted(rows, key=lambda row: row[0]):
            text += f'LX_PROPERTY({kind}, {index}, "{name}")\n'
    return text


def literal(value):
    return "{}" if value is None else json.dumps(value, ensure_ascii=False)


def sample_rows(table):
    text = INC_HEAD + "// What the sample server's objects have: LX_KIND(kind, number of values), and below it\n"
    text += "// LX_PROPERTY(index, key in a model file, name for Get, default), null where it has no such name.\n"
    quoted = lambda p, member: f'"{p[member]}"' if member in p else "nullptr"
    for kind in table["kinds"]:
        text += f"LX_KIND({kind['kind']}, {kind['values']})\n"
        for p in kind["properties"]:
            text += f"LX_PROPERTY({p['index']}, {quoted(p, 'key')}, {quoted(p, 'name')}, {literal(p['default'])})\n"
        for others in kind.get("unnamed", []):
            for index in others["indexes"]:
                text += f"LX_PROPERTY({index}, nullptr, nullptr, {literal(others['default'])})\n"
    return text


def words(table):
    text = INC_HEAD + "// What tools say instead of a number: LX_WORD(kind, index, number, text).\n"
    for kind in table["kinds"]:
        for p in kind["properties"]:
            for number, word in p.get("words", {}).items():
                text += f'LX_WORD({kind["kind"]}, {p["index"]}, {number}, "{word}")\n'
    return text


def main():
    table = json.loads((ROOT / "models/properties.json").read_text(encoding="utf-8"))
    files = {"include/lxconfigfactorycache/LXProperties.h": header(table),
             "src/support/LXConvert32/propertynames.inc": names(table),
             "server/propertyrows.inc": sample_rows(table),
             "tools/lxcfc/propertywords.inc": words(table)}
    for name, text in files.items():
        file = ROOT / name
        if "--check" not in sys.argv:
            file.write_text(text, encoding="utf-8")
        elif not file.exists() or file.read_text(encoding="utf-8") != text:
            sys.exit(f"{name} is out of date: run models/make_properties.py")


if __name__ == "__main__":
    main()
