# SPDX-License-Identifier: MIT
"""lxcfc verify-server: what it prints, and how it ends. The rules themselves are tested in tests/verify."""
import unittest

from program import answer_of, lxcfc, main

FEW = ("--generate", "12")


class VerifyServer(unittest.TestCase):
    def test_the_sample_server_keeps_all_rules(self):
        answer = answer_of("verify-server", "--rules", *FEW)
        self.assertEqual((answer["broken"], answer["types"]), (0, 12))
        self.assertEqual([rule["rule"] for rule in answer["rules"] if rule["verdict"] == "not tested"], ["enum-clone"])
        self.assertEqual(answer["notTestedRules"][0]["reason"], "no enumeration offers Clone")
        speed = {row["method"]: row for row in answer["speed"]}
        self.assertEqual(speed["GetTypeArrayEx mode 0"]["calls"], 1)

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
        answer = lxcfc("verify-server", "--edit-command", "exit 3", *FEW)
        self.assertEqual(answer.status, 2, answer)
        self.assertIn("the edit command ended with status", answer.error)

    def test_a_call_that_takes_too_long_ends_it(self):
        answer = lxcfc("verify-server", "--delay", "1000", "--limit", "0.2", *FEW, "--json")
        self.assertEqual(answer.status, 1, answer)
        self.assertEqual(answer.json()["hanging"], "GetTypeArrayEx(0)")


if __name__ == "__main__":
    main()
