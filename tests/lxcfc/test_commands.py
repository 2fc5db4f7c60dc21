# SPDX-License-Identifier: MIT
"""The answers of the commands for the shipped model, and their failures."""
import os
import re
import unittest
import unittest.mock

from program import SOURCE, Model, answer_of, file_of, lxcfc, main

MODEL = Model()
TYPE = "PumpCentrifugal"
FLAGS = {"editor": "editor", "printable": "printable", "avset": "avSet"}


def flat(nodes):
    for node in nodes:
        yield node
        yield from flat(node.get("children", []))


class Types(unittest.TestCase):
    def test_the_tree_has_every_listed_type_below_its_base(self):
        answer = answer_of("types")
        listed = {n["name"] for n in flat(answer["tree"]) if "unlisted" not in n}
        self.assertEqual(listed, {n for n, t in MODEL.types.items() if t.get("listed", True)})
        for node in flat(answer["tree"]):
            for child in node.get("children", []):
                self.assertEqual(MODEL.types[child["name"]].get("base"), node["name"])

    def test_a_type_has_all_its_parts(self):
        answer = answer_of("type", TYPE)
        own = MODEL.types[TYPE]
        self.assertEqual(answer["bases"], MODEL.bases(TYPE))
        expected = MODEL.attributes(TYPE)
        self.assertEqual({a["name"] for a in answer["attributes"]}, set(expected))
        for attribute in answer["attributes"]:
            model = expected[attribute["name"]]
            for key, default in [("label", ""), ("unit", ""), ("group", 0)]:
                self.assertEqual(attribute[key], model.get(key, default), attribute["name"])
        for kind, key in [("pages", "number"), ("groups", "number"), ("editors", "progId")]:
            self.assertEqual([e[key] for e in answer[kind]], sorted(e[key] for e in own.get(kind, [])))

    def test_attributes_by_display(self):
        for display, flag in FLAGS.items():
            shown = sorted(n for n, a in MODEL.attributes(TYPE).items() if a.get(flag, False))
            answer = answer_of("attributes", TYPE, "--display", display)
            self.assertEqual([a["name"] for a in answer["attributes"]], shown, display)

    def test_derived_types(self):
        answer = answer_of("derived", "Equipment")
        self.assertEqual(answer["bases"], MODEL.bases("Equipment"))
        self.assertEqual(sorted(answer["derived"]), MODEL.derived("Equipment"))


class Others(unittest.TestCase):
    def test_relations(self):
        def triples(rows):
            return sorted((r["parent"], r["child"], r["list"]) for r in rows)
        area = [r for r in MODEL.json["relations"] if r["parent"] == "Area"]
        self.assertEqual(triples(answer_of("relations", "Area")["relations"]), triples(area))
        in_documents = [r for r in area if any(i["browser"] == "DocumentBrowser" for i in r["infos"])]
        answer = answer_of("relations", "Area", "--browser", "DocumentBrowser", "--filter", "no-ppr")
        self.assertEqual(triples(answer["relations"]), triples(in_documents))
        self.assertEqual(answer_of("relations", "Area", "Unit")["count"], 1)

    def test_browsers_and_formats(self):
        browsers = answer_of("browsers")["browsers"]
        self.assertEqual(browsers, sorted(MODEL.json["browserIds"], key=lambda b: b["name"]))
        specs = sum(len(s["formats"]) for s in MODEL.json["globalSpecs"])
        self.assertEqual(len(answer_of("formats")["formats"]), specs)
        of_type = sum(len(a.get("formats", [])) for a in MODEL.attributes(TYPE).values())
        self.assertEqual(len(answer_of("formats", TYPE)["formats"]), of_type)

    def test_get(self):
        for kind, name, prop, value in [
                ("attribute", TYPE + "/RatedFlow", "unit", "m³/h"),
                ("attribute", TYPE + "/RatedFlow", "4", "m³/h"),
                ("attribute", TYPE + "/RatedFlow", "LXCFG_attributename", "RatedFlow"),
                ("group", TYPE + "/10", "label", "Operating data"),
                ("relation", "Area/Unit/nodes", "child", "Unit"),
                ("spec", "Format.1%2Fmin", "label", "Values in 1/min"),
                ("specformat", "Format.%25/1", "pattern", "0.000"),
                ("attribute", TYPE + "/RatedFlow", "UNIT", "m³/h"),
                ("attribute", TYPE + "/RatedFlow", "Not in finder", False),  # as people see it
                ("attribute", TYPE + "/RatedFlow", "lxcfg_AttributeName", "RatedFlow"),
                ("type", "Vessel", "base", "Equipment")]:
            self.assertEqual(answer_of("get", kind, name, prop)["value"], value, name)

    def test_watch_says_what_a_notification_makes_stale(self):
        edit = '{"edit":"SetAttributeProperty","type":"Pump","name":"RatedFlow","index":2,"value":"x"}\n'
        answer = answer_of("watch", "--edit", "-", text=edit)
        self.assertEqual((answer["notification"], answer["mode"]), ("properties/Pump/2/512", 512))
        self.assertEqual(answer["stale"], ["attribute values", "attribute type values"])

    def test_stats_and_bench(self):
        def refilled(choice):  # never the automatic choice, which depends on the speed of the machine
            with unittest.mock.patch.dict(os.environ, LXREFILL=choice):
                return answer_of("stats")
        stats = refilled("never")
        self.assertEqual(stats["objects"]["types"], len(MODEL.types))
        self.assertEqual(stats["objects"]["relations"], len(MODEL.json["relations"]))
        self.assertGreater(stats["again"]["hitPercent"], 99)
        self.assertLess(stats["firstTime"]["hitPercent"], stats["again"]["hitPercent"])
        calls = {c["method"]: c["calls"] for c in stats["serverCalls"]}
        self.assertEqual(calls["ILXConfigFactoryEx::GetTypeArrayEx"], 1)
        alone = sum(stats["objects"][kind] for kind in ("formats", "PC infos", "browser ids", "format specs"))
        one_by_one, together = stats["afterNotification"], refilled("always")["afterNotification"]
        self.assertEqual((one_by_one["calls"], one_by_one["callsSaved"]), (one_by_one["objects"], 0))
        self.assertLessEqual(together["calls"], alone + 30)
        self.assertEqual(together["calls"] + together["callsSaved"], together["objects"])
        self.assertGreater(together["callsSaved"], 0)
        direct, first, again = answer_of("bench", "--types", "5")["runs"]
        self.assertGreater(direct["calls"], 100)
        self.assertEqual((first["calls"], again["calls"]), (0, 0))


class Graphs(unittest.TestCase):
    def test_the_graph_of_relations_is_that_of_the_model(self):
        dot = lxcfc("graph", "relations").out
        expected = {(r["parent"], r["child"], r["list"]) for r in MODEL.json["relations"]}
        self.assertEqual(set(re.findall(r'^  "(.*)" -> "(.*)" \[label="(.*)"\];$', dot, re.M)), expected)
        self.assertEqual(set(re.findall(r'^  "([^"]*)" \[label=', dot, re.M)),
                         {name for edge in expected for name in edge[:2]})

    def test_a_part_of_it(self):
        graph = answer_of("graph", "types", "--root", "Equipment")
        self.assertEqual(sorted(n["name"] for n in graph["nodes"]),
                         sorted(["Equipment"] + MODEL.derived("Equipment")))

    def test_quotes_and_backslashes_in_names(self):
        model = file_of(self.addCleanup, {"types": [{"name": '<b>&amp;"quoted" \\ \'type\''}]})
        dot = lxcfc("graph", "types", "--model", model).out
        self.assertIn('  "<b>&amp;\\"quoted\\" \\\\ \'type\'" [label=', dot)


class Program(unittest.TestCase):
    def test_an_error_is_one_line_and_exit_status_2(self):
        broken = file_of(self.addCleanup, {"types": [{"name": "A", "base": "B"}]})
        empty = os.path.join(os.path.dirname(broken), "empty.json")
        open(os.path.join(SOURCE, empty), "w", encoding="utf-8").close()
        none = file_of(self.addCleanup, {"types": []})
        for arguments, text in [
                (["type", "pump"], 'did you mean "Pump"\\?'),
                (["relations", "Area", "--browser", "tree"], 'no browser "tree"; did you mean "FunctionalTree" or'),
                (["relations", "Area", "Romo"], 'did you mean "Room"\\?'),
                (["relations", "Area", "--filter", "ppr", "--filter", "no-ppr"], "exclude each other"),
                (["attributes", TYPE, "--group", "99"], "has no group 99; it has: 1, 2, 10"),
                (["get", "attribute", TYPE + "/RatedFlwo"], 'did you mean "RatedFlow"\\?'),
                (["get", "attribute", TYPE + "/RatedFlow", "unti"], 'did you mean "unit"\\?'),
                (["get", "spec", "Format.1%2Fmim"], 'did you mean "Format.1/min"\\?'),
                (["types", "--model", "a.json", "--generate", "3"], "--model excludes --generate"),
                (["graph", "types", "--html", "--json"], "--json excludes --html"),
                (["graph", "types", "--root", "pumps"], 'did you mean "Pump", '),
                (["check", "--unnotified"], "--edits"),
                (["type", TYPE, "B", "C"], "unknown arguments: B C"),
                (["types", "--model", "models"], "models cannot be used: it is a folder"),
                (["types", "--model", empty], "the file is empty"),
                (["types", "--model", none], "it has no types"),
                (["types", "--names", "nothing.json"], "nothing.json cannot be read"),
                (["type", "Nope"], r'there is no type "Nope" \(GetType answered S_FALSE\)'),
                (["get", "attribute", TYPE + "/RatedFlow", "99"],
                 r'answered E_INVALIDARG: "property index \(99\) is out of range" in ROAssociations::Get \('),
                (["get", "editor", TYPE], "NAME is TYPE/PROGID"),
                (["watch", "--edit", '{"edit":"Nope"}'], 'there is no edit "Nope"'),
                (["watch"], "--edit"),
                (["types", "--model", "nothing.json"], "nothing.json cannot be used"),
                (["types", "--model", broken], "base type is unknown: B"),
                (["types", "--server", "No.Such.Server"], "No.Such.Server"),
                (["attributes", TYPE, "--display", "nope"], "--display"),
                (["typs"], "typs"),
                ([], "a command is needed")]:
            answer = lxcfc(*arguments)
            self.assertEqual(answer.status, 2, answer)
            self.assertRegex(answer.error, r"\Alxcfc: .*" + text + r".*\n\Z", answer)
            self.assertEqual(answer.out, "", answer)

    def test_help_version_and_reference_agree(self):
        with open(os.path.join(SOURCE, "CMakeLists.txt"), encoding="utf-8") as file:
            version = re.search(r"VERSION (\d+\.\d+\.\d+)", file.read()).group(1)
        self.assertEqual(lxcfc("--version").out, f"lxcfc {version}\n")
        listed = re.findall(r"^  ([\w-]+)  ", lxcfc("--help").out.split("Subcommands:")[1], re.M)
        with open(os.path.join(SOURCE, "docs", "lxcfc.md"), encoding="utf-8") as file:
            table = file.read().split("| Command | Answer |")[1].split("\n\n")[0]
        described = re.findall(r"^\| `([\w-]+)", table, re.M)
        self.assertEqual(sorted(listed), sorted(described))

    def test_people_see_words_and_counts(self):
        lines = [line.split() for line in lxcfc("formats", TYPE).out.splitlines() if "0.00" in line]
        formats = [f for a in MODEL.attributes(TYPE).values() for f in a.get("formats", [])]
        alike = sum(f == {"formatType": 0, "pattern": "0.00", "width": 8} for f in formats)
        self.assertEqual([line[:4] for line in lines], [["0", "0.00", "8", str(alike)]])
        people = lxcfc("get", "attribute", TYPE + "/RatedFlow").out
        self.assertRegex(people, r"(?m)^   Data type\s+number$")
        self.assertRegex(people, r"(?m)^   Property 29\s+yes$")
        self.assertEqual(answer_of("types", "--root", "Pump")["types"], 1 + len(MODEL.derived("Pump")))
        self.assertIsInstance(answer_of("bench", "--types", "2")["timesFaster"], float)

    def test_people_see_the_same_as_programs(self):
        out = lxcfc("type", TYPE).out
        for row in answer_of("type", TYPE)["attributes"]:
            self.assertRegex(out, rf"(?m)^   {re.escape(row['name'])}\s.*{re.escape(row['unit'])}", row["name"])
        self.assertNotIn("\x1b", out)
        self.assertIn("\x1b[1m", lxcfc("type", TYPE, "--colours", "always").out)


if __name__ == "__main__":
    main()
