#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""mutation_test.py: runs scripts/mutate.py on the toy tree beside this file, whose tests have known gaps."""

import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
SCRIPT = HERE.parents[1] / "scripts" / "mutate.py"
TOY = HERE / "mutation"
SOURCE = "src/Lengths.cpp"
CONDITION = "if (length < 0.0 || size <= 0.0) {"
SUM = "return static_cast<int>(std::floor(length / size + 0.5));"
# The changed lines, and what the tests of the toy make of them.
OUTCOMES = {
    CONDITION.replace("length <", "length <="): "survived",
    CONDITION.replace("length < 0.0", "length < 1.0"): "survived",
    CONDITION.replace("||", "&&"): "killed",
    CONDITION.replace("size <=", "size <"): "survived",
    CONDITION.replace("size <= 0.0", "size <= 1.0"): "killed",
    "return 1;": "killed",
    "return -(1 + 1);": "killed",
    SUM.replace("floor", "ceil"): "killed",
    SUM.replace("/", "*"): "killed",
    SUM.replace("+", "-"): "killed",
    SUM.replace("0.5", "(0.5 * 1.5)"): "killed",
    "while (length >= 0.0) {": "killed",
    "while (length > 1.0) {": "killed",
    "length += step;": "timed out",
    "--count.back();": "killed",
    "return a - b;": "not compiled",
}
GAPS = [line for line, outcome in OUTCOMES.items() if outcome == "survived"]


class Mutation(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.list = self.folder / "equivalent.txt"

    def mutate(self, *options):
        """The exit code, the results and the messages."""
        report = self.folder / "report.json"
        command = [sys.executable, SCRIPT, SOURCE, "--root", TOY, "--work", self.folder / "work", "--tests", "toy_tests",
                   "--equivalents", self.list, "--json", report, *options]
        done = subprocess.run([str(part) for part in command], capture_output=True, text=True, check=False)
        return done.returncode, json.loads(report.read_text()) if report.exists() else [], done.stdout + done.stderr

    def test_each_change_is_found_and_tried(self):
        before = {path: path.read_bytes() for path in TOY.rglob("*") if path.is_file()}
        self.list.write_text("# A comment.\n\n" + SOURCE + "\n" + CONDITION + "\n" + GAPS[0] + "\nFor the sake of\nthe test.\n")
        code, results, output = self.mutate()
        self.assertEqual(code, 1, output)
        self.assertEqual({result["after"]: result["outcome"] for result in results},
                         {**OUTCOMES, GAPS[0]: "equivalent"})
        self.assertEqual(next(r["note"] for r in results if r["outcome"] == "equivalent"), "For the sake of the test.")
        self.assertEqual({result["line"] for result in results if result["after"] == GAPS[0]}, {13})
        self.assertEqual({path: path.read_bytes() for path in TOY.rglob("*") if path.is_file()}, before)
        row = next(line for line in output.splitlines() if line.startswith(SOURCE + " "))
        self.assertEqual(row.split()[1:], ["11", "1", "2", "1", "1", "85.7", "%"])

    def test_survivors_on_the_list_are_no_failure(self):
        self.list.write_text("\n".join(f"{SOURCE}\n{CONDITION}\n{gap}\nA reason.\n" for gap in GAPS))
        self.assertEqual(self.mutate("--fast")[0], 0)

    def test_stale_or_incomplete_paragraph_is_an_error(self):
        self.list.write_text(f"{SOURCE}\nif (length < 1.0) {{\nif (length <= 1.0) {{\nA reason.\n")
        code, _, output = self.mutate()
        self.assertEqual(code, 2)
        self.assertIn(f"{SOURCE} no longer has the line: if (length < 1.0) {{", output)
        self.list.write_text(f"{SOURCE}\n{CONDITION}\n{GAPS[0]}\n")
        self.assertEqual(self.mutate()[0], 2)

    def test_sample_is_that_of_its_seed(self):
        def sample(seed):
            return self.mutate("--list", "--limit", "5", "--seed", seed)[2]

        self.assertEqual(len(sample("1").splitlines()), 5)
        self.assertEqual(sample("1"), sample("1"))
        self.assertNotEqual(sample("1"), sample("2"))


if __name__ == "__main__":
    unittest.main()
