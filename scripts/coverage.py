#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""coverage.py BUILD [FOLDER...] [--missing]: prints which share of lines and branches the tests in a build folder have
run, per folder of the sources, and fails below the marks. With folders, such as src/model or platform, prints and
judges these alone. With --missing, prints the lines that are missing instead.

The counts come from gcov's JSON. A branch here is one way out of a decision. Calls that may throw aren't decisions. On
a line that has run, a decision that never ran doesn't count: either only an exception leads there, or it follows
another decision whose missing way counts already. A statement without a keyword or an operator that decides
has no decisions of its own; what gcov finds there is the compiler's, such as the clean-up of temporaries.
"""

import argparse
import fnmatch
import json
import multiprocessing
import os
import re
import subprocess
import sys
from collections import Counter, defaultdict
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
EXCEPTIONS = Path(__file__).resolve().parent / "coverage-exceptions.txt"
# Per cent of lines and branches of a folder.
MARKS = (97.0, 92.0)
# All lines and branches of these must run, but for the exceptions.
READERS_AND_WRITERS = [
    "files/src/FileReplacement.cpp",
    "platform/src/raster/BandStatistics.cpp",
    "platform/src/raster/StatFile.cpp",
    "platform/src/raster/Statistics.cpp",
    "platform/src/util/XmlWriter.cpp",
    "src/camera/Misalignment.cpp",
    "src/common/*",
    "src/model/BlockFile.cpp",
    "src/orientation/KESOrientationRead.cpp",
    "src/orientation/KESOrientationWrite.cpp",
    "src/orientation/ODFConverter.cpp",
    "src/orientation/SupportFileStream.*",
    "src/project/FennLegacyLocations.cpp",
    "src/project/GroundPointList.cpp",
    "src/project/ImagePointList.cpp",
    "src/project/Point*",
    "src/project/StripFile.cpp",
    "src/project/SupportFile*.cpp",
    "src/serializer/*",
    "src/timing/CameraTime.cpp",
    "src/timing/EOPDataRead.cpp",
    "src/timing/EOPDataWrite.cpp",
    "src/timing/ScanlineData.cpp",
    "src/xmlFileData/*",
]
# Sources that are measured, by the beginning of their names.
MEASURED = ("src/", "include/", "platform/", "files/", "host/", "gdal/", "adjust/", "simulation/", "apps/kes/",
            "python/")
COMMENT = re.compile(r"//.*")
STRING = re.compile(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])\'')
# Lines without code of their own: what runs there when a function ends is the compiler's.
NO_CODE = re.compile(r"([\s{}();,]*|.* = default;)(//.*)?$")
# The end of a statement, or of what stands before one.
ENDS = re.compile(r"([;{}]|^#.*|^(public|private|protected|case .*|default):|^)(\s*//.*)?$")
DECIDES = re.compile(r"\b(if|for|while|switch|case|assert|and|or)\b|&&|\|\||\?")


def gcov(notes):
    """(file, line, function, count, branches) of each line that an object file has of the measured sources; a branch is
    (count, whether an exception takes it). An object that has been built anew since the tests ran has no counts."""
    run = subprocess.run(["gcov", "--json-format", "--stdout", "--branch-probabilities", notes.name],
                         cwd=notes.parent, capture_output=True, check=False)
    lines = []
    for report in run.stdout.splitlines():
        for source in json.loads(report)["files"]:
            path = os.path.normpath(os.path.join(notes.parent, source["file"]))
            if not path.startswith(f"{ROOT}/"):
                continue
            name = path[len(f"{ROOT}/"):]
            if not name.startswith(MEASURED):
                continue
            lines += [(name, line["line_number"], line.get("function_name", ""), line["count"],
                       [(branch["count"], branch["throw"]) for branch in line["branches"]])
                      for line in source["lines"]]
    return lines


def decisions(branches):
    """The counts of branches without those of calls that may throw: gcov lists the two ways out of a call side by
    side."""
    calls = set()
    for index, (_, throws) in enumerate(branches):
        if throws:
            calls |= {index, index ^ 1}
    return [count for index, (count, _) in enumerate(branches) if index not in calls]


def run_decisions(counts, is_switch):
    """The counts of the decisions that have run at all."""
    ways = len(counts) if is_switch else 2
    groups = [counts[start:start + ways] for start in range(0, len(counts), ways)]
    return [count for group in groups if any(group) for count in group]


class Line:
    """What all objects together know of a line: how often it ran, and the branches of each function that it is part of.
    The instantiations of a template, and the kernels for different processors, are functions of their own."""

    def __init__(self):
        self.count = 0
        self.functions = {}

    def add(self, function, count, branches):
        self.count += count
        known = self.functions.setdefault((function, len(branches)), branches)
        if known is not branches:
            self.functions[function, len(branches)] = [
                (one + other, throws or also) for (one, throws), (other, also) in zip(known, branches)]

    def branches(self, text):
        """The counts of the branches. Functions with the same decisions count as one."""
        if not DECIDES.search(text):
            return []
        by_shape = {}
        for branches in self.functions.values():
            counts = decisions(branches)
            sums = by_shape.setdefault(len(counts), [0] * len(counts))
            by_shape[len(counts)] = [one + other for one, other in zip(sums, counts)]
        if not self.count:
            return max(by_shape.values(), key=len)
        return [count for counts in by_shape.values() for count in run_decisions(counts, "switch" in text)]


def measure(build, folders):
    """File -> number of the line -> Line, of the files in some folders."""
    notes = sorted(build.rglob("*.gcno"))
    files = defaultdict(lambda: defaultdict(Line))
    with multiprocessing.Pool(2) as pool:
        for lines in pool.imap_unordered(gcov, notes):
            for name, number, function, count, branches in lines:
                if is_asked_for(name, folders):
                    files[name][number].add(function, count, branches)
    return files


def folder_of(name):
    """The row of the table that a file belongs to."""
    parts = name.split("/")
    if parts[0] == "src":
        return "/".join(parts[:2])
    if parts[0] == "platform":
        return "/".join(["platform", *parts[2:-1]])
    return "apps/kes" if parts[0] == "apps" else parts[0]


def read_exceptions():
    """(file, text of the line) -> how many such lines are excepted. Each exception is a line `file: text`, with the reason
    in an indented line below."""
    exceptions = Counter()
    for line in EXCEPTIONS.read_text(encoding="utf-8").splitlines():
        if line and not line.startswith(("#", " ")):
            name, _, text = line.partition(": ")
            exceptions[name, text.strip()] += 1
    return exceptions


def statement(texts, index):
    """The text of the statement that a line is part of, without comments and texts."""
    first = last = index
    while first > 0 and not ENDS.search(texts[first - 1]):
        first -= 1
    while last + 1 < len(texts) and not ENDS.search(texts[last]):
        last += 1
    return " ".join(COMMENT.sub("", STRING.sub("", text)) for text in texts[first:last + 1])


class Sums:
    """Lines and branches of a folder: those that ran, and all."""

    def __init__(self):
        self.lines = [0, 0]
        self.branches = [0, 0]

    def add(self, count, branches):
        self.lines[0] += bool(count)
        self.lines[1] += 1
        self.branches[0] += sum(1 for branch in branches if branch)
        self.branches[1] += len(branches)

    def shares(self):
        return [100 * run / total if total else 100.0 for run, total in (self.lines, self.branches)]


def is_strict(name):
    return any(fnmatch.fnmatchcase(name, pattern) for pattern in READERS_AND_WRITERS)


def evaluate(files):
    """The sums per folder; those of readers and writers; and (file, number, text, what is missing) of incomplete lines."""
    folders = defaultdict(Sums)
    strict = Sums()
    missing = []
    for name, lines in sorted(files.items()):
        texts = [text.strip() for text in (ROOT / name).read_text(encoding="utf-8").splitlines()]
        for number, line in sorted(lines.items()):
            text = texts[number - 1]
            if NO_CODE.match(text):
                continue
            branches = line.branches(statement(texts, number - 1))
            folders[folder_of(name)].add(line.count, branches)
            if is_strict(name):
                strict.add(line.count, branches)
            if not line.count:
                missing.append((name, number, text, "line"))
            elif not all(branches):
                missing.append((name, number, text, f"{branches.count(0)} of {len(branches)} branches"))
    return folders, strict, missing


def is_asked_for(name, folders):
    """Whether a file lies in one of some folders, or of some rows of the table. Without folders, all do."""
    return not folders or any(f"{place}/".startswith(f"{folder.rstrip('/')}/")
                              for folder in folders for place in (name, folder_of(name)))


def faults(folders, missing, asked):
    """One line for each folder below the marks, each incomplete line of readers and writers, and each exception that no
    incomplete line needs."""
    for name, sums in sorted(folders.items()):
        if any(share < mark for share, mark in zip(sums.shares(), MARKS)):
            yield f"{name}: below {MARKS[0]:g} % of lines or {MARKS[1]:g} % of branches"
    exceptions = read_exceptions()
    for name, number, text, what in missing:
        if not is_strict(name):
            continue
        if exceptions[name, text] > 0:
            exceptions[name, text] -= 1
        else:
            yield f"{name}:{number}: {what} not run: {text}"
    for (name, text), count in exceptions.items():
        if count > 0 and is_asked_for(name, asked):
            yield f"{EXCEPTIONS.name}: has run, or isn't there any more: {name}: {text}"


def table(folders, strict):
    yield f"{'folder':24}{'lines':>8}{'run %':>8}{'branches':>10}{'run %':>8}"
    strict_row = [("readers and writers", strict)] if strict.lines[1] else []
    for name, sums in sorted(folders.items()) + strict_row:
        lines, branches = sums.shares()
        yield f"{name:24}{sums.lines[1]:8}{lines:8.1f}{sums.branches[1]:10}{branches:8.1f}"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=Path)
    parser.add_argument("folders", nargs="*", metavar="FOLDER")
    parser.add_argument("--missing", action="store_true")
    arguments = parser.parse_args()
    files = measure(arguments.build.resolve(), arguments.folders)
    absent = [folder for folder in arguments.folders if not any(is_asked_for(name, [folder]) for name in files)]
    if absent:
        print(f"No object has counts of: {' '.join(absent)}")
        return 1
    folders, strict, missing = evaluate(files)
    if arguments.missing:
        for name, number, text, what in missing:
            print(f"{name}:{number}: {what}: {text}")
        return 0
    print("\n".join(table(folders, strict)))
    wrong = list(faults(folders, missing, arguments.folders))
    print("\n".join(wrong))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
