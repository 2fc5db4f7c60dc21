# SPDX-License-Identifier: MIT
"""Runs lxcfc as its users do, and reads the shipped model from its file."""
import json
import os
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM = os.environ["LXCFC_PROGRAM"]
EMULATOR = [os.environ["LXCFC_EMULATOR"]] if os.environ.get("LXCFC_EMULATOR") else []
SOURCE = os.environ["LXCFC_SOURCE"]


class Answer:
    def __init__(self, arguments, run):
        self.arguments = arguments
        self.status = run.returncode
        self.out = run.stdout.decode("utf-8").replace("\r\n", "\n")
        self.error = run.stderr.decode("utf-8", "replace").replace("\r\n", "\n")

    def __str__(self):
        return f"lxcfc {' '.join(self.arguments)}: {self.status}\n{self.out[-2000:]}{self.error[-2000:]}"

    def json(self):
        return json.loads(self.out)


def lxcfc(*arguments, text=None):
    run = subprocess.run(EMULATOR + [PROGRAM, *arguments], input=(text or "").encode("utf-8"), timeout=1500,
                         stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=SOURCE, check=False)
    return Answer(arguments, run)


def answer_of(*arguments, text=None):
    """The JSON answer of a command, which must succeed."""
    answer = lxcfc(*arguments, "--json", text=text)
    if answer.status != 0:
        raise AssertionError(str(answer))
    return answer.json()


class Model:
    """The shipped model, read without the project's own code."""

    def __init__(self):
        with open(os.path.join(SOURCE, "models", "plant.json"), encoding="utf-8") as file:
            self.json = json.load(file)
        self.types = {entry["name"]: entry for entry in self.json["types"]}

    def bases(self, name):
        base = self.types[name].get("base")
        return [base] + self.bases(base) if base else []

    def attributes(self, name):
        """A type's attributes by name, including inherited ones; a base's attribute takes precedence."""
        found = {}
        for entry in [name] + self.bases(name):
            found.update({a["name"]: a for a in self.types[entry].get("attributes", [])})
        return found

    def derived(self, name):
        return sorted(entry for entry in self.types if name in self.bases(entry))


def file_of(cleanup, content, name="model.json"):
    """Writes JSON to a temporary file. Returns its path relative to the source folder, where the programs run."""
    folder = tempfile.TemporaryDirectory(dir=os.path.join(SOURCE, "build"))
    cleanup(folder.cleanup)
    path = os.path.join(folder.name, name)
    with open(path, "w", encoding="utf-8") as stream:
        json.dump(content, stream)
    return os.path.relpath(path, SOURCE)


class CountedResult(unittest.TextTestResult):
    """Prints one line per test, in the format of the other test programs."""

    def startTest(self, test):
        super().startTest(test)
        self.started = time.monotonic()
        self.before = self.bad(), len(self.skipped)

    def stopTest(self, test):
        super().stopTest(test)
        failed, skipped = self.bad() > self.before[0], len(self.skipped) > self.before[1]
        what = " FAILED " if failed else " SKIPPED" if skipped else "      OK"
        print(f"[ {what} ] {test.id()} ({int((time.monotonic() - self.started) * 1000)} ms)", flush=True)

    def bad(self):
        return len(self.failures) + len(self.errors)


def regsvr32(module, undo=False):
    file = os.path.join(os.path.dirname(PROGRAM), module + ".dll").replace("/", "\\")
    subprocess.run(EMULATOR + ["regsvr32", *(["/u"] if undo else []), "/s", "Z:" + file], timeout=120,
                   check=not undo, stdin=subprocess.DEVNULL)


def register(undo):
    """Under Wine, registers the component before the tests and unregisters it after them."""
    if EMULATOR:
        regsvr32("LXConfigFactoryCache32", undo)


def main():
    register(undo=False)
    try:
        runner = unittest.TextTestRunner(resultclass=CountedResult)
        done = unittest.main(testRunner=runner, exit=False)
    finally:
        register(undo=True)
    sys.exit(0 if done.result.wasSuccessful() else 1)
