#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that every method of every implemented interface has a functional test, and docs/methods.md with it.

usage: check_methods.py [--write] DOCUMENT PROGRAM[=ARGUMENT]...

Runs the test programs, which say for each method which tests call it (methodcounter.cpp), and fails when a method has
none or when the document is not the one that comes of it. --write writes the document instead.
"""
import os
import subprocess
import sys
import tempfile

NAMES = 2
HEAD = """# Methods and their tests

Every method of every interface that the component's objects implement, with tests that call it: the first ones, by
program and in the order of the programs. The abuse of all methods (`tests/surface/test_surface.cpp`) is not counted.
`QueryInterface`, `AddRef` and `Release` of every object are checked by `All/Surface.HoldsAgainstAbuse`.

This page is made: `tests/surface/check_methods.py --write` writes it, and the test `methods_have_tests` fails when it
is out of date or a method has no test.
"""


def run(program, argument):
    """[((kind, interface, method), [test])] of one program"""
    with tempfile.TemporaryDirectory() as folder:
        result = os.path.join(folder, "methods")
        done = subprocess.run([program] + ([argument] if argument else []), timeout=280, check=False,
                              env=dict(os.environ, LX_METHOD_TESTS=result), stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)
        if done.returncode != 0:
            sys.exit(f"{program} failed:\n{done.stdout[-3000:]}")
        with open(result, encoding="utf-8") as file:
            lines = [line.rstrip("\n").split("\t") for line in file]
    return [(tuple(line[:3]), line[3:]) for line in lines]


def document(table):
    """The page: a section for each kind of object, a table for each of its interfaces."""
    text = HEAD
    section = ("", "")
    for (kind, interface, method), tests in table.items():
        if kind != section[0]:
            text += f"\n## {kind[0].upper()}{kind[1:]}\n"
        if (kind, interface) != section:
            text += f"\n| `{interface}` | Tests |\n|---|---|\n"
        section = (kind, interface)
        listed = ", ".join(f"{test} ({', '.join(programs)})" for test, programs in list(tests.items())[:NAMES])
        text += f"| `{method}` | {listed} |\n"
    return text


def main():
    arguments = sys.argv[1:]
    write = "--write" in arguments
    path, *programs = [a for a in arguments if a != "--write"]
    table = {}
    for program in programs:
        program, _, argument = program.partition("=")
        for method, tests in run(program, argument):
            known = table.setdefault(method, {})
            for test in tests:
                known.setdefault(test, []).append(os.path.basename(program))
    missing = ["::".join(method) for method, tests in table.items() if not tests]
    text = document(table)
    if write:
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
    elif not missing:
        with open(path, encoding="utf-8") as file:
            if file.read() != text:
                sys.exit(f"{path} is out of date: run this script with --write")
    print(f"{len(table)} methods, {len(missing)} without a test", *missing, sep="\n  ")
    sys.exit(1 if missing else 0)


if __name__ == "__main__":
    main()
