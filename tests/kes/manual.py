#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""manual.py KES: compares the man pages and the completions of bash, zsh and fish with what `kes help` prints: each has
every command and every option, with its words. The shells themselves complete here, but for zsh, whose functions are
called with what it hands to them."""

import re
import subprocess
import sys
import tempfile
from pathlib import Path

KES = sys.argv[1]
# Of the help, where the texts begin.
COLUMN = 30
failures = []


def run(*command, stdin=None):
    result = subprocess.run([str(part) for part in command], input=stdin, capture_output=True, text=True, check=False)
    if result.returncode != 0 or result.stderr:
        failures.append(f"{command[:4]}: exit code {result.returncode}: {result.stderr[:500]}")
    return result.stdout


def section(text, title):
    """The entries of a section of the help: first word, the rest of the left column, and the right one."""
    found = re.search(rf"^{title}:\n((?:.+\n)*)", text, re.MULTILINE)
    lines = found[1].splitlines() if found else []
    entries = []
    for line, after in zip(lines, [*lines[1:], ""]):
        if line[:COLUMN].isspace():
            continue
        # What is too wide for the left column has the right one in the next line.
        wide = after != "" and after[:COLUMN].isspace()
        left, right = (line, after[COLUMN:]) if wide else (line[:COLUMN], line[COLUMN:])
        name, _, value = left.strip().partition(" ")
        entries.append((name, value, right))
    return entries


class Command:
    def __init__(self, words):
        self.words = words
        text = run(KES, "help", *words)
        self.below = [name for name, _, _ in section(text, "Subcommands")]
        groups = set(re.findall(r"^(\w+):$", text, re.MULTILINE)) - {"Subcommands", "Positionals"}
        self.options, self.choices = {}, {}
        for names, value, what in (entry for group in groups for entry in section(text, group)):
            # A flag whose value may be left out is listed with the one that it has then.
            for name in re.sub(r"\{.*\}", "", names).split(","):
                self.options[name] = what
                choices = re.search(r"TEXT:\{(.*?)\}", value)
                if choices and "{" not in names:
                    self.choices[name] = choices[1].split(",")


def commands(words=()):
    command = Command(words)
    yield command
    for name in command.below:
        yield from commands((*words, name))


def check(what, found, expected):
    missing = set(expected) - set(found)
    if missing:
        failures.append(f"{what}: no {', '.join(sorted(missing))}")


def check_page(command, folder):
    page = folder / f"{'-'.join(('kes', *command.words))}.1"
    text = re.sub(r"\s+", " ", run("man", "--warnings=w", "--nh", "--nj", "-l", page, stdin=""))
    for name, what in command.options.items():
        if not re.search(rf" {name}(,.*?)? .*?{re.escape(what)}", text):
            failures.append(f"{page.name}: no {name}: {what}")
    check(page.name, re.findall(r"see (kes-[\w-]+)\(1\)", text),
          ["-".join(("kes", *command.words, name)) for name in command.below])


def in_bash(script, words):
    array = " ".join(f"'{word}'" for word in ("kes", *words))
    return run("bash", "-c", f"source {script}; COMP_WORDS=({array}); COMP_CWORD={len(words)}; _kes; "
               "printf '%s\\n' \"${COMPREPLY[@]}\"").split()


def in_fish(script, words):
    line = " ".join(("kes", *words))
    return [answer.split("\t")[0] for answer in run("fish", "-c", f"source {script}; complete -C '{line}'").splitlines()]


def in_zsh(script, words):
    """What zsh's function hands to _arguments and _describe."""
    array = " ".join(f"'{word}'" for word in ("kes", *words))
    answers = run("zsh", "-fc", "_arguments() { print -rl -- $@ }; _describe() { print -rl -- ${(P)4} }; "
                  f"words=({array}); CURRENT={len(words) + 1}; source {script}").splitlines()
    names = [re.match(r"(?:\*|\(.*?\))?(-[\w-]+)|(\w+):", answer) for answer in answers]
    return [name[1] or name[2] for name in names if name]


def check_shell(shell, complete, script, all_commands):
    for command in all_commands:
        place = f"{shell}, {' '.join(('kes', *command.words))}"
        if shell == "zsh":
            check(place, complete(script, (*command.words, "-")), command.options)
            check(place, complete(script, (*command.words, "")), command.below)
            continue
        check(place, complete(script, (*command.words, "-")) + complete(script, (*command.words, "--")), command.options)
        check(place, complete(script, (*command.words, "")), command.below)
        for name, choices in command.choices.items():
            check(f"{place} {name}", complete(script, (*command.words, name, "")), choices)


def main():
    all_commands = list(commands())
    with tempfile.TemporaryDirectory() as work:
        folder = Path(work) / "man" / "man1"
        run(KES, "manual", folder)
        check("pages", [page.name for page in folder.iterdir()],
              ["-".join(("kes", *command.words)) + ".1" for command in all_commands])
        for command in all_commands:
            check_page(command, folder)
        for shell, complete in (("bash", in_bash), ("fish", in_fish), ("zsh", in_zsh)):
            script = Path(work) / shell
            script.write_text(run(KES, "completion", shell), encoding="utf-8")
            check_shell(shell, complete, script, all_commands)
    if failures:
        sys.exit("\n".join(failures))


if __name__ == "__main__":
    main()
