# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""What the readers share: refusals, white space, and what a number is."""

import re
from pathlib import Path

import numpy as np

WHITE = " \t\n\v\f\r"
INT32 = range(-(2**31), 2**31)
DECIMAL = r"(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?"
REAL = re.compile(rf"[+-]?(?:{DECIMAL}|[iI][nN][fF])|[nN][aA][nN]", re.ASCII)
WHOLE = re.compile(r"[+-]?\d+", re.ASCII)


class Refused(Exception):
    """A file that isn't taken. Of a message that ends with the reason of a parser, only the start is known."""

    def __init__(self, message: str, is_start: bool = False):
        super().__init__(message)
        self.message = message
        self.is_start = is_start
        #: Whether a parser may do otherwise, since nothing is said of what the file has.
        self.is_doubtful = False


def contents(name: str, failure: str) -> bytes:
    path = Path(name)
    if not path.is_file():
        raise Refused(failure + name)
    return path.read_bytes()


def is_white(character: str) -> bool:
    """Python counts four separators of ASCII among white space."""
    return character.isspace() and character not in "\x1c\x1d\x1e\x1f"


def without_white_ends(text: str) -> str:
    return text.strip("".join({c for c in text if is_white(c)}) or " ")


def table(data: bytes, offset: int, count: int, dtype: np.dtype) -> np.ndarray | None:
    """`count` entries from `offset` on; none if the file hasn't as many."""
    if offset < 0 or offset + count * dtype.itemsize > len(data):
        return None
    return np.frombuffer(data, dtype, count, offset)
