#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes plant.json, the shipped model: the configuration of a process plant's engineering database.

    python3 models/make_plant.py > models/plant.json

The output is deterministic. docs/sample-server.md explains the keys.
"""
import json
import sys

sys.dont_write_bytecode = True
from plant_types import BROWSERS, DOCUMENTS, PLAN, RELATIONS, PPR, TYPES, UNITS

CASES = ["Rated", "Normal", "Minimum", "Maximum", "StartUp", "Shutdown", "Turndown"]
COMPANY = 1  # origin of what the plant's owner added; 0 is the vendor


def words(name):
    """The label of a name: "SuctionPressure" becomes "Suction pressure"."""
    out = ""
    for i, c in enumerate(name):
        if c.isupper() and i and not name[i - 1].isupper():
            out += " " + c.lower()
        else:
            out += c
    return out


def unit_of(name):
    return next((unit for ending, unit in UNITS if name.endswith(ending)), "")


def number_attribute(name, group, case=None):
    a = {"name": name, "label": words(name), "group": group, "dataType": 5, "editor": True}
    if unit_of(name):
        a["unit"] = unit_of(name)
        a["formats"] = [{"formatType": 0, "pattern": "0.00", "width": 8}]
    if case in ("Minimum", "Maximum"):
        a["browser"] = False
    if case in (None, "Rated"):
        a["printable"] = True
    return a


def plain_attribute(spec, group):
    """A text ("Name"), a boolean ("Name?"), a date ("Name@"), a count ("Name#") or a choice ("Name=A|B")."""
    name, _, values = spec.partition("=")
    kind = name[-1] if name[-1] in "?@#" else ""
    name = name.rstrip("?@#")
    if unit_of(name) and not values and not kind:
        return number_attribute(name, group)
    a = {"name": name, "label": words(name), "group": group, "editor": True}
    if values:
        a["dataType"] = 6
        a["avSet"] = True
        a["types"] = [{"name": v, "label": words(v), "p1": i + 1} for i, v in enumerate(values.split("|"))]
    else:
        a["dataType"] = {"?": 3, "@": 4, "#": 1, "": 2}[kind]
        a["length"] = 0 if kind else 64
    return a


def finish(a, position):
    """Adds the properties that depend on the attribute's position in its type, and removes those with defaults."""
    a["position"] = position
    if position % 3 == 0:
        a["finder"] = True
    if position % 9 == 0:
        a["notInFinder"] = True
    if position % 4 == 3:
        a["origin"] = COMPANY
    return {k: v for k, v in a.items() if v != DEFAULTS.get(k)}


DEFAULTS = {"dataType": 2, "position": 1, "browser": True, "length": 0, "group": 0}


def make_type(name, base, options):
    groups = [{"number": 1, "page": 1, "label": "Identification"},
              {"number": 2, "page": 1, "label": "Technical data", "formats": [{"pattern": "two columns"}]}]
    attributes = [plain_attribute(spec, 1 if i < 4 else 2) for i, spec in enumerate(options.get("plain", []))]
    quantities = options.get("quantities", [])
    if quantities:
        groups.append({"number": 10, "page": 2, "label": "Operating data"})
        for number, case in enumerate(CASES, 11):
            groups.append({"number": number, "page": 2, "parent": 10, "label": case})
            attributes += [number_attribute(case + q, number, case) for q in quantities]
    pages = [{"number": 1, "label": "General"}] + ([{"number": 2, "label": "Operation"}] if quantities else [])
    t = {"name": name, "label": options.get("label", words(name))}
    if base:
        t["base"] = base
    t["table"] = "plant" + name.lower()
    t["icon"] = name.lower() + ".ico"
    for flag in ("listed", "searchable"):
        if flag in options:
            t[flag] = options[flag]
    t["pages"] = pages
    t["groups"] = groups
    t["attributes"] = [finish(a, i + 1) for i, a in enumerate(attributes)]
    t["editors"] = editors(name, options)
    return t


def editors(name, options):
    if options.get("listed") is False:
        return []
    e = [{"progId": "LxPlant.%sSheet" % name, "browser": "ProjectTree", "default": True, "menu": "Open sheet"},
         {"progId": "LxPlant.%sWizard" % name, "browser": "ProjectTree", "defaultNew": True, "menu": "New ..."}]
    if options.get("quantities"):
        e.append({"progId": "LxPlant.%sDiagram" % name, "browser": "FunctionalTree", "default": True,
                  "defaultNew": True, "menu": "Show in diagram"})
    if name in DOCUMENTS:
        e.append({"progId": "LxPlant.%sViewer" % name, "browser": "DocumentBrowser", "default": True})
    return e


def relations():
    out = []
    for child_list, pairs in RELATIONS.items():
        for parent, children in pairs.items():
            for i, child in enumerate(children.split()):
                browser = "DocumentBrowser" if child_list == "documents" else "FunctionalTree"
                infos = [{"browser": "ProjectTree", "label": words(child)}]
                if i % 2 == 0:
                    infos.append({"browser": browser, "new": 1})
                out.append({"parent": parent, "child": child, "list": child_list, "infos": infos})
    for number, (name, parent, child) in enumerate(PPR, 1):
        for reverse in (False, True):
            out.append({"parent": child if reverse else parent, "child": parent if reverse else child,
                        "list": name + ("_reverse" if reverse else ""), "ppr": number, "internal": reverse,
                        "infos": [{"browser": "SearchList"}]})
    return out


def global_specs():
    kinds = sorted({unit for _, unit in UNITS})
    return [{"id": "Format." + unit, "label": "Values in " + unit,
             "formats": [{"formatType": t, "pattern": p} for t, p in enumerate(["0.0", "0.000", "0.00E+0"])]}
            for unit in kinds]


def plan_objects():
    """The plan types: the current set, an obsolete one, and for each type the types that are allowed below it."""
    master = {"id": "planset-1", "type": "PlanTypeSet", "table": "lumbrixtypeset",
              "attributes": {"name": "Current", "master": 1}, "children": {"lumbrixtype": []}}
    old = {"id": "planset-0", "type": "PlanTypeSet", "table": "lumbrixtypeset",
           "attributes": {"name": "Before the merger", "master": 0}}
    out = [old, master]
    for name, (short, recursive, children) in PLAN.items():
        plan = {"id": "plan-" + name, "type": "PlanTypeEntry", "table": "lumbrixtype",
                "attributes": {"configtypename": name, "nameshort": short, "recursiv": recursive, "wscparent": 0}}
        for child in children.split():
            entry = "plan-%s-%s" % (name, child)
            plan.setdefault("children", {}).setdefault("lumbrixtypechild", []).append(entry)
            out.append({"id": entry, "type": "PlanTypeEntry", "table": "lumbrixtypechild",
                        "attributes": {"configtypename": child}})
        master["children"]["lumbrixtype"].append(plan["id"])
        out.append(plan)
    return out


def plant_objects():
    """A small plant: an area with two units of equipment."""
    site = {"id": "site", "type": "Site", "attributes": {"Name": "Riverside works"}, "children": {"nodes": ["A10"]}}
    area = {"id": "A10", "type": "Area", "attributes": {"Name": "Area 10"}, "children": {"nodes": []}}
    out = [site, area]
    items = [("P", "PumpCentrifugal", 3), ("V", "VesselHorizontal", 2), ("E", "ExchangerShellTube", 2),
             ("M", "MotorInduction", 3), ("FT", "TransmitterFlow", 2), ("FV", "ControlValve", 2)]
    for unit in ("U11", "U12"):
        node = {"id": unit, "type": "Unit", "attributes": {"Name": "Unit " + unit[1:]}, "children": {"nodes": []}}
        area["children"]["nodes"].append(unit)
        out.append(node)
        for prefix, kind, count in items:
            for i in range(1, count + 1):
                tag = "%s-%s%02d" % (prefix, unit[1:], i)
                node["children"]["nodes"].append(tag)
                out.append({"id": tag, "type": kind, "attributes": {"Name": tag, "TagNumber": tag}})
        for i in range(1, 4):
            out.append({"id": "R-%s%02d" % (unit[1:], i), "type": "PlantRelationship",
                        "attributes": {"relationname": "isDrivenBy"},
                        "ends": ["P-%s%02d" % (unit[1:], i), "M-%s%02d" % (unit[1:], i)]})
    return out


def write(value, depth=0):
    """JSON with one element per line: only arrays of several objects are split into lines."""
    pad = " " * (depth + 1)
    if isinstance(value, dict) and any(isinstance(v, list) and v and isinstance(v[0], dict) and len(v) > 1
                                       for v in value.values()):
        parts = ["%s: %s" % (json.dumps(k), write(v, depth + 1)) for k, v in value.items()]
        return "{" + (",\n" + pad).join(parts) + "}"
    if isinstance(value, list) and len(value) > 1 and isinstance(value[0], dict):
        return "[\n" + ",\n".join(pad + write(v, depth + 1) for v in value) + "]"
    return json.dumps(value, ensure_ascii=False)


def main():
    model = {
        "version": "12.3",
        "browserIds": [{"name": name, "label": label} for name, label in BROWSERS.items()],
        "types": [make_type(name, base, options) for name, (base, options) in TYPES.items()],
        "relations": relations(),
        "globalSpecs": global_specs(),
        "objects": plan_objects() + plant_objects(),
    }
    sys.stdout.reconfigure(encoding="utf-8", newline="\n")
    sys.stdout.write(write(model) + "\n")


main()
