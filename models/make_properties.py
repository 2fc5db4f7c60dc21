#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Generates the files that the sources need from properties.json: the constants for clients and servers, the names that
the component converts, the sample server's table, and the words that the tools show. docs/make_reference.py generates
the tables of the reference from the same file.

usage: make_properties.py [--check]

With --check it writes nothing and fails if a file is out of date.
"""
import json
import pathlib
import re
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADER = """/* SPDX-License-Identifier: MIT
 *
 * The properties of configuration objects by index, and the bits of masks, filters and modes, for C and C++. A property
 * is LXP_UNIT in both languages, and lx::Unit too in C++. models/make_properties.py generates this file from
 * models/properties.json.
 *
 * The component itself reads the properties marked with "*", so they mean the same with every server. Each server
 * defines the others; the comments give their meaning in the shipped model and the sample server.
 */
#ifndef LXPROPERTIES_H
#define LXPROPERTIES_H

/* In C++ the enumerations of bits have an underlying type that converts to LONG without a cast. */
#ifdef __cplusplus
#define LX_AS_INT : int
#else
#define LX_AS_INT
#endif

"""
INC_HEAD = ("// SPDX-License-Identifier: MIT\n"
            "// Generated from models/properties.json by models/make_properties.py.\n//\n")


def c_name(constant):
    """LXP_PPR_RELATION_TYPE for PPRRelationType."""
    words = re.sub(r"([A-Z]+)([A-Z][a-z])", r"\1_\2", constant)
    return "LXP_" + re.sub(r"([a-z])([A-Z])", r"\1_\2", words).upper()


def enumerators(rows):
    """The lines for rows of (assignment, comment), with a comma after all but the last assignment."""
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
        comment = textwrap.fill(f"/* {bits['meaning']}. */", 120, subsequent_indent=" * ")
        text += f"{comment}\nenum {bits['enumeration']} LX_AS_INT {{\n{enumerators(rows)}}};\n\n"
    text += "#undef LX_AS_INT\n\n#ifdef __cplusplus\nnamespace lx {\n"
    for kind in table["kinds"]:
        for p in kind["properties"]:
            text += f"inline constexpr int {p['constant']} = {c_name(p['constant'])};\n"
    return text + "} // namespace lx\n#endif\n\n#endif\n"


def names(table):
    """The names that the component converts. Kinds with the same "namesOf" share one set of names."""
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
    text = INC_HEAD + "// The properties of the sample server's objects: LX_KIND(kind, number of values), followed by\n"
    text += "// LX_PROPERTY(index, key in a model file or null, name for Get or null, default) for each property.\n"
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
    text = INC_HEAD + "// The words that tools show instead of numbers: LX_WORD(kind, index, number, text).\n"
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
