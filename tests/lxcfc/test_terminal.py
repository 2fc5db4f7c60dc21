# SPDX-License-Identifier: MIT
"""The output of lxcfc to terminals, pipes and files, and its shell completion (Linux)."""
import fcntl
import os
import pty
import re
import struct
import subprocess
import termios
import unittest

from program import PROGRAM, SOURCE, file_of, lxcfc, main

HOSTILE = "Red\x1b[31m\nline\x9b2J\u202e"


def on_terminal(columns, *arguments, **environment):
    """The output to a terminal of the given width."""
    ours, its = pty.openpty()
    fcntl.ioctl(its, termios.TIOCSWINSZ, struct.pack("HHHH", 40, columns, 0, 0))
    process = subprocess.Popen([PROGRAM, *arguments], stdin=subprocess.DEVNULL, stdout=its, cwd=SOURCE,
                               env={**os.environ, **environment})
    os.close(its)
    out = b""
    try:
        while chunk := os.read(ours, 65536):
            out += chunk
    except OSError:
        pass  # the program has ended
    os.close(ours)
    assert process.wait(timeout=60) == 0
    return out.decode("utf-8").replace("\r\n", "\n")


class Terminal(unittest.TestCase):
    def model(self, *types):
        return ["--model", file_of(self.addCleanup, {"types": types})]

    def test_tables_fit_the_width_and_colours_are_optional(self):
        out = on_terminal(60, "attributes", "PumpCentrifugal")
        self.assertIn("\x1b[1m", out)
        self.assertLessEqual(max(len(re.sub(r"\x1b\[\d+m", "", line)) for line in out.splitlines()), 60)
        self.assertIn("…", out)
        self.assertIn("m³/h", out)  # the narrow columns stay whole
        plain = on_terminal(500, "attributes", "PumpCentrifugal", NO_COLOR="1")
        self.assertNotIn("\x1b", plain)
        self.assertEqual(plain, lxcfc("attributes", "PumpCentrifugal").out)

    def test_names_cannot_control_a_terminal(self):
        model = self.model({"name": HOSTILE, "label": HOSTILE})
        shown = "Red\\u001b[31m\\nline\\u009b2J\\u202e"
        for arguments in (["types"], ["type", HOSTILE], ["type", HOSTILE + "!"], ["graph", "types"]):
            answer = lxcfc(*arguments, *model)
            self.assertIn(shown.replace("\\", "\\\\") if "graph" in arguments else shown, answer.out + answer.error)
            self.assertIsNone(re.search("[\x00-\x09\x0b-\x1f\x7f-\x9f\u202e]", answer.out + answer.error), answer)
        self.assertEqual(lxcfc("types", "--json", *model).json()["tree"][0]["name"], HOSTILE)
        self.assertIsNone(re.search("[\x00-\x09\x0b-\x1f\x7f-\x9f\u202e]", on_terminal(80, "types", "--json", *model)))

    def test_output_that_cannot_be_written_is_an_error(self):
        for arguments in (["types"], ["types", "--json"], ["graph", "types"], ["--help"], ["--version"]):
            for redirection in ("> /dev/full", ">&-"):
                run = subprocess.run(["sh", "-c", f'"$0" "$@" {redirection}', PROGRAM, *arguments], cwd=SOURCE,
                                     stderr=subprocess.PIPE, check=False)
                self.assertEqual((run.returncode, run.stderr), (2, b"lxcfc: standard output cannot be written to\n"),
                                 (arguments, redirection))
        for trap in ("true", "trap '' PIPE"):  # the reader closes the pipe early
            run = subprocess.run(["bash", "-c", f'{trap}; "$0" "$@" | true', PROGRAM, "graph", "types", "--generate", "500"],
                                 cwd=SOURCE, stderr=subprocess.PIPE, check=False)
            self.assertEqual(run.stderr, b"")

    def test_trees(self):
        chain = self.model({"name": "A"}, {"name": "B", "base": "A"}, {"name": "C", "base": "B"})
        self.assertEqual(lxcfc("types", *chain).out, "   Types  3\n\n   A\n   └─ B\n      └─ C\n")
        circle = self.model({"name": "A", "base": "B"}, {"name": "B", "base": "A"}, {"name": "C", "base": "A"})
        out = lxcfc("types", *circle).out
        self.assertIn("bases in a circle  A -> B -> A", out)
        self.assertIn("\n   A\n   ├─ B\n   └─ C\n", out)
        check = lxcfc("check", "--json", *circle)
        self.assertEqual((check.status, check.json()["basesInACircle"]), (0, ["A -> B -> A"]), check)

    def test_a_long_check_logs_its_progress(self):
        answer = lxcfc("check", "--generate", "3", "--delay", "7")
        self.assertEqual(answer.status, 0, answer)
        self.assertRegex(answer.error, r"\Alxcfc: Comparing: (\d+) % \(\d of \d\)\n")

    def test_completion_and_manual_have_every_option(self):
        completion = lxcfc("--manual", "bash").out
        def completed(*words):
            script = f'{completion}\nCOMP_WORDS=("$@") COMP_CWORD=$(($# - 1))\n_lxcfc\necho "${{COMPREPLY[@]}}"'
            return subprocess.run(["bash", "-c", script, "bash", "lxcfc", *words], check=True, stdout=subprocess.PIPE,
                                  cwd=SOURCE).stdout.decode().split()
        self.assertEqual(completed("typ"), ["types", "type"])
        self.assertEqual(completed("--json", "check", "--e"), ["--edits"])
        self.assertEqual(completed("types", "--model", "mode"), ["models"])
        manual = lxcfc("--manual", "man").out.replace("\\-", "-")
        for text in (lxcfc("--help").out, lxcfc("relations", "--help").out):
            for option in re.findall(r"^  (?:-\w,)?(--[a-z-]+)", text, re.M):
                self.assertIn(option, manual)


if __name__ == "__main__":
    main()
