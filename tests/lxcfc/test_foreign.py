# SPDX-License-Identifier: MIT
"""lxcfc with a server other than the sample server: what it shows, what it refuses, and which names it uses."""
import json
import os
import unittest
import unittest.mock

from program import file_of, lxcfc, main

LIBRARY = os.environ["LXCFC_LIBRARY"]
NO_QUERY = "lxcfc: the server offers no ILX_Query: no plan types\n"


def server(behaviour):
    """Selects the behaviour of the server in the library, which reads this variable when it is loaded."""
    return unittest.mock.patch.dict(os.environ, LX_HANDSERVER=behaviour)


class Foreign(unittest.TestCase):
    def answer(self, *arguments, error=NO_QUERY):
        answer = lxcfc(*arguments, "--server", LIBRARY, "--json")
        self.assertEqual((answer.status, answer.error), (0, error), answer)
        return answer.json()

    def refusal(self, *arguments):
        answer = lxcfc(*arguments, "--server", LIBRARY)
        self.assertEqual((answer.status, answer.out), (2, ""), answer)
        return answer.error

    def test_what_it_shows(self):
        tree = self.answer("types")["tree"]
        self.assertEqual([tree[0]["name"]] + [n["name"] for n in tree[0]["children"]], ["Item", "Bolt", "Washer"])
        self.assertEqual(lxcfc("diff", LIBRARY, LIBRARY).status, 0)
        attributes = self.answer("type", "Bolt")["attributes"]
        self.assertEqual([a["name"] for a in attributes], ["Code", "Thread", "Weight"])
        self.assertEqual(self.answer("get", "attribute", "Bolt/Weight", "3")["value"], "Miller")
        check = self.answer("check")
        self.assertEqual((check["differing"], check["notOffered"]), (0, ["GetSearchableTypeEnum"]))
        self.assertGreater(check["answersCompared"], 30)
        self.assertEqual(self.answer("doctor")["findings"], [])
        stats = self.answer("stats")
        self.assertEqual(stats["objects"]["attributes"], 3)
        self.assertNotIn("serverObjectsHeld", stats)
        self.assertEqual([set(row) for row in self.answer("bench")["runs"]], [{"reads", "milliseconds"}] * 3)

    def test_options_for_the_sample_server_are_refused(self):
        for option, arguments in [("--edit", ["watch", "--edit", "{}"]), ("--random", ["watch", "--random", "1"]),
                                  ("--edits", ["check", "--edits", "1"]), ("--delay", ["types", "--delay", "1"])]:
            self.assertIn(f"{option} works only with the sample server", self.refusal(*arguments))

    def test_notifications(self):
        with server("edits"):
            answer = lxcfc("watch", "--seconds", "2", "--server", LIBRARY, "--json")
        seen = [json.loads(line) for line in answer.out.splitlines()]
        self.assertGreater(len(seen), 3, answer)
        self.assertEqual({(n["notification"], n["mode"]) for n in seen}, {("properties/Item/3/512", 512)})
        self.assertIn("attribute values", seen[0]["stale"])

    def test_a_server_without_notifications(self):
        with server("silent"):
            missing = "neither ILX_Query nor ILXDataUpdate: no plan types, and changes are not noticed"
            self.answer("check", error=f"lxcfc: the server offers {missing}\n")
            self.assertIn("there is nothing to watch", self.refusal("watch"))

    def test_a_library_that_cannot_be_used_is_an_error(self):
        for name, why in [("build/none.so", "cannot be used: "), ("build/none.dll", "cannot be used: "),
                          (os.path.join(os.path.dirname(LIBRARY), "LXError32" + LIBRARY[LIBRARY.rindex("."):]),
                           "it does not export LXConnectServer"), ("No.Such", "there is no server registered as No.Such")]:
            answer = lxcfc("types", "--server", name)
            self.assertEqual(answer.status, 2, answer)
            self.assertIn(why, answer.error)

    def test_references_are_verified_in_process(self):
        answer = lxcfc("verify-server", "--rules", "--no-start", "--server", LIBRARY, "--json").json()
        verdicts = {rule["rule"]: rule["verdict"] for rule in answer["rules"]}
        for rule in ["callback-kept", "callback-released", "references", "null-objects"]:
            self.assertEqual(verdicts[rule], "kept", answer)
        self.assertIn("failure-null: GetSearchableTypeEnum()", [f["path"] for f in answer["findings"]])

    def test_property_names_of_its_own(self):
        own = {"index": 3, "key": "supplier", "words": {"1": "one"}}
        kinds = {"kinds": [{"kind": "Attribute", "properties": [own]}]}
        names = ["--names", file_of(self.addCleanup, kinds)]
        self.assertEqual(self.answer("get", "attribute", "Bolt/Weight", "SUPPLIER", *names)["value"], "Miller")
        values = self.answer("get", "attribute", "Bolt/Weight", *names)["values"]
        self.assertEqual((values["supplier"], values["editor"]), ("Miller", True))
        self.assertNotIn("unit", values)  # the shipped model's
        self.assertIn('no property "supplyer" of this kind; did you mean "supplier"?',
                      self.refusal("get", "attribute", "Bolt/Weight", "supplyer", *names))
        self.assertEqual(set(self.answer("attributes", "Bolt", *names)["attributes"][0]), {"name", "group", "shown"})


if __name__ == "__main__":
    main()
