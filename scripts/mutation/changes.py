# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The changes that the mutation check makes to a source, found token by token. What stands in comments, texts,
includes, static_asserts, and lists of template parameters or arguments stays as it is."""

import re
from typing import NamedTuple

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
