#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""snippets.py MODE PAGE...: builds the fenced blocks of the documentation's pages, and runs them.

Modes: `flight` makes a folder to run in; `programs` takes the blocks of C++, Python and shell commands, the output that
is shown, and the synopses of commands; `projects` those of CMake, as projects that find the installed package; `names`
looks for the tests that the pages name.

A block may have an HTML comment directly above it:

    <!-- snippet: run
    kes::Strip const strip("flight/strip.stp");
    expect: ground.z == 25.0
    -->

The first line says what is done with the block: `run` (the default), `build`, which stops before running it, or
`c++17`, which is `run` in that standard (the default is C++20). Lines of code stand before the block's own, so that it
need not declare everything; each `expect:` is a condition that must hold after it; with `throws:`, the block must end
with an exception of that text. A comment that begins with `before each block` has lines for all blocks of its page, but
those with includes of their own. Includes come first. A block with
includes of its own gets no others; the rest get all of the library. Of shell commands, `build` checks the syntax and
that the programs exist. For CMake, `build` configures only.

A block of `text` right after one of commands or Python is what that prints on standard output, to the letter; `...`
stands for anything. With a comment `snippet: output`, it is what the commands in the comment print, even if they fail.
A block without a language is a synopsis: the tool must have its commands and options.

Programs run in a folder with a simulated flight (see `make_flight`), each page in one of its own that has links to all
in it.
"""

import argparse
import itertools
import os
import re
import shlex
import shutil
import subprocess
import sys
from pathlib import Path
from typing import NamedTuple

BLOCK = re.compile(
    r"(?:^<!-- snippet: ([^\n]*?)(?: -->|\n(.*?)^-->)\n)?^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL
)
BEFORE_EACH = re.compile(r"^<!-- before each block\n(.*?)^-->$", re.MULTILINE | re.DOTALL)
TEST_NAME = re.compile(r"`([A-Z]\w+)\.([A-Z]\w+)`")
PRELUDE = """\
#include <dsm/ConstantElevationSource.h>
#include <dsm/RasterElevationSource.h>
#include <geo/GroundPoint.h>
#include <geo/ImagePoint.h>
#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <kes/kes.h>
#include <kesgdal/OrthoTransformer.h>
#include <kesgdal/Orthophoto.h>
#include <sensor/kessensor.h>
#include <cmath>
#include <stdexcept>
"""
# `check` is for the conditions; what a snippet declares for its reader's sake may remain unused.
PROGRAM = """\
{includes}
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string_view>

int main() {{
  auto const check = [](bool holds, char const* condition) {{
    if (!holds) {{
      std::cerr << "doesn't hold: " << condition << '\\n';
      std::exit(1);
    }}
  }};
  try {{
    {{
{body}
    }}
    check({thrown}[0] == 0, "it throws");
    return 0;
  }} catch (std::exception const& error) {{
    std::cerr << error.what() << '\\n';
    return std::string_view(error.what()) == {thrown} ? 0 : 1;
  }}
}}
"""


class Snippet(NamedTuple):
    place: str  # page:line of the fence
    language: str
    text: str
    what: str
    common: list[str]
    setup: list[str]
    conditions: list[str]
    thrown: str
    output: str | None  # that is shown

    @property
    def name(self):
        return re.sub(r"\W+", "_", self.place)


def values(lines, key):
    return [line.removeprefix(key).strip() for line in lines if line.startswith(key)]


def is_output(block):
    """Whether a block shows what the one before it prints."""
    return block[3] == "text" and block[1] is None


def snippets_of(page, languages):
    text = page.read_text(encoding="utf-8")
    blocks = list(BLOCK.finditer(text))
    if len(blocks) != text.count("\n```") // 2 or len(re.findall("<!-- snippet:", text)) != sum(
        block[1] is not None for block in blocks
    ):
        sys.exit(f"{page}: a block or the comment of one isn't written as this script reads it")
    common = [line for lines in BEFORE_EACH.findall(text) for line in lines.splitlines()]
    for before, block, following in zip([None, *blocks], blocks, [*blocks[1:], None]):
        if is_output(block):
            if before is None or before[3] not in ("sh", "python") or before[1] == "build":
                sys.exit(f"{page}: a block of text is the output of nothing that is run")
            continue
        lines = (block[2] or "").splitlines()
        yield Snippet(
            place=f"{page.name}:{text.count(chr(10), 0, block.start(4))}",
            language=block[3],
            text=block[4],
            what=block[1] or "run",
            common=common,
            setup=[line for line in lines if not line.startswith(("expect:", "throws:"))],
            conditions=values(lines, "expect:"),
            thrown="".join(values(lines, "throws:")),
            output=following[4] if following is not None and is_output(following) else None,
        )
        if block[3] not in languages:
            sys.exit(f"{page}: nothing is known of blocks in {block[3]}")


def done(command, **options):
    result = subprocess.run(command, capture_output=True, text=True, errors="replace", check=False, **options)
    if result.returncode != 0:
        print(shlex.join(map(str, command)), result.stdout, result.stderr, sep="\n")
    return result.returncode == 0


def prints(command, expected, fails=False, **options):
    """Whether a command prints what is expected on standard output; all the same without an expectation."""
    if expected is None:
        return done(command, **options)
    result = subprocess.run(command, capture_output=True, text=True, errors="replace", check=False, **options)
    shown = [line.rstrip() for line in result.stdout.splitlines()]
    pattern = ".*?".join(map(re.escape, expected.rstrip("\n").split("...")))
    good = re.fullmatch(pattern, "\n".join(shown), re.DOTALL) and (fails or result.returncode == 0)
    if not good:
        print(shlex.join(map(str, command)), result.stdout, result.stderr, "expected:", expected, sep="\n")
    return bool(good)


def make_flight(options):
    """A folder with what the pages speak of: a strip below flight/ with a rendered image, the same below demo-output/,
    a block, elevation models around it, and the tool where a build has it."""
    folder = options.folder
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    for link, target in {
        "terrain.tif": options.terrain,
        "dem.tif": options.terrain,
        "data": options.terrain.parent.parent,
        "demo-output": folder / "flight",
        "build/release/apps/kes/kes": options.tool,
        "scripts/examples": options.terrain.parents[2] / "scripts/examples",
    }.items():
        (folder / link).parent.mkdir(parents=True, exist_ok=True)
        (folder / link).symlink_to(target)
    simulate = "simulate flight --dem terrain.tif --lines 1300 --samples 6100 --render PANN00A"
    block = "block create valley.blf flight/strip.stp --crs EPSG:32616 --dem terrain.tif"
    return all(done([options.tool, *words.split()], cwd=folder) for words in (simulate, block))


def folder_of_page(options):
    """A new folder with links to all that `make_flight` made."""
    folder = (options.work / "run").absolute()
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    for made in options.folder.iterdir():
        (folder / made.name).symlink_to(made.absolute())
    return folder


def is_include(line):
    return line.startswith("#include")


def source_of(snippet):
    own = any(map(is_include, snippet.text.splitlines()))
    lines = [*([] if own else snippet.common), *snippet.setup, *snippet.text.splitlines()]
    includes = [line for line in lines if is_include(line)]
    body = [line for line in lines if not is_include(line)]
    body += [f"check({condition}, {quoted(condition)});" for condition in snippet.conditions]
    return PROGRAM.format(
        includes="\n".join(includes) if own else PRELUDE + "\n".join(includes),
        body="\n".join(body),
        thrown=quoted(snippet.thrown),
    )


def quoted(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def build_and_run(snippet, options):
    source = options.work / f"{snippet.name}.cpp"
    program = source.with_suffix("")
    source.write_text(source_of(snippet), encoding="utf-8")
    standard = snippet.what if snippet.what == "c++17" else "c++20"
    return done([*options.compiler, f"-std={standard}", source, "-o", program, *options.libraries]) and (
        snippet.what == "build" or done([program], cwd=options.folder)
    )


def commands_exist(text, root):
    programs = [line.split()[0] for line in text.splitlines() if line and not line.startswith((" ", "#"))]
    missing = [name for name in programs if not shutil.which(name) and not (root / name).is_file()]
    if missing:
        print("no program", *missing)
    return not missing


def environment_of(options, **more):
    """With the tool in the path."""
    path = f"{options.folder / 'build/release/apps/kes'}:{os.environ['PATH']}"
    return {**os.environ, "PATH": path, **more}


def run_commands(snippet, options):
    if snippet.what == "build":
        return done(["bash", "-n", "-c", snippet.text]) and commands_exist(snippet.text, options.root)
    where = {"cwd": options.folder, "env": environment_of(options)}
    if snippet.setup and not done(["bash", "-euo", "pipefail", "-c", "\n".join(snippet.setup)], **where):
        return False
    return prints(["bash", "-euo", "pipefail", "-c", snippet.text], snippet.output, **where)


def compare_output(snippet, options):
    """A block of output with the commands in its comment."""
    command = ["bash", "-uo", "pipefail", "-c", "\n".join(snippet.setup)]
    return prints(command, snippet.text, fails=True, cwd=options.folder, env=environment_of(options))


def check_synopsis(snippet, options):
    """Whether the tool has the commands and options of a synopsis, whose lines go on where they are indented."""
    good = True
    for synopsis in re.split(r"\n(?! )", snippet.text.strip()):
        words = synopsis.split()
        command = list(itertools.takewhile(re.compile(r"[a-z]+").fullmatch, words))
        result = subprocess.run(
            [*command, "--help"], capture_output=True, text=True, check=False, env=environment_of(options)
        )
        known = set(re.findall(r"(?<![\w-])--?[a-z][\w-]*", result.stdout))
        missing = set(re.findall(r"(?<![\w-])--?[a-z][\w-]*", synopsis)) - known
        if result.returncode != 0 or command[:1] != ["kes"] or missing:
            print(*command, *(["has no", *sorted(missing)] if result.returncode == 0 else ["isn't a command"]))
            good = False
    return good


def configure_and_build(snippet, options):
    folder = options.work / snippet.name
    build = folder / "build"
    folder.mkdir(parents=True, exist_ok=True)
    for name in ("app.cpp", "ground_point.cpp"):
        shutil.copyfile(options.root / "docs/tutorial/ground_point.cpp", folder / name)
    (folder / "kessensor").symlink_to(options.root)
    lines = ["cmake_minimum_required(VERSION 3.25)", "project(app LANGUAGES CXX)"]
    if "add_executable" not in snippet.text:
        lines.append("add_executable(app app.cpp)")
    (folder / "CMakeLists.txt").write_text("\n".join([*lines, *snippet.setup, snippet.text]), encoding="utf-8")
    configure = ["cmake", "-S", folder, "-B", build, "-G", "Ninja", *options.configure]
    return done(configure) and (snippet.what == "build" or done(["cmake", "--build", build]))


def tests_exist(page, root):
    """Whether every test that a page names is in the sources of the tests."""
    sources = "\n".join(path.read_text(encoding="utf-8") for path in (root / "tests").rglob("*.cpp"))
    names = TEST_NAME.findall(page.read_text(encoding="utf-8"))
    missing = [".".join(name) for name in names if not re.search(r"TEST\w*\({}, {}\)".format(*name), sources)]
    print(f"{page.name}: {len(names)} tests named", *(f"no test {name}" for name in missing), sep="\n")
    return names and not missing


def run_python(snippet, options):
    """Without the package only the syntax is checked."""
    script = "\n".join([*snippet.setup, snippet.text])
    if not options.python:
        compile(script, snippet.place, "exec")
        return True
    environment = environment_of(options, PYTHONPATH=str(options.python), PYTHONDONTWRITEBYTECODE="1")
    return prints([sys.executable, "-c", script], snippet.output, cwd=options.folder, env=environment)


WAYS = {
    "programs": {
        "cpp": build_and_run,
        "sh": run_commands,
        "python": run_python,
        "text": compare_output,
        "": check_synopsis,
    },
    "projects": {"cmake": configure_and_build},
}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("mode", choices=["flight", "names", *WAYS])
    parser.add_argument("pages", nargs="*", type=Path)
    parser.add_argument("--folder", type=Path, help="with the simulated flight")
    parser.add_argument("--work", type=Path, help="for sources and programs")
    parser.add_argument("--root", type=Path, help="of the source tree")
    parser.add_argument("--tool", type=Path)
    parser.add_argument("--terrain", type=Path)
    parser.add_argument("--compiler", type=shlex.split, help="with its options")
    parser.add_argument("--libraries", type=shlex.split, help="options that come after the source")
    parser.add_argument("--python", type=Path, help="folder of the Python package, where it is built")
    parser.add_argument("--configure", type=shlex.split, help="options of cmake")
    options = parser.parse_args()
    if options.mode == "flight":
        return 0 if make_flight(options) else 1
    if options.mode == "names":
        return 0 if all(tests_exist(page, options.root) for page in options.pages) else 1
    options.work.mkdir(parents=True, exist_ok=True)
    if options.mode == "programs":
        options.folder = folder_of_page(options)
    languages = {language for ways in WAYS.values() for language in ways}
    failed = 0
    for page in options.pages:
        for snippet in snippets_of(page, languages):
            if way := WAYS[options.mode].get(snippet.language):
                good = way(snippet, options)
                print("good  " if good else "FAILED", snippet.place)
                failed += not good
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
