#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""mutate.py SOURCE...: asks whether the tests notice faults. Changes one operator, constant, comparison, rounding, sign
or boolean of the sources at a time, builds the test programs and runs them. A folder stands for all its sources.

Most changes of a run are compiled into the program together, each of them asleep until an environment variable names
it, so that they share one build: a token becomes a template of the header below, which acts as the token or its change.
Where the compiler refuses that, as within a constant expression, and for the other changes, there is a build for each;
--fast leaves these out.

What a change comes to:

    killed        a test failed, or the program crashed
    timed out     the tests took ten times the processor's time that they need without it, which counts as killed
    not compiled  the compiler refused the change, which says nothing about the tests
    survived      all tests passed: a test is missing, or the change is equivalent to the original
    equivalent    not tried, since the reviewed list has it with a reason

The changes are made in a copy of the tree, in the folder given by --work, so the tree itself never changes and a later
run finds the objects of an earlier one. Copied are the files that git tracks, or all files outside a repository.

The reviewed list, mutate-equivalent.txt beside this script, has a paragraph for each change: the source, its line, the
changed line, and the reason why no test can notice, which may take several lines. A paragraph whose line is no longer in
its source is an error.

Ends with 1 when a change survived that isn't on the list, with 2 when the check itself failed.
"""

import argparse
import collections
import concurrent.futures
import json
import math
import os
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
from pathlib import Path
from typing import NamedTuple

ROOT = Path(__file__).resolve().parent.parent
TOKEN = re.compile(
    r"""
      (?P<skip> //[^\n]* | /\*.*?\*/ | ^[ \t]*\#(?:\\\n|[^\n])* | R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"
              | "(?:\\.|[^"\\\n])*" | '(?:\\.|[^'\\\n])+' | \s+ )
    | (?P<number> (?:0[xX][0-9a-fA-F']+ | (?:\d[\d']*\.?\d* | \.\d+)(?:[eE][-+]?\d+)?)[uUlLfF]* )
    | (?P<name> [A-Za-z_]\w* )
    | (?P<operator> <<=|>>=|<=>|->\*|\.\.\. | ::|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]= | [^\w\s] )
    """,
    re.VERBOSE | re.MULTILINE | re.DOTALL,
)
# The operators stand between blanks, as clang-format sets them: others are references, pointers and angle brackets.
# Beside a literal text, a plus joins texts.
BINARY = {
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "*",
    "+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=",
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==",
    "&&": "||", "||": "&&", "&": "|", "|": "&", "<<": ">>", ">>": "<<",
}
BOOLEANS = {"true": "false", "false": "true"}
FUNCTIONS = {
    "floor": "ceil", "ceil": "floor", "round": "floor", "trunc": "round", "rint": "floor", "nearbyint": "floor",
    "min": "max", "max": "min", "fmin": "fmax", "fmax": "fmin", "sin": "cos", "cos": "sin",
    "upper_bound": "lower_bound", "lower_bound": "upper_bound",
}
# Changed together with the std:: before them.
QUALIFIED = {"lround": "static_cast<long>", "llround": "static_cast<long long>", "fabs": "", "abs": ""}
LINK = ["-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld"] if shutil.which("ld.lld") else []
CONFIGURATION = [
    "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DKESSENSOR_LTO=OFF",
    "-DKESSENSOR_BUILD_BENCHMARKS=OFF", "-DKESSENSOR_WERROR=OFF", *LINK,
]
TIMES_NORMAL = 10
SHORTEST_LIMIT = 2  # seconds of the processor
LONGEST_WAIT = 3600  # seconds, of a build or of tests that sleep
MOST_MEMORY = 4 << 30
FAILED_TEST = re.compile(r"^\[  FAILED  \] (\S+?),? ", re.MULTILINE)
# Operators that can be switched: between their operands comes an object, so that precedence and grouping stay.
SWITCHED = {
    "+": "plus", "-": "minus", "*": "times", "/": "divided", "%": "modulo",
    "<": "less", "<=": "notMore", ">": "more", ">=": "notLess", "==": "same", "!=": "other",
    "+=": "add", "-=": "subtract", "*=": "multiply", "/=": "divide",
}
SWITCH_VARIABLE = "KES_MUTANT"
SWITCH_HEADER = """\
#pragma once

#include <cstdlib>

namespace mutation {

inline bool isActive(int number) {
  static int const active = std::getenv("KES_MUTANT") == nullptr ? 0 : std::atoi(std::getenv("KES_MUTANT"));
  return active == number;
}

template <int N, class T, class U>
T pick(T original, U changed) {
  return isActive(N) ? static_cast<T>(changed) : original;
}

"""
# Of the left operand and an object first, then of both and the right operand.
SWITCH_OPERATOR = """\
template <int N>
struct Switch_NAME {};
template <int N>
inline constexpr Switch_NAME<N> NAME{};
template <class L, int N>
struct Left_NAME {
  L&& left;
};
template <class L, int N>
Left_NAME<L, N> operator OLD(L&& left, Switch_NAME<N>) {
  return {static_cast<L&&>(left)};
}
template <class L, class R, int N>
auto operator OLD(Left_NAME<L, N> l, R&& r) -> decltype(static_cast<L&&>(l.left) OLD static_cast<R&&>(r)) {
  using Result = decltype(static_cast<L&&>(l.left) OLD static_cast<R&&>(r));
  if (isActive(N)) {
    return static_cast<Result>(static_cast<L&&>(l.left) NEW static_cast<R&&>(r));
  }
  return static_cast<L&&>(l.left) OLD static_cast<R&&>(r);
}

"""
# Assignments group from the right: the object meets the right operand first.
SWITCH_ASSIGNMENT = """\
template <int N>
struct Switch_NAME {};
template <int N>
inline constexpr Switch_NAME<N> NAME{};
template <class R, int N>
struct Right_NAME {
  R&& right;
};
template <class R, int N>
Right_NAME<R, N> operator OLD(Switch_NAME<N>, R&& right) {
  return {static_cast<R&&>(right)};
}
template <class L, class R, int N>
L& operator OLD(L& l, Right_NAME<R, N> r) {
  if (isActive(N)) {
    l NEW static_cast<R&&>(r.right);
  } else {
    l OLD static_cast<R&&>(r.right);
  }
  return l;
}

"""
RUNNING = set()
STOPPED = threading.Event()
OUTCOMES = ["killed", "timed out", "survived", "equivalent", "not compiled"]


class CheckFailed(Exception):
    """The check itself can't go on."""


class Mutant(NamedTuple):
    source: str
    line: int
    start: int
    end: int
    old: str
    new: str
    before: str
    after: str


class Token(NamedTuple):
    kind: str
    text: str
    start: int
    end: int


def tokens_of(text):
    return [Token(m.lastgroup if m.lastgroup != "mark" else "skip", m[0], m.start(), m.end())
            for m in TOKEN.finditer(text)]


def closing(tokens, opening, pair):
    """The index of the bracket that closes the one at `opening`, or of the last token."""
    depth = 0
    for i in range(opening, len(tokens)):
        text = tokens[i].text
        if tokens[i].kind == "operator":
            depth += text.count(pair[0]) if set(text) == {pair[0]} else 0
            depth -= text.count(pair[1]) if set(text) == {pair[1]} else 0
        if depth <= 0:
            return i
        # No list of template arguments holds the end of a statement.
        if pair == "<>" and text in (";", "{"):
            return opening
    return len(tokens) - 1


def left_alone(text, tokens):
    """The indices of tokens within static_asserts, template parameters and template arguments."""
    alone = set()
    code = [i for i, token in enumerate(tokens) if token.kind != "skip"]
    for place, i in enumerate(code[:-1]):
        token, following = tokens[i], code[place + 1]
        if token.text == "static_assert":
            alone.update(range(i, closing(tokens, following, "()") + 1))
        elif token.text == "template" and tokens[following].text == "<":
            alone.update(range(i, closing(tokens, following, "<>") + 1))
        elif token.kind == "name" and tokens[following].text == "<" and tokens[following].start == token.end:
            alone.update(range(following, closing(tokens, following, "<>") + 1))
    return alone


def other_number(text):
    """A number that is a little larger, of the same type."""
    digits = text.rstrip("uUlLfF") if not text.lower().startswith("0x") else text.rstrip("uUlL")
    isFloat = not digits.lower().startswith("0x") and ("." in digits or "e" in digits.lower())
    suffix = text[len(digits):]
    if not isFloat:
        return f"({text} + 1)"
    return f"1.0{suffix}" if float(digits.replace("'", "")) == 0.0 else f"({text} * 1.5{suffix})"


def is_unary(text, tokens, i):
    """Whether the operator is a sign or a negation: nothing but blanks comes between an operator or keyword and it."""
    previous = next((t for t in reversed(tokens[:i]) if t.kind != "skip"), None)
    attached = tokens[i].end < len(text) and not text[tokens[i].end].isspace()
    return attached and (previous is None or previous.text in ("return", "case") or
                         previous.kind == "operator" and previous.text not in (")", "]", "++", "--"))


def changes_of_token(text, tokens, i):
    """(start, end, new) of each change of a token."""
    token = tokens[i]
    span = (token.start, token.end)
    isBetweenBlanks = text[token.start - 1:token.start].isspace() and text[token.end:token.end + 1].isspace()
    if token.kind == "number":
        yield *span, other_number(token.text)
    elif token.kind == "name" and token.text in BOOLEANS:
        yield *span, BOOLEANS[token.text]
    elif token.kind == "name" and token.text in FUNCTIONS and text[token.end] in "(<":
        yield *span, FUNCTIONS[token.text]
    elif token.kind == "name" and token.text in QUALIFIED and text.endswith("std::", 0, token.start):
        yield token.start - len("std::"), token.end, QUALIFIED[token.text]
    elif token.text in BINARY and isBetweenBlanks and '"' not in (text[token.start - 2], text[token.end + 1]):
        yield *span, BINARY[token.text]
    elif token.text in ("-", "!") and is_unary(text, tokens, i):
        yield *span, ""
    elif token.text in ("++", "--"):
        yield *span, "--" if token.text == "++" else "++"


def line_around(text, start, end):
    return text[text.rfind("\n", 0, start) + 1:(text.find("\n", end) + 1 or len(text) + 1) - 1].strip()


def mutants_of(source, text):
    tokens = tokens_of(text)
    alone = left_alone(text, tokens)
    for i, token in enumerate(tokens):
        if token.kind == "skip" or i in alone:
            continue
        for start, end, new in changes_of_token(text, tokens, i):
            changed = text[:start] + new + text[end:]
            yield Mutant(source, text.count("\n", 0, start) + 1, start, end, text[start:end], new,
                         line_around(text, start, end), line_around(changed, start, start + len(new)))


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


def switch_header():
    parts = []
    for old, name in SWITCHED.items():
        isAssignment = old.endswith("=") and old[0] in "+-*/"
        pattern = SWITCH_ASSIGNMENT if isAssignment else SWITCH_OPERATOR
        parts.append(pattern.replace("NAME", name).replace("OLD", old).replace("NEW", BINARY[old]))
    return SWITCH_HEADER + "".join(parts) + "}  // namespace mutation\n"


def switch(mutant, number):
    """The text that acts as the original or as the change, or None."""
    if re.search(r"\bconstexpr\b|\bcase\b|\benum\b", mutant.before):
        return None
    if mutant.old in SWITCHED and mutant.new == BINARY[mutant.old]:
        return f"{mutant.old} ::mutation::{SWITCHED[mutant.old]}<{number}> {mutant.old}"
    if mutant.old in BOOLEANS or mutant.old[0].isdigit():
        return f"::mutation::pick<{number}>({mutant.old}, {mutant.new})"
    return None


def with_switches(text, header, switches):
    """A source with the switches {mutant: text}; its lines keep their numbers."""
    for mutant in sorted(switches, key=lambda mutant: -mutant.start):
        text = text[:mutant.start] + switches[mutant] + text[mutant.end:]
    return f'#include "{header}"\n#line 1\n{text}'


class Copy:
    """A copy of the tree with a build of its own. Of each source, it remembers which tests noticed changes."""

    def __init__(self, root, work, number, targets, options):
        self.tree = work / f"tree-{number}"
        self.build = self.tree / "build" / "dev"
        self.scratch = work / f"scratch-{number}"
        self.targets = targets
        self.killers = collections.defaultdict(collections.Counter)
        self.update(root)
        self.must(["cmake", "-S", self.tree, "-B", self.build, *CONFIGURATION, *options])
        self.must(["ninja", "-C", self.build, *targets])
        self.programs = [self.program(target) for target in targets]
        used = processor_seconds()
        for program in self.programs:
            code, output = self.run(program)
            if code != 0:
                raise CheckFailed(f"{program.name} fails without a change:\n{output[-4000:]}")
        self.limit = max(math.ceil(TIMES_NORMAL * (processor_seconds() - used)), SHORTEST_LIMIT)

    def update(self, root):
        """Makes the copy equal to the tree, whatever a run that was killed has left; what is equal isn't built again."""
        listed = subprocess.run(["git", "-C", root, "ls-files", "-z", "--cached", "--others", "--exclude-standard", "."],
                                capture_output=True, text=True, check=False)
        names = listed.stdout.split("\0")[:-1] if listed.returncode == 0 else [
            path.relative_to(root).as_posix() for path in root.rglob("*")
            if path.is_file() and not path.is_relative_to(root / "build")]
        for name in names:
            source, copy = root / name, self.tree / name
            if source.is_file() and not (copy.is_file() and copy.read_bytes() == source.read_bytes()):
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(source, copy)
                shutil.copymode(source, copy)
        # What an earlier run has built stays; what the tree no longer has goes.
        kept = set(names)
        for copy in self.tree.rglob("*"):
            if copy.is_file() and not copy.is_relative_to(self.tree / "build") and \
                    copy.relative_to(self.tree).as_posix() not in kept:
                copy.unlink()

    def must(self, command):
        code, output = run_limited(command, self.tree, os.environ)
        if code != 0:
            raise CheckFailed(f"{' '.join(map(str, command))}\n{output[-4000:]}")

    def program(self, target):
        found = [path for path in self.build.rglob(target) if path.is_file() and os.access(path, os.X_OK)]
        if len(found) != 1:
            raise CheckFailed(f"no program {target} below {self.build}")
        return found[0]

    def run(self, program, tests="*", limit=None, more=None):
        shutil.rmtree(self.scratch, ignore_errors=True)
        self.scratch.mkdir(parents=True)
        variables = {"GTEST_FAIL_FAST": "1", "GTEST_FILTER": tests, "GTEST_COLOR": "no", "TMPDIR": str(self.scratch)}
        return run_limited([program], self.scratch, {**os.environ, **variables, **(more or {})}, limit)

    def build_switches(self, mutants, originals):
        """Builds programs with as many switches as the compiler takes: {mutant: its number}. Ends with none when the
        tests don't pass with all of them asleep."""
        header = self.tree / "build" / "mutation.h"
        header.write_text(switch_header(), encoding="utf-8")
        numbers = {mutant: number for number, mutant in enumerate(mutants, 1) if switch(mutant, number)}
        written = {}
        while numbers:
            for source, text in originals.items():
                switches = {mutant: switch(mutant, numbers[mutant]) for mutant in numbers if mutant.source == source}
                changed = with_switches(text, header, switches)
                if written.get(source) != changed:
                    (self.tree / source).write_text(changed, encoding="utf-8")
                    written[source] = changed
            code, output = self.ninja("-k", "0")
            if code == 0:
                break
            refused = refused_by(output, numbers)
            print(f"{len(refused)} switches were refused, {len(numbers) - len(refused)} are left", flush=True)
            numbers = {mutant: number for mutant, number in numbers.items() if mutant not in refused} if refused else {}
        isAsleep = all(self.run(program)[0] == 0 for program in self.programs)
        return numbers if isAsleep else {}

    def restore(self, originals):
        for source, text in originals.items():
            (self.tree / source).write_text(text, encoding="utf-8")

    def outcome_of_switch(self, mutant, number):
        return self.outcome_of_tests(self.killers[mutant.source], {SWITCH_VARIABLE: str(number)})

    def outcome(self, mutant):
        """What a change comes to, and the test that noticed it."""
        path = self.tree / mutant.source
        original = path.read_text(encoding="utf-8")
        path.write_text(original[:mutant.start] + mutant.new + original[mutant.end:], encoding="utf-8")
        try:
            if self.ninja()[0] != 0:
                return "not compiled", ""
            return self.outcome_of_tests(self.killers[mutant.source])
        finally:
            path.write_text(original, encoding="utf-8")

    def ninja(self, *options):
        # The compiler's cache would keep objects that nobody asks for again.
        variables = {**os.environ, "CCACHE_DISABLE": "1"}
        return run_limited(["ninja", "-C", str(self.build), *options, *self.targets], self.build, variables)

    def outcome_of_tests(self, killers, variables=None):
        # First the tests that noticed most of the other changes.
        rounds = [":".join(name for name, count in killers.most_common(20))] if killers else []
        for tests in [*rounds, "*"]:
            for program in self.programs:
                code, output = self.run(program, tests, self.limit, variables)
                if code is None:
                    return "timed out", program.name
                if code != 0:
                    failed = FAILED_TEST.findall(output)
                    killers.update(failed[:1])
                    return "killed", failed[0] if failed else f"{program.name} ended with {code}"
        return "survived", ""


def interrupt(_number, _frame):
    """Ends what runs, so that the copies are restored before this script ends."""
    STOPPED.set()
    for process in list(RUNNING):
        kill(process)


def kill(process):
    """A process with all that it has started."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def processor_seconds():
    """Of all that was run so far."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def run_limited(command, folder, variables, limit=None):
    """The exit code, or None when the processor's time was used up, and the output."""

    def bound():
        if limit is not None:
            resource.setrlimit(resource.RLIMIT_CPU, (limit, limit + 1))
        resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    with tempfile.TemporaryFile() as output:
        process = subprocess.Popen([str(part) for part in command], cwd=folder, env=variables, stdin=subprocess.DEVNULL,
                                   stdout=output, stderr=subprocess.STDOUT, start_new_session=True, preexec_fn=bound)
        RUNNING.add(process)
        try:
            code = process.wait(LONGEST_WAIT)
            code = None if code in (-signal.SIGXCPU, -signal.SIGKILL) and not STOPPED.is_set() else code
        except subprocess.TimeoutExpired:
            code = None
        finally:
            kill(process)
            process.wait()
            RUNNING.discard(process)
        if STOPPED.is_set():
            raise CheckFailed("interrupted")
        output.seek(0)
        return code, output.read().decode(errors="replace")


def refused_by(output, numbers):
    """The switches that the compiler's errors name, by their number or their line."""
    named = {int(number) for number in re.findall(r"mutation::\w+<(\d+)|\bint N = (\d+)", output) for number in number if number}
    lines = set()
    for place in re.finditer(r"([\w./-]+):(\d+)(?::\d+)?:? +(?:error|required|in .constexpr)", output):
        lines.add((Path(place[1]).name, int(place[2])))
    return {mutant for mutant, number in numbers.items()
            if number in named or (Path(mutant.source).name, mutant.line) in lines}


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
    parser.add_argument("sources", nargs="+", metavar="SOURCE", help="source or folder of sources, from the tree's root")
    parser.add_argument("--tests", action="append", metavar="TARGET", help="test program to build and run; may be repeated"
                        " (default: kessensor_FOLDER_tests of each folder)")
    parser.add_argument("--limit", type=int, metavar="N", help="try only N of the changes, picked at random")
    parser.add_argument("--seed", type=int, default=1, metavar="S", help="of the random choice (default: %(default)s)")
    parser.add_argument("--jobs", type=int, default=1, metavar="N", help="copies of the tree to work in at the same time")
    parser.add_argument("--root", type=Path, default=ROOT, help="the tree (default: this script's)")
    parser.add_argument("--work", type=Path, help="folder of the copies (default: build/mutate in the tree)")
    parser.add_argument("--equivalents", type=Path, default=Path(__file__).with_name("mutate-equivalent.txt"),
                        help="the reviewed list (default: %(default)s)")
    parser.add_argument("--json", type=Path, metavar="FILE", help="write the results there as well")
    parser.add_argument("--cmake", action="append", default=[], metavar="OPTION", help="option for CMake; may be repeated")
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
