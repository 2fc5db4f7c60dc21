# SPDX-License-Identifier: MIT
"""Graphs as text."""
import json
import os
import re
import tempfile
import unittest

from program import Model, answer_of, lxcfc, main


class Text(unittest.TestCase):
    def test_the_graph_of_relations_is_that_of_the_model(self):
        dot = lxcfc("graph", "relations").out
        expected = {(r["parent"], r["child"], r["list"]) for r in Model().json["relations"]}
        self.assertEqual(set(re.findall(r'^  "(.*)" -> "(.*)" \[label="(.*)"\];$', dot, re.M)), expected)
        self.assertEqual(set(re.findall(r'^  "([^"]*)" \[label=', dot, re.M)),
                         {name for edge in expected for name in edge[:2]})

    def test_a_part_of_it(self):
        graph = answer_of("graph", "types", "--root", "Equipment")
        self.assertEqual(sorted(n["name"] for n in graph["nodes"]),
                         sorted(["Equipment"] + Model().derived("Equipment")))
        self.assertEqual(lxcfc("graph", "types", "--root", "Nope").status, 2)

    def test_quotes_and_backslashes_in_names(self):
        with tempfile.TemporaryDirectory() as folder:
            model = os.path.join(folder, "quoted.json")
            with open(model, "w", encoding="utf-8") as file:
                json.dump({"types": [{"name": '<b>&amp;"quoted" \\ \'type\''}]}, file)
            dot = lxcfc("graph", "types", "--model", model).out
        self.assertIn('  "<b>&amp;\\"quoted\\" \\\\ \'type\'" [label=', dot)


if __name__ == "__main__":
    main()
