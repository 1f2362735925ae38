#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""mutate.py SOURCE...: asks whether the tests notice faults. Changes one operator, constant, comparison, rounding, sign
or boolean of the sources at a time, builds the test programs and runs them. A folder stands for all its sources.

Most changes share one build: they are compiled into the programs together, each asleep until an environment variable
names it (mutation/switch.h). Where the compiler refuses that, as within a constant expression, and for the other
changes, there is a build for each; --fast leaves these out.

What a change comes to:

    killed        a test failed, or the program crashed
    timed out     the tests took ten times the processor's time that they need without it, which counts as killed
    not compiled  the compiler refused the change, which says nothing about the tests
    survived      all tests passed: a test is missing, or the change is equivalent to the original
    equivalent    not tried, since the reviewed list has it with a reason

The changes are made in a copy of the tree, in the folder given by --work, so the tree itself never changes and a later
run finds the objects of an earlier one. Copied are the files that git tracks, or all files outside a repository.

The reviewed list, mutate-equivalent.txt beside this script, has a paragraph for each change: the source, its line, the
changed line, and the reason why no test can notice, which may take several lines. A paragraph whose line is no longer
in its source is an error.

Ends with 1 when a change survived that isn't on the list, with 2 when the check itself failed.
"""

import argparse
import collections
import concurrent.futures
import json
import random
import re
import signal
import sys
from pathlib import Path

from mutation.changes import mutants_of
from mutation.trees import CheckFailed, Copy, interrupt

ROOT = Path(__file__).resolve().parent.parent
OUTCOMES = ["killed", "timed out", "survived", "equivalent", "not compiled"]


def read_equivalents(path, root, sources):
    """{(source, line, changed line): reason}; a line that isn't there any more is an error."""
    reasons = {}
    text = path.read_text(encoding="utf-8") if path.exists() else ""
    for paragraph in re.split(r"\n\s*\n", text):
        lines = [line.strip() for line in paragraph.splitlines() if line.strip() and not line.startswith("#")]
        if not lines:
            continue
        if len(lines) < 4:
            raise CheckFailed(f"{path}: \"{lines[0]}\" lacks its line, its changed line or a reason")
        source, before, after = lines[:3]
        if source in sources and before not in map(str.strip, (root / source).read_text().splitlines()):
            raise CheckFailed(f"{path}: {source} no longer has the line: {before}")
        reasons[source, before, after] = " ".join(lines[3:])
    return reasons


def sources_below(root, arguments):
    """The sources that the arguments name, relative to the root."""
    found = []
    for argument in arguments:
        path = (root / argument).resolve()
        files = sorted(path.glob("*")) if path.is_dir() else [path]
        names = [file.relative_to(root).as_posix() for file in files if file.suffix in (".cpp", ".h")]
        if not names or not all((root / name).is_file() for name in names):
            raise CheckFailed(f"{argument} is no source below {root}, and no folder of them")
        found += names
    return found


def default_targets(sources):
    """The test programs of the folders, as tests/CMakeLists.txt names them."""
    return sorted({f"kessensor_{Path(source).parent.name}_tests" for source in sources})


def try_all(copies, mutants, isFast, report):
    """Tries mutants: those with switches first, the others of a source one after the other in one copy, so that only
    that source is compiled again."""
    groups = collections.defaultdict(list)
    for mutant in mutants:
        groups[mutant.source].append(mutant)
    free = list(copies)

    def try_switches(copy, group, report):
        originals = {mutant.source: (copy.tree / mutant.source).read_text(encoding="utf-8") for mutant in group}
        try:
            numbers = copy.build_switches(group, originals)
            # In no order, so that a run that is ended early has seen something of everything.
            for mutant, number in random.Random(len(numbers)).sample(list(numbers.items()), len(numbers)):
                report(mutant, *copy.outcome_of_switch(mutant, number))
            return numbers
        finally:
            copy.restore(originals)

    def work(group):
        copy = free.pop()
        try:
            numbers = try_switches(copy, group, report)
            for mutant in group:
                if mutant not in numbers and not isFast:
                    report(mutant, *copy.outcome(mutant))
        finally:
            free.append(copy)

    shares = [group for group in groups.values()] if len(copies) > 1 else [mutants]
    with concurrent.futures.ThreadPoolExecutor(len(copies)) as pool:
        for done in [pool.submit(work, share) for share in shares]:
            done.result()


def table_of(results):
    rows = collections.defaultdict(collections.Counter)
    for result in results:
        rows[result["source"]][result["outcome"]] += 1
        rows["all"][result["outcome"]] += 1
    rows["all"] = rows.pop("all", collections.Counter())
    width = max(map(len, rows))
    lines = [f"{'source':{width}}  " + "  ".join(f"{name:>12}" for name in OUTCOMES) + "   score"]
    for source, counts in rows.items():
        noticed = counts["killed"] + counts["timed out"]
        tried = noticed + counts["survived"]
        score = f"{100 * noticed / tried:5.1f} %" if tried else "      -"
        lines.append(f"{source:{width}}  " + "  ".join(f"{counts[name]:12}" for name in OUTCOMES) + f" {score}")
    return "\n".join(lines)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("sources", nargs="+", metavar="SOURCE", help="source, or folder of sources")
    parser.add_argument("--tests", action="append", metavar="TARGET", 
                        help="test program to run; may be repeated (default: kessensor_FOLDER_tests of each folder)")
    parser.add_argument("--limit", type=int, metavar="N", help="try only N of the changes, picked at random")
    parser.add_argument("--seed", type=int, default=1, metavar="S", help="of the random choice (default: %(default)s)")
    parser.add_argument("--jobs", type=int, default=1, metavar="N", help="copies of the tree to work in at once")
    parser.add_argument("--root", type=Path, default=ROOT, help="the tree (default: this script's)")
    parser.add_argument("--work", type=Path, help="folder of the copies (default: build/mutate in the tree)")
    parser.add_argument("--equivalents", type=Path, default=Path(__file__).with_name("mutate-equivalent.txt"),
                        help="the reviewed list (default: %(default)s)")
    parser.add_argument("--json", type=Path, metavar="FILE", help="write the results there as well")
    parser.add_argument("--cmake", action="append", default=[], metavar="OPTION", help="for CMake; may be repeated")
    parser.add_argument("--fast", action="store_true", help="leave out the changes that need a build of their own")
    parser.add_argument("--list", action="store_true", help="print the changes, and try none")
    return parser.parse_args()


def check(options):
    root = options.root.resolve()
    work = (options.work or root / "build" / "mutate").resolve()
    sources = sources_below(root, options.sources)
    reasons = read_equivalents(options.equivalents, root, sources)
    mutants = [mutant for source in sources for mutant in mutants_of(source, (root / source).read_text("utf-8"))]
    if options.limit is not None and options.limit < len(mutants):
        mutants = sorted(random.Random(options.seed).sample(mutants, options.limit), key=mutants.index)
    if options.list:
        for mutant in mutants:
            print(f"{mutant.source}:{mutant.line}: {mutant.after}")
        return 0
    results = []

    def report(mutant, outcome, note):
        results.append({"source": mutant.source, "line": mutant.line, "old": mutant.old, "new": mutant.new,
                        "before": mutant.before, "after": mutant.after, "outcome": outcome, "note": note})
        print(f"{mutant.source}:{mutant.line}: {outcome}: {mutant.before}  ->  {mutant.after}", flush=True)
        if options.json:
            options.json.write_text(json.dumps(results, indent=1) + "\n", encoding="utf-8")

    known = {mutant: reasons.get((mutant.source, mutant.before, mutant.after)) for mutant in mutants}
    for mutant, reason in known.items():
        if reason:
            report(mutant, "equivalent", reason)
    targets = options.tests or default_targets(sources)
    copies = [Copy(root, work, number, targets, options.cmake) for number in range(1, options.jobs + 1)]
    try_all(copies, [mutant for mutant in mutants if not known[mutant]], options.fast, report)
    print("\n" + table_of(results))
    return 1 if any(result["outcome"] == "survived" for result in results) else 0


def main():
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, interrupt)
    try:
        return check(arguments())
    except CheckFailed as failure:
        print(f"mutate.py: {failure}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
