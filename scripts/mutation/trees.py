# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""A copy of the tree in which the mutation check builds and runs the tests."""

import collections
import itertools
import math
import os
import re
import resource
import shutil
import signal
import subprocess
import tempfile
import threading

from mutation import switches

LINK = ["-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld"] if shutil.which("ld.lld") else []
CONFIGURATION = [
    "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DKESSENSOR_LTO=OFF",
    "-DKESSENSOR_BUILD_BENCHMARKS=OFF", "-DKESSENSOR_WERROR=OFF", *LINK,
]
TIMES_NORMAL = 10
SHORTEST_LIMIT = 2  # seconds of the processor
LONGEST_WAIT = 3600  # seconds, of a build or of tests that sleep
MOST_MEMORY = 4 << 30
PASSED_TEST = re.compile(r"^\[       OK \] (\S+) \((\d+) ms\)", re.MULTILINE)
FAILED_TEST = re.compile(r"^\[  FAILED  \] (\S+?),? ", re.MULTILINE)
RUNNING = set()
STOPPED = threading.Event()


class CheckFailed(Exception):
    """The check itself can't go on."""


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


def quick_ones(seconds):
    """The quickest tests, which take a fifth of the time together."""
    names = sorted(seconds, key=seconds.get)
    ends = itertools.accumulate(seconds[name] for name in names)
    return [name for name, end in zip(names, ends) if end <= sum(seconds.values()) / 5]


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
        self.seconds = {}
        for program in self.programs:
            code, output = self.run(program)
            if code != 0:
                raise CheckFailed(f"{program.name} fails without a change:\n{output[-4000:]}")
            self.seconds.update({name: int(time) / 1000 for name, time in PASSED_TEST.findall(output)})
        self.quick = quick_ones(self.seconds)
        self.seconds["*"] = processor_seconds() - used

    def limit(self, tests):
        """In seconds of the processor. A few tests alone must not take as long as all of them."""
        return max(math.ceil(TIMES_NORMAL * sum(self.seconds[name] for name in tests)), SHORTEST_LIMIT)

    def update(self, root):
        """Makes the copy equal to the tree, whatever a killed run has left. What is equal isn't built again."""
        command = ["git", "-C", root, "ls-files", "-z", "--cached", "--others", "--exclude-standard", "."]
        listed = subprocess.run(command, capture_output=True, text=True, check=False)
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
        header.write_text(switches.header(), encoding="utf-8")
        numbers = {mutant: number for number, mutant in enumerate(mutants, 1) if switches.switch(mutant, number)}
        written = {}
        while numbers:
            for source, text in originals.items():
                texts = {mutant: switches.switch(mutant, number) for mutant, number in numbers.items()
                         if mutant.source == source}
                changed = switches.with_switches(text, header, texts)
                if written.get(source) != changed:
                    (self.tree / source).write_text(changed, encoding="utf-8")
                    written[source] = changed
            code, output = self.ninja("-k", "0")
            if code == 0:
                break
            refused = switches.refused_by(output, numbers)
            print(f"{len(refused)} switches were refused, {len(numbers) - len(refused)} are left", flush=True)
            numbers = {mutant: number for mutant, number in numbers.items() if mutant not in refused} if refused else {}
        isAsleep = all(self.run(program)[0] == 0 for program in self.programs)
        return numbers if isAsleep else {}

    def restore(self, originals):
        for source, text in originals.items():
            (self.tree / source).write_text(text, encoding="utf-8")

    def outcome_of_switch(self, mutant, number):
        return self.outcome_of_tests(self.killers[mutant.source], {switches.VARIABLE: str(number)})

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
        first = [name for name, count in killers.most_common(20) if name in self.seconds]
        for tests in filter(None, [first, self.quick, ["*"]]):
            for program in self.programs:
                code, output = self.run(program, ":".join(tests), self.limit(tests), variables)
                if code is None:
                    return "timed out", program.name
                if code != 0:
                    failed = FAILED_TEST.findall(output)
                    killers.update(failed[:1])
                    return "killed", failed[0] if failed else f"{program.name} ended with {code}"
        return "survived", ""
