# SPDX-License-Identifier: MIT
"""The check of cache against server: that it finds nothing where there is nothing, and something where there is."""
import unittest

from program import EMULATOR, Model, lxcfc, main

EDITS = "1000"


class Check(unittest.TestCase):
    def test_no_difference_before_and_after_random_edits(self):
        answer = lxcfc("check", "--edits", EDITS, "--seed", "2", "--json")
        self.assertEqual(answer.status, 0, answer)
        found = answer.json()
        attributes = sum(len(Model().attributes(name)) for name in Model().types)
        for comparison in (found, found["after"]):
            self.assertEqual(comparison["differences"], [])
            self.assertGreater(comparison["answersCompared"], attributes)
        self.assertEqual(found["after"]["edits"], int(EDITS))

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

    def test_a_generated_model(self):
        answer = lxcfc("check", "--generate", "40", "--edits", "50")
        self.assertEqual(answer.status, 0, answer)


if __name__ == "__main__":
    main()
