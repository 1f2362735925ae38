#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""trust.py [STEP...]: measures what docs/trust.md says of the tests, and writes the figures there.

Steps: tests, coverage, fuzzing and mutation; by default all, which takes hours. Figures of steps that are left out
stay.
"""

import argparse
import json
import re
import subprocess
from collections import Counter
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs" / "trust.md"


def output(*command: str) -> str:
    """What a command of the tree prints; it must succeed."""
    return subprocess.run(command, cwd=ROOT, check=True, stdout=subprocess.PIPE, text=True).stdout


def label_of(test: dict) -> str:
    labels = [entry["value"] for entry in test["properties"] if entry["name"] == "LABELS"]
    return labels[0][0] if labels else "other"


def tests(_: argparse.Namespace) -> str:
    output("scripts/build.sh", "release")
    found = json.loads(output("ctest", "--preset", "release", "--show-only=json-v1"))["tests"]
    counts = Counter(map(label_of, found))
    rows = [*sorted(counts.items()), ("all", counts.total())]
    return "\n".join(f"{name:20}{count:6}" for name, count in rows)


def table(text: str, head: str) -> str:
    """From the line that begins with a word on."""
    return text[re.search(rf"^{head}\b", text, re.MULTILINE).start():]


def coverage(_: argparse.Namespace) -> str:
    return table(output("scripts/coverage.sh"), "folder")


def fuzzing(options: argparse.Namespace) -> str:
    return table(output("scripts/fuzz.sh", str(options.fuzz_seconds)), "kind")


def mutation(_: argparse.Namespace) -> str:
    return "".join(output("scripts/mutate.py", f"src/{folder}").splitlines()[-1] + "\n"
                   for folder in ("timing", "camera", "model"))


STEPS = {step.__name__: step for step in (tests, coverage, fuzzing, mutation)}


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("steps", nargs="*", metavar="STEP", choices=[[], *STEPS], help=", ".join(STEPS))
    parser.add_argument("--fuzz-seconds", type=int, default=1800, help="time for fuzzing (default: %(default)s)")
    options = parser.parse_args()
    for step in options.steps or STEPS:
        figures = STEPS[step](options).rstrip()
        block = re.compile(rf"(<!-- {step} -->\n```text\n).*?(```\n)", re.DOTALL)
        text, count = block.subn(lambda found: found[1] + figures + "\n" + found[2], PAGE.read_text())
        assert count == 1, f"{PAGE} has no place for {step}"
        PAGE.write_text(text)


if __name__ == "__main__":
    main()
