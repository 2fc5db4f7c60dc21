# SPDX-License-Identifier: MIT
"""lxcfc and the sample server in separate processes (Windows)."""
import os
import subprocess
import unittest

from program import EMULATOR, Model, PROGRAM, SOURCE, answer_of, file_of, lxcfc, main, regsvr32

PROGID, CLSID = "LXSampleServer.Server", "{02B778BC-C6BC-44BE-852B-053E6AB97509}"
FOLDER = os.path.dirname(PROGRAM)
# Only a part of the shipped model, because each answer of the server is a call between processes. To check all of it:
#   lxcfc check --edits 1000 --server LXSampleServer.Server
TYPES = ["PumpCentrifugal", "PumpScrew", "Area", "Site"]
EDITS = 300
MODULES = ["LXConfigFactoryCachePS", "LXSampleServerPS", "LXCfgCacheCallback"]


def part_of_the_model(cleanup):
    """A model file with some types, their bases, and the relations between them."""
    model = Model()
    kept = {name for entry in TYPES for name in [entry] + model.bases(entry)}
    part = dict(model.json, objects=[])
    part["types"] = [entry for entry in part["types"] if entry["name"] in kept]
    part["relations"] = [entry for entry in part["relations"] if {entry["parent"], entry["child"]} <= kept]
    return file_of(cleanup, part)


def server(*arguments):
    return EMULATOR + [os.path.join(FOLDER, "lxsampleserver.exe"), *arguments]


class Served(unittest.TestCase):
    @classmethod
    def serve(cls, *arguments):
        for module in MODULES:
            regsvr32(module)
        subprocess.run(server("--register"), check=True, timeout=120, stdin=subprocess.DEVNULL)
        cls.process = subprocess.Popen(server(*arguments), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, cwd=SOURCE)
        while b"ready" not in cls.process.stdout.readline():
            assert cls.process.poll() is None, "the server ended"

    @classmethod
    def tearDownClass(cls):
        subprocess.run(server("--stop"), check=True, timeout=120, stdin=subprocess.DEVNULL)
        cls.process.wait(timeout=60)  # not communicate(): a service that it started may keep the output open
        cls.process.stdout.close()
        subprocess.run(server("--unregister"), check=True, timeout=120, stdin=subprocess.DEVNULL)
        for module in MODULES:
            regsvr32(module, undo=True)


class OfAModel(Served):
    @classmethod
    def setUpClass(cls):
        cls.model = part_of_the_model(cls.addClassCleanup)
        cls.serve("--model", cls.model)

    def test_1_the_types_are_those_of_the_model(self):
        expected = answer_of("types", "--model", self.model)
        for name in (PROGID, CLSID):
            self.assertEqual(answer_of("types", "--server", name), expected)

    def test_2_no_difference_before_and_after_random_edits(self):
        answer = lxcfc("check", "--edits", str(EDITS), "--server", PROGID, "--json")
        self.assertEqual(answer.status, 0, answer)
        self.assertEqual(answer.json()["after"]["edits"], EDITS)

    def test_3_watch_waits_for_the_notification_of_its_edit(self):
        edit = '{"edit":"SetAttributeProperty","type":"Pump","name":"RatedFlow","index":2,"value":"x"}'
        answer = answer_of("watch", "--edit", edit, "--server", PROGID)
        self.assertEqual((answer["notification"], answer["mode"]), ("properties/Pump/2/512", 512))

    def test_4_the_contract_is_kept_between_processes(self):
        answer = lxcfc("verify-server", "--types", "3", "--no-start", "--server", PROGID, "--json")
        self.assertEqual(answer.status, 0, answer)
        reasons = {rule["rule"]: rule["reason"] for rule in answer.json()["notTestedRules"]}
        elsewhere = "the server is called through proxies: it runs in another process or apartment"
        self.assertEqual({rule for rule, reason in reasons.items() if reason == elsewhere},
                         {"references", "callback-kept", "callback-released"})


class OfAGeneratedModel(Served):
    @classmethod
    def setUpClass(cls):
        cls.serve("--generate", "9", "--component-objects")

    def test_the_types_are_those_that_every_process_generates(self):
        self.assertEqual(answer_of("types", "--server", PROGID), answer_of("types", "--generate", "9"))


if __name__ == "__main__":
    main()
