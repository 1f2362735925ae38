# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Changes that are compiled into a program together, each asleep until an environment variable names its number: see
switch.h."""

import re
from pathlib import Path

from mutation.changes import BINARY, BOOLEANS

HEADER = Path(__file__).with_name("switch.h")
# Operators that can be switched: between their operands comes an object, so that precedence and grouping stay.
SWITCHED = {
    "+": "plus", "-": "minus", "*": "times", "/": "divided", "%": "modulo",
    "<": "less", "<=": "notMore", ">": "more", ">=": "notLess", "==": "same", "!=": "other",
    "+=": "add", "-=": "subtract", "*=": "multiply", "/=": "divide",
}
VARIABLE = "KES_MUTANT"


def header():
    """The header that a source with switches includes."""
    operators = []
    for old, name in SWITCHED.items():
        kind = "ASSIGNMENT" if old in ("+=", "-=", "*=", "/=") else "OPERATOR"
        operators.append(f"MUTATION_{kind}({name}, {old}, {BINARY[old]})\n")
    return f'#pragma once\n#include "{HEADER}"\nnamespace mutation {{\n{"".join(operators)}}}\n'


def switch(mutant, number):
    """The text that acts as the original or as the change, or None."""
    if re.search(r"\bconstexpr\b|\bcase\b|\benum\b", mutant.before):
        return None
    if mutant.old in SWITCHED and mutant.new == BINARY[mutant.old]:
        return f"{mutant.old} ::mutation::{SWITCHED[mutant.old]}<{number}> {mutant.old}"
    if mutant.old in BOOLEANS or mutant.old[0].isdigit():
        return f"::mutation::pick<{number}>({mutant.old}, {mutant.new})"
    return None


def with_switches(text, included, switches):
    """A source with the switches {mutant: text}; its lines keep their numbers."""
    for mutant in sorted(switches, key=lambda mutant: -mutant.start):
        text = text[:mutant.start] + switches[mutant] + text[mutant.end:]
    return f'#include "{included}"\n#line 1\n{text}'


def refused_by(output, numbers):
    """The switches that the compiler's errors name, by their number or their line."""
    named = {int(a or b) for a, b in re.findall(r"mutation::\w+<(\d+)|\bint N = (\d+)", output)}
    lines = set()
    for place in re.finditer(r"([\w./-]+):(\d+)(?::\d+)?:? +(?:error|required|in .constexpr)", output):
        lines.add((Path(place[1]).name, int(place[2])))
    return {mutant for mutant, number in numbers.items()
            if number in named or (Path(mutant.source).name, mutant.line) in lines}
