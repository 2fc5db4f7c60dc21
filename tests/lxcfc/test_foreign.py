# SPDX-License-Identifier: MIT
"""lxcfc in front of a server that is not the sample server: what it shows, what it refuses, whose names it uses."""
import contextlib
import json
import os
import subprocess
import tempfile
import unittest

from program import EMULATOR, PROGRAM, SOURCE, lxcfc, main, regsvr32

LIBRARY = os.environ["LXCFC_LIBRARY"]
PROGID = "LXHandServer.Catalogue" if EMULATOR else LIBRARY
CLSID = "{5A1C63D0-2F0E-4B61-9D2C-7710E45BA831}"
NO_QUERY = "lxcfc: the server offers no ILX_Query: no plan types\n"


@contextlib.contextmanager
def server(wish=""):
    """The server, in a process of its own where COM finds it there."""
    if not EMULATOR:
        os.environ["LX_HANDSERVER"] = wish
        try:
            yield
        finally:
            del os.environ["LX_HANDSERVER"]
        return
    process = subprocess.Popen(EMULATOR + [os.path.join(os.path.dirname(PROGRAM), "lxhandserver.exe"), wish],
                               stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    try:
        assert b"ready" in process.stdout.readline()
        yield
    finally:
        process.stdin.close()
        process.wait(timeout=60)  # not for the end of its output, which a service that it started may have open too
        process.stdout.close()


class Foreign(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if EMULATOR:
            regsvr32("LXConfigFactoryCachePS")

    @classmethod
    def tearDownClass(cls):
        if EMULATOR:
            regsvr32("LXConfigFactoryCachePS", undo=True)

    def answer(self, *arguments, error=NO_QUERY):
        answer = lxcfc(*arguments, "--server", PROGID, "--json")
        self.assertEqual((answer.status, answer.error), (0, error), answer)
        return answer.json()

    def refusal(self, *arguments):
        answer = lxcfc(*arguments, "--server", PROGID)
        self.assertEqual((answer.status, answer.out), (2, ""), answer)
        return answer.error

    def test_what_it_shows(self):
        with server():
            tree = self.answer("types")["tree"]
            self.assertEqual([tree[0]["name"]] + [n["name"] for n in tree[0]["children"]], ["Item", "Bolt", "Washer"])
            for other in [LIBRARY] + ([CLSID] if EMULATOR else []):
                self.assertEqual(lxcfc("types", "--server", other, "--json").json()["tree"], tree)
            self.assertEqual(lxcfc("diff", LIBRARY, PROGID).status, 0)
            attributes = self.answer("type", "Bolt")["attributes"]
            self.assertEqual([a["name"] for a in attributes], ["Code", "Thread", "Weight"])
            self.assertEqual(self.answer("get", "attribute", "Bolt/Weight", "3")["value"], "Miller")
            self.assertEqual(self.answer("derived", "Item")["derived"], ["Bolt", "Washer"])
            self.assertEqual(len(self.answer("graph", "types")["edges"]), 2)

            check = self.answer("check")
            self.assertEqual((check["differing"], check["notOffered"]), (0, ["GetSearchableTypeEnum"]))
            self.assertGreater(check["answersCompared"], 30)
            self.assertEqual(self.answer("doctor")["findings"], [])
            stats = self.answer("stats")
            self.assertEqual(stats["objects"]["attributes"], 3)
            self.assertNotIn("serverObjectsHeld", stats)
            self.assertEqual([set(row) for row in self.answer("bench")["runs"]], [{"reads", "milliseconds"}] * 3)

    def test_what_the_sample_server_alone_can_do_is_refused(self):
        with server():
            for option, arguments in [("--edit", ["watch", "--edit", "{}"]), ("--random", ["watch", "--random", "1"]),
                                      ("--edits", ["check", "--edits", "1"]), ("--delay", ["types", "--delay", "1"])]:
                self.assertIn(f"{option} needs the sample server", self.refusal(*arguments))

    def test_notifications(self):
        with server("edits"):
            answer = lxcfc("watch", "--seconds", "2", "--server", PROGID, "--json")
        seen = [json.loads(line) for line in answer.out.splitlines()]
        self.assertGreater(len(seen), 3, answer)
        self.assertEqual({(n["notification"], n["mode"]) for n in seen}, {("properties/Item/3/512", 512)})
        self.assertIn("attribute values", seen[0]["stale"])

    def test_a_server_without_notifications(self):
        with server("silent"):
            missing = "neither ILX_Query nor ILXDataUpdate: no plan types, and changes are not noticed"
            self.answer("check", error=f"lxcfc: the server offers {missing}\n")
            self.assertIn("there is nothing to watch", self.refusal("watch"))

    def test_a_library_that_cannot_be_used_is_said_to_be(self):
        for name, why in [("build/none.so", "cannot be used: "), ("build/none.dll", "cannot be used: "),
                          (os.path.join(os.path.dirname(LIBRARY), "LXError32" + LIBRARY[LIBRARY.rindex("."):]),
                           "it does not export LXConnectServer"), ("No.Such", "there is no server registered as No.Such")]:
            answer = lxcfc("types", "--server", name)
            self.assertEqual(answer.status, 2, answer)
            self.assertIn(why, answer.error)

    def test_in_process_references_are_proved_too(self):
        answer = lxcfc("verify-server", "--rules", "--no-start", "--server", LIBRARY, "--json").json()
        verdicts = {rule["rule"]: rule["verdict"] for rule in answer["rules"]}
        for rule in ["callback-kept", "callback-released", "references", "null-objects"]:
            self.assertEqual(verdicts[rule], "kept", answer)
        self.assertIn("failure-null: GetSearchableTypeEnum()", [f["path"] for f in answer["findings"]])

    def test_names_of_its_own(self):
        with server(), tempfile.NamedTemporaryFile("w", suffix=".json", dir=SOURCE + "/build") as file:
            own = {"index": 3, "key": "supplier", "words": {"1": "one"}}
            json.dump({"kinds": [{"kind": "Attribute", "properties": [own]}]}, file)
            file.flush()
            names = ["--names", os.path.relpath(file.name, SOURCE)]
            self.assertEqual(self.answer("get", "attribute", "Bolt/Weight", "SUPPLIER", *names)["value"], "Miller")
            values = self.answer("get", "attribute", "Bolt/Weight", *names)["values"]
            self.assertEqual((values["supplier"], values["editor"]), ("Miller", True))
            self.assertNotIn("unit", values)  # the shipped model's
            self.assertIn('no property "supplyer" of this kind; did you mean "supplier"?',
                          self.refusal("get", "attribute", "Bolt/Weight", "supplyer", *names))
            self.assertEqual(set(self.answer("attributes", "Bolt", *names)["attributes"][0]),
                             {"name", "group", "shown"})


if __name__ == "__main__":
    main()
