# SPDX-License-Identifier: MIT
"""The faults that lxcfc finds in one configuration, between two, and between cache and server."""
import copy
import os
import unittest
import unittest.mock

from program import Model, answer_of, file_of, lxcfc, main

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
    def test_every_fault_is_found_once(self):
        answer = lxcfc("doctor", "--json", "--model", file_of(self.addCleanup, FAULTY))
        self.assertEqual(answer.status, 1, answer)
        found = [(f["severity"], f["id"], f["object"]) for f in answer.json()["findings"]]
        self.assertEqual(set(found), FINDINGS)
        self.assertEqual(len(found), len(FINDINGS))
        shipped = lxcfc("doctor", "--json")
        self.assertEqual([f["object"] for f in shipped.json()["findings"]], ["Vessel/DesignCode"], shipped)
        with unittest.mock.patch.dict(os.environ, LX_FAULTY="names"):
            names = lxcfc("doctor", "--server", os.environ["LXCFC_FAULTY"], "--json").json()["findings"]
        self.assertEqual([(f["id"], f["object"]) for f in names if f["severity"] == "error"],
                         [("missing-base", "Stray"), ("unknown-type", "relation Part/Nothing/parts")])
        notes = {"types": [{"name": "A", "pages": [{"number": 1}]}]}
        self.assertEqual(lxcfc("doctor", "--model", file_of(self.addCleanup, notes)).status, 0)

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
        files = ["models/plant.json", file_of(self.addCleanup, after)]
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


class Check(unittest.TestCase):
    def test_no_difference_before_and_after_random_edits(self):
        answer = lxcfc("check", "--edits", "1000", "--seed", "2", "--json")
        self.assertEqual(answer.status, 0, answer)
        found = answer.json()
        attributes = sum(len(Model().attributes(name)) for name in Model().types)
        for comparison in (found, found["after"]):
            self.assertEqual(comparison["differences"], [])
            self.assertGreater(comparison["answersCompared"], attributes)
        self.assertEqual(found["after"]["edits"], 1000)

    def test_a_stale_cache_is_found_and_its_differences_are_named(self):
        arguments = ["check", "--edits", "10", "--unnotified"]
        answer = lxcfc(*arguments, "--json")
        self.assertEqual(answer.status, 1, answer)
        found = answer.json()
        self.assertEqual(found["differences"], [])
        differences = found["after"]["differences"]
        self.assertEqual(len(differences), found["after"]["differing"])
        self.assertGreater(len(differences), 5)
        for difference in differences:
            self.assertNotEqual(difference["cache"], difference["server"], difference)
        people = lxcfc(*arguments)
        self.assertEqual(people.status, 1, people)
        for difference in differences:
            self.assertIn(f"   {difference['path']}: cache ", people.out)


if __name__ == "__main__":
    main()
