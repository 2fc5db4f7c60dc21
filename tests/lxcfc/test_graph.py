# SPDX-License-Identifier: MIT
"""Graphs: as text, and the page in a headless browser."""
import json
import os
import pathlib
import re
import sys
import tempfile
import unittest

import chromium
from program import SOURCE, Model, answer_of, lxcfc, main

HOSTILE = ['<b>&amp;"quoted" \\ \'type\'', "</script><script>alert(1)</script>", "<!--", "@DATA@ {}[]"]


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


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if not chromium.is_installed():
            raise unittest.SkipTest("there is no chromium")
        cls.folder = tempfile.TemporaryDirectory()
        cls.browser = chromium.Browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.__exit__()
        cls.folder.cleanup()

    def page(self, *arguments):
        file = os.path.join(self.folder.name, "page.html")
        answer = lxcfc("graph", *arguments, "--html", "--output", file)
        self.assertEqual(answer.status, 0, answer)
        self.browser.open(pathlib.Path(file).as_uri())
        return self.browser

    def view(self):
        numbers = self.browser.run("return document.getElementById('view').getAttribute('transform')")
        return [float(n) for n in re.findall(r"-?[\d.]+(?:e-?\d+)?", numbers)]

    def chosen(self):
        return self.browser.run("const c = document.querySelectorAll('.node.chosen');"
                                "return c.length === 1 ? c[0].querySelector('text').textContent : c.length")

    def test_2000_types(self):
        page = self.page("types", "--generate", "2000")
        tree = answer_of("graph", "types", "--generate", "2000")
        self.assertGreater(len(tree["nodes"]), 1900)  # the others are neither listed nor anybody's base
        count = "return document.querySelectorAll(arguments[0]).length"
        self.assertEqual(page.run(count, ".node"), len(tree["nodes"]))
        self.assertEqual(page.run(count, ".edge"), len(tree["edges"]))
        overlapping = page.run("""
            const boxes = [...document.querySelectorAll('.node')].map(n => n.getAttribute('transform'));
            return boxes.length - new Set(boxes).size;""")
        self.assertEqual(overlapping, 0)

        x, y, scale = self.view()
        page.keys("+")
        self.assertGreater(self.view()[2], scale)
        page.keys("0")
        self.assertEqual(self.view(), [x, y, scale])
        page.drag((400, 400), (480, 430))
        self.assertEqual(self.view(), [x + 80, y + 30, scale])

        page.keys("/")
        wanted = tree["nodes"][1234]["name"]
        page.keys(wanted)
        self.assertEqual(self.chosen(), wanted)
        self.assertEqual(page.run("return document.getElementById('status').textContent"), "1 of 1")
        place = page.run("""
            const box = document.querySelector('.node.chosen').getBoundingClientRect();
            const svg = document.getElementById('graph').getBoundingClientRect();
            return [box.x + box.width / 2 - svg.x - svg.width / 2, box.y + box.height / 2 - svg.y - svg.height / 2];""")
        self.assertLess(max(map(abs, place)), 5)  # in the middle
        self.assertEqual(page.run("return document.querySelector('#details h2').textContent"), wanted)
        self.assertEqual(page.problems(), [])

    def test_search_goes_from_match_to_match(self):
        page = self.page("relations")
        page.type("#search", "pump")
        first = self.chosen()
        page.type("#search", "\ue007")  # Enter
        self.assertNotEqual(self.chosen(), first)
        self.assertIn("Pump", self.chosen())
        page.run("document.querySelector('#details a').click()")
        self.assertNotIn("Pump", self.chosen())
        self.assertEqual(page.problems(), [])

    def test_names_are_text_whatever_they_are(self):
        model = os.path.join(self.folder.name, "hostile.json")
        with open(model, "w", encoding="utf-8") as file:
            json.dump({"types": [{"name": name, "label": name + "'s label"} for name in HOSTILE]}, file)
        page = self.page("types", "--model", model)
        names = page.run("return [...document.querySelectorAll('.node text')].map(t => t.textContent)")
        self.assertEqual(sorted(names), sorted(HOSTILE))
        self.assertEqual(page.run("return document.querySelectorAll('script').length"), 2)
        self.assertEqual(page.problems(), [])
        dot = lxcfc("graph", "types", "--model", model).out
        self.assertIn('  "<b>&amp;\\"quoted\\" \\\\ \'type\'" [label=', dot)

    def test_nothing_is_loaded_from_elsewhere(self):
        page = self.page("types")
        self.assertEqual(page.run("return performance.getEntriesByType('resource').length"), 0)


if __name__ == "__main__":
    if "Page" in sys.argv and not chromium.is_installed():
        print("there is no chromium")
        sys.exit(77)
    main()
