#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Creates a database for the SQLite server from a model file of the sample server.

usage: make_database.py MODEL.json DATABASE
"""
import json
import pathlib
import sqlite3
import sys

# For each kind: the property names of model files, and the columns for them.
TYPES = {"name": "name", "base": "base", "label": "label", "description": "description", "table": "table_name",
         "icon": "icon", "searchable": "searchable", "listed": "listed"}
GROUPS = {"number": "number", "page": "page", "parent": "parent", "label": "label"}
EDITORS = {"progId": "prog_id", "browser": "browser", "default": "is_default", "defaultNew": "is_default_new",
           "menu": "menu"}
ATTRIBUTES = {"name": "name", "dataType": "data_type", "label": "label", "unit": "unit", "description": "description",
              "position": "position", "browser": "in_browser", "editor": "in_editor", "finder": "in_finder",
              "notInFinder": "not_in_finder", "avSet": "in_av_set", "printable": "printable", "length": "length",
              "minimum": "minimum", "maximum": "maximum", "group": "group_number", "default": "default_value",
              "origin": "origin"}
ATTRIBUTE_TYPES = {"name": "name", "label": "label", "p1": "data_type"}
FORMATS = {"formatType": "format_type", "pattern": "pattern", "width": "width"}
RELATIONS = {"parent": "parent", "child": "child", "list": "list", "ppr": "ppr", "internal": "internal"}
INFOS = {"browser": "browser", "label": "label", "new": "is_new"}
NAMED = {"name": "name", "id": "id", "label": "label"}


def insert(database, table, element, columns, **keys):
    """Inserts a row: the element's properties, and the keys of the element that it belongs to."""
    row = dict(keys, **{columns[name]: value for name, value in element.items() if name in columns})
    unknown = {name for name, value in element.items() if name not in columns and not isinstance(value, list)}
    if unknown:
        raise ValueError(f"{table} has no column for {', '.join(sorted(unknown))}")
    database.execute(f"INSERT INTO {table} ({', '.join(row)}) VALUES ({', '.join('?' * len(row))})",
                     list(row.values()))


def insert_type(database, element):
    name = element["name"]
    insert(database, "type", element, TYPES)
    for page in element["pages"]:
        insert(database, "page", page, {"number": "number", "label": "label"}, type=name)
    for group in element["groups"]:
        insert(database, "attribute_group", group, GROUPS, type=name)
        for form in group.get("formats", []):
            insert(database, "group_format", {k: v for k, v in form.items() if k != "formatType"}, FORMATS, type=name,
                   group_number=group["number"])
    for editor in element["editors"]:
        insert(database, "editor", editor, EDITORS, type=name)
    for attribute in element["attributes"]:
        insert(database, "attribute", attribute, ATTRIBUTES, type=name)
        for kind in attribute.get("types", []):
            insert(database, "attribute_type", kind, ATTRIBUTE_TYPES, type=name, attribute=attribute["name"])
        for form in attribute.get("formats", []):
            insert(database, "attribute_format", form, FORMATS, type=name, attribute=attribute["name"])


def fill(database, model):
    for browser in model["browserIds"]:
        insert(database, "browser_id", browser, NAMED)
    for element in model["types"]:
        insert_type(database, element)
    for relation in model["relations"]:
        insert(database, "relation", relation, RELATIONS)
        for info in relation.get("infos", []):
            insert(database, "pc_info", info, INFOS, parent=relation["parent"], child=relation["child"],
                   list=relation["list"])
    for spec in model["globalSpecs"]:
        insert(database, "global_spec", spec, NAMED)
        for form in spec["formats"]:
            insert(database, "global_spec_format", form, FORMATS, spec=spec["id"])


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    model = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
    schema = pathlib.Path(__file__).with_name("schema.sql").read_text(encoding="utf-8")
    for suffix in ("", "-wal", "-shm"):
        pathlib.Path(sys.argv[2] + suffix).unlink(missing_ok=True)
    database = sqlite3.connect(sys.argv[2])
    database.executescript(schema)
    with database:
        fill(database, model)
    database.close()


if __name__ == "__main__":
    main()
