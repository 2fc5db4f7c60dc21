# SPDX-License-Identifier: MIT
"""The output and exit status of lxcfc verify-server. tests/verify tests the rules themselves."""
import os
import pathlib
import unittest
import unittest.mock

from program import EMULATOR, SOURCE, answer_of, lxcfc, main

MINIMAL = os.environ["LXCFC_MINIMAL"]
FAULTY = os.environ["LXCFC_FAULTY"]
FEW = ("--generate", "12")


class VerifyServer(unittest.TestCase):
    def test_a_server_library_keeps_all_rules_and_the_documents_list_them(self):
        answer = answer_of("verify-server", "--rules", "--server", MINIMAL)
        self.assertEqual((answer["broken"], answer["types"]), (0, 2))
        self.assertEqual([rule["rule"] for rule in answer["rules"] if rule["verdict"] == "not tested"],
                         ["null-objects", "enum-clone"])
        self.assertEqual([rule["reason"] for rule in answer["notTestedRules"]],
                         ["every record comes with its object", "no enumeration offers Clone"])
        manual, guide = (pathlib.Path(SOURCE, "docs", name).read_text("utf-8") for name in ("lxcfc.md", "guide.md"))
        for rule in answer["rules"]:
            self.assertIn("| `{rule}` | {severity} | {guide} | {sentence} |".format(**rule), manual)
            self.assertIn(f"`{rule['rule']}`", guide)
        speed = {row["method"]: row for row in answer["speed"]}
        self.assertEqual(speed["GetTypeArrayEx mode 0"]["calls"], 1)
        self.assertEqual(answer_of("doctor", "--server", MINIMAL)["findings"], [])

    def test_the_cache_shows_what_servers_of_the_kit_have(self):
        for library in filter(None, (MINIMAL, os.environ.get("LXCFC_SQLITE"))):
            check = answer_of("check", "--server", library)
            self.assertEqual(check["differences"], [])
            self.assertGreater(check["answersCompared"], 50)
            self.assertNotIn("notOffered", check)

    def test_the_costs_of_a_start_are_estimated_and_measured(self):
        starts = {row["mode"]: row for row in answer_of("verify-server", *FEW)["starts"]}
        self.assertEqual(sorted(starts), [0, 1, 2, 4, 8, 15])
        for row in starts.values():
            self.assertEqual(row["startCalls"], row["startCallsEstimated"])
            self.assertLessEqual(row["allCalls"], row["allCallsEstimated"])
            self.assertGreater(row["startMilliseconds"], 0)
        self.assertEqual(starts[15]["allCalls"], 5)
        self.assertGreater(starts[0]["allCalls"], 30)

    def test_a_broken_rule_is_an_exit_status_of_1(self):
        answer = lxcfc("verify-server", "--no-start", "--wait", "0.2", "--edit-command", "cd .", *FEW, "--json")
        self.assertEqual(answer.status, 1, answer)
        self.assertEqual([rule["rule"] for rule in answer.json()["brokenRules"]], ["notify-sent"])
        text = lxcfc("verify-server", "--no-start", "--wait", "0.2", "--edit-command", "cd .", *FEW).out
        self.assertIn("notify-sent: the first edit: came", text)

    def test_an_edit_that_fails_is_an_error(self):
        ends = {"exit 3": "ended with status 3"}
        if not EMULATOR:
            ends.update({"no-such-program": "ended with status 127", "kill -9 $$": "was ended by signal 9"})
        for command, end in ends.items():
            answer = lxcfc("verify-server", "--edit-command", command, *FEW)
            self.assertEqual(answer.status, 2, answer)
            self.assertIn("the edit command " + end, answer.error)

    def test_exceptions_in_a_library_are_shown(self):
        answer = lxcfc("verify-server", "--no-start", "--server", FAULTY)
        self.assertEqual(answer.status, 2, answer)
        self.assertIn('LXEditServer answered E_INVALIDARG: "the model has no attribute Pump/Weight"\n', answer.error)
        with unittest.mock.patch.dict(os.environ, LX_FAULTY="creation"):
            answer = lxcfc("types", "--server", FAULTY)
        self.assertEqual(answer.status, 2, answer)
        self.assertIn('LXConnectServer answered E_FAIL: "the catalogue of Mül is locked"\n', answer.error)

    def test_a_call_that_takes_too_long_ends_the_verification(self):
        answer = lxcfc("verify-server", "--delay", "1000", "--limit", "0.2", *FEW, "--json")
        self.assertEqual(answer.status, 1, answer)
        self.assertEqual(answer.json()["hanging"], "GetTypeArrayEx(0)")
        self.assertEqual([rule["rule"] for rule in answer.json()["brokenRules"]], ["in-time"])
        self.assertIn("the verification ended", answer.json()["notTestedRules"][-1]["reason"])


if __name__ == "__main__":
    main()
