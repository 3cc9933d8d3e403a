#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Puts small faults into the code, one at a time, and reports which of them the tests stop.

    tests/mutation/mutate.py [--results FILE] [--folder FOLDER] [--list] [ID-PATTERN...]

Works on the last commit, in a worktree and a build of its own (build/mutation), which stay for the
next run. A result is a line of the table FILE (build/mutation/results.tsv): mutant, file, outcome,
what stopped it. A mutant with a line in the table is not run again, so a run that was interrupted
goes on where it was; delete the table for a new one.

Outcomes: stopped (a test fails, or does not end), unbuildable (the compiler refuses it),
survived (a gap of the tests), missing (the old text is not in the file exactly once: correct the
list). The exit code is 1 when a mutant survives or is missing.

The lists are mutants/*.txt. A mutant is its name, its file, the test programs that should stop it,
each with an optional filter of its tests, and lines with the old text and the new. A program with
the ending .mjs is a file of tests/browser, of which all tests are run, with the page of the worktree
and the programs of build/release:

    [zone-activity-lost] sdk/controller/PaZones.cpp: controller_tests controller_tests:Exchanges*
    -    integer<&PaZone::activity>,
    +    skipped,
"""
import argparse
import csv
import fnmatch
import os
import re
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
HEADER = re.compile(r"\[(?P<name>[\w-]+)\] (?P<file>\S+): (?P<tests>.+)")
TEST_SECONDS = 120  # of a program: longer than any needs on a busy machine
# Unoptimised, each file by itself: a changed file is compiled again quickly.
CONFIGURATION = [
    "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0",
    "-DCMAKE_CXX_COMPILER=g++", "-DPA_UNITY=OFF",
]


class Mutant:
    def __init__(self, header, origin):
        self.name, self.file = header["name"], header["file"]
        self.tests = [test.partition(":") for test in header["tests"].split()]
        self.origin = origin
        self.old, self.new = [], []

    def place(self, text):
        """The text with the fault, or None when the old text is not there exactly once."""
        old = "\n".join(self.old)
        return text.replace(old, "\n".join(self.new)) if old and text.count(old) == 1 else None


def read_lists():
    mutants = {}
    for path in sorted((HERE / "mutants").glob("*.txt")):
        mutant = None
        for number, line in enumerate(path.read_text().splitlines(), 1):
            header = HEADER.fullmatch(line)
            if header:
                mutant = Mutant(header, f"{path.name}:{number}")
                if mutants.setdefault(mutant.name, mutant) is not mutant:
                    sys.exit(f"{mutant.origin}: a second mutant {mutant.name}")
            elif line[:1] in ("-", "+") and mutant:
                (mutant.old if line[0] == "-" else mutant.new).append(line[1:])
            elif line and not line.startswith("#"):
                sys.exit(f"{path.name}:{number}: neither a mutant nor one of its lines: {line}")
    return list(mutants.values())


def quietly(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors="replace", **options)


def is_page_test(program):
    return program.endswith(".mjs")


def prepare(tree, build):
    """Checks the last commit out and configures its build."""
    if tree.exists():
        subprocess.run(["git", "checkout", "--quiet", "--force", "--detach", head()], cwd=tree,
                       check=True)
    else:
        subprocess.run(["git", "worktree", "prune"], cwd=ROOT, check=True)
        subprocess.run(["git", "worktree", "add", "--quiet", "--detach", tree, head()], cwd=ROOT,
                       check=True)
    modules = tree / "tests" / "browser" / "node_modules"  # as script/test-browser installs them
    if not modules.exists():
        modules.symlink_to(ROOT / "tests" / "browser" / "node_modules")
    configured = quietly(["cmake", "-S", tree, "-B", build, *CONFIGURATION])
    if configured.returncode:
        sys.exit(configured.stdout)


def head():
    return subprocess.check_output(["git", "rev-parse", "HEAD"], cwd=ROOT, text=True).strip()


def first_failure(output):
    failed = re.search(r"\[  FAILED  \] (\S+?),? |^ *not ok \d+ - (.+)", output, re.MULTILINE)
    return failed[1] or failed[2] if failed else "the program"


def run_for(seconds, command, folder):
    """The exit code of a program, None when it takes longer, and its output. What it has started
    ends with it: a child that hangs would keep the output open."""
    with tempfile.TemporaryFile(mode="w+", errors="replace") as output:
        with subprocess.Popen(command, cwd=folder, stdout=output, stderr=subprocess.STDOUT,
                              start_new_session=True) as program:
            try:
                code = program.wait(timeout=seconds)
            except subprocess.TimeoutExpired:
                code = None
            try:
                os.killpg(program.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        output.seek(0)
        return code, output.read()


def command_for(program, test_filter, tree, build):
    if is_page_test(program):
        return ["env", f"PA_PROGRAMS={ROOT}/build/release/bin", f"PA_PAGE={tree}/panel/page", "node",
                "--test", "--test-reporter=tap", tree / "tests" / "browser" / program]
    return [build / "bin" / program, f"--gtest_filter={test_filter or '*'}"]


def run_tests(mutant, tree, build):
    """The outcome of the tests of a tree that is built: stopped or survived, and by what."""
    for program, _, test_filter in mutant.tests:
        command = command_for(program, test_filter, tree, build)
        code, output = run_for(TEST_SECONDS, command, build)
        if code is None:
            return "stopped", f"{program}: does not end"
        if code:
            return "stopped", f"{program}: {first_failure(output)}"
    return "survived", ""


def build_tests(programs, build):
    targets = sorted(program for program in programs if not is_page_test(program))
    return quietly(["ninja", "-C", build, "-j2", *targets] if targets else ["true"])


def try_mutant(mutant, tree, build):
    path = tree / mutant.file
    original = path.read_text() if path.exists() else ""
    mutated = mutant.place(original)
    if mutated is None:
        return "missing", mutant.origin
    path.write_text(mutated)
    try:
        if build_tests({program for program, _, _ in mutant.tests}, build).returncode:
            return "unbuildable", "the compiler"
        return run_tests(mutant, tree, build)
    finally:
        path.write_text(original)


def check_sound(mutants, tree, build):
    """Without a fault every test of the lists passes; else a result says nothing."""
    programs = {program for mutant in mutants for program, _, _ in mutant.tests}
    built = build_tests(programs, build)
    if built.returncode:
        sys.exit(built.stdout)
    for program in sorted(programs):
        if quietly(command_for(program, "", tree, build), cwd=build).returncode:
            sys.exit(f"{program} fails without a fault")


def known_results(path):
    if not path.exists():
        return {}
    with path.open(newline="") as table:
        return {row[0]: row[2] for row in csv.reader(table, delimiter="\t")}


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--folder", type=Path, default=ROOT / "build" / "mutation",
                        help="where worktree, build and table are")
    parser.add_argument("--results", type=Path, help="the table")
    parser.add_argument("--list", action="store_true",
                        help="only check that each mutant applies to the files as they are")
    parser.add_argument("patterns", nargs="*", default=["*"], metavar="ID-PATTERN")
    arguments = parser.parse_args()
    mutants = [mutant for mutant in read_lists()
               if any(fnmatch.fnmatch(mutant.name, pattern) for pattern in arguments.patterns)]
    if arguments.list:
        missing = [mutant for mutant in mutants if not (ROOT / mutant.file).exists()
                   or mutant.place((ROOT / mutant.file).read_text()) is None]
        for mutant in missing:
            print(f"{mutant.origin}: {mutant.name} does not apply to {mutant.file}")
        print(f"{len(mutants)} mutants, {len(missing)} do not apply")
        return 1 if missing else 0

    arguments.folder.mkdir(parents=True, exist_ok=True)
    tree, build = arguments.folder / "tree", arguments.folder / "build"
    table = arguments.results or arguments.folder / "results.tsv"
    known = known_results(table)
    waiting = [mutant for mutant in mutants if mutant.name not in known]
    if waiting:
        prepare(tree, build)
        check_sound(waiting, tree, build)
    for mutant in waiting:
        outcome, by = try_mutant(mutant, tree, build)
        known[mutant.name] = outcome
        with table.open("a", newline="") as out:
            csv.writer(out, delimiter="\t", lineterminator="\n").writerow(
                [mutant.name, mutant.file, outcome, by])
        print(f"{mutant.name}: {outcome} {by}", flush=True)
    outcomes = [known[mutant.name] for mutant in mutants]
    for outcome in sorted(set(outcomes)):
        print(f"{outcomes.count(outcome)} {outcome}")
    return 1 if {"survived", "missing"} & set(outcomes) else 0


if __name__ == "__main__":
    sys.exit(main())
