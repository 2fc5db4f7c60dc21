# SPDX-License-Identifier: MIT
"""What lxcfc finds in a configuration, and between two."""
import copy
import json
import os
import tempfile
import unittest

from program import SOURCE, Model, answer_of, lxcfc, main

FAULTY = {
    "browserIds": [{"name": "Tree"}, {"name": "tree"}],
    "types": [
        {"name": "A", "base": "B"}, {"name": "B", "base": "A"}, {"name": "C\x01"},
        {"name": "Part", "pages": [{"number": 1}],
         "groups": [{"number": 1, "page": 9}, {"number": 2, "parent": 8}],
         "attributes": [{"name": "x", "group": 7}, {"name": "X", "group": 1, "formats": [{"formatType": 1}]},
                        {"name": "Big", "group": 1, "types": [{"name": f"v{i}"} for i in range(201)]}],
         "editors": [{"progId": "P.E", "browser": "Nowhere"}]},
        {"name": "Sub", "base": "Part", "attributes": [{"name": "X"}, {"name": "big"}]}]}
FINDINGS = {
    ("error", "bases-in-a-circle", "A"), ("warning", "control-characters", "C\x01"),
    ("warning", "case-only", "browser tree"), ("warning", "case-only", "Part/x"), ("warning", "case-only", "Sub/big"),
    ("warning", "hidden-attribute", "Sub/X"), ("warning", "no-pattern", "Part/X/format 1"),
    ("warning", "missing-page", "Part/group 1"), ("warning", "missing-group", "Part/group 2"),
    ("warning", "missing-group", "Part/x"), ("warning", "unknown-browser", "Part/editor P.E"),
    ("note", "unused-page", "Part/page 1"), ("note", "unused-group", "Part/group 2"), ("note", "large", "Part/Big")}


class Faults(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(dir=os.path.join(SOURCE, "build"))
        self.addCleanup(self.folder.cleanup)

    def file(self, model, name="model.json"):
        path = os.path.join(self.folder.name, name)
        with open(path, "w", encoding="utf-8") as stream:
            json.dump(model, stream)
        return os.path.relpath(path, SOURCE)

    def test_every_fault_is_found_once(self):
        answer = lxcfc("doctor", "--json", "--model", self.file(FAULTY))
        self.assertEqual(answer.status, 1, answer)
        found = [(f["severity"], f["id"], f["object"]) for f in answer.json()["findings"]]
        self.assertEqual(set(found), FINDINGS)
        self.assertEqual(len(found), len(FINDINGS))
        shipped = lxcfc("doctor", "--json")
        self.assertEqual([f["object"] for f in shipped.json()["findings"]], ["Vessel/DesignCode"], shipped)
        notes = {"types": [{"name": "A", "pages": [{"number": 1}]}]}
        self.assertEqual(lxcfc("doctor", "--model", self.file(notes)).status, 0)

    def test_two_configurations(self):
        before = Model().json
        after = copy.deepcopy(before)
        types = {t["name"]: t for t in after["types"]}
        flow = next(a for a in types["Pump"]["attributes"] if a["name"] == "RatedFlow")
        flow["label"], flow["formats"] = "Flow", []
        after["types"].append({"name": "Pump-X", "base": "Pump", "attributes": [{"name": "New"}]})
        types["Vessel"]["groups"].append({"number": 99})
        del after["relations"][0]
        gone = before["relations"][0]
        files = ["models/plant.json", self.file(after)]
        answer = lxcfc("diff", *files, "--json")
        self.assertEqual(answer.status, 1, answer)
        found = answer.json()
        self.assertEqual(found["changed"], [{"kind": "attribute", "name": "Pump/RatedFlow", "property": "label",
                                             "before": "Rated flow", "after": "Flow"}])
        self.assertEqual({(r["kind"], r["name"], r["parts"]) for r in found["added"]},
                         {("type", "Pump-X", 1), ("group", "Vessel/group 99", 0)})
        removed = {(r["kind"], r["name"], r["parts"]) for r in found["removed"]}
        relation = "/".join([gone["parent"], gone["child"], gone["list"]])
        self.assertEqual(removed, {("format", "Pump/RatedFlow/format 0", 0),
                                   ("relation", relation, len(gone["infos"]))})
        self.assertRegex(lxcfc("diff", *files).out, r"(?m)^   attribute  Pump/RatedFlow  label +Rated flow  Flow$")
        self.assertFalse(answer_of("diff", files[0], files[0])["differs"])
        self.assertEqual(lxcfc("diff", files[0], "No.Such.Server").status, 2)


if __name__ == "__main__":
    main()
