# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Compares what the library reads from a file with what the independent readers do."""

import json
import re
import subprocess
import time
import warnings
from pathlib import Path

import numpy as np
from odf_reader import PRESENT
from readers import READERS
from reading import Refused

File = tuple[str, Path]


def library_values(program: str, files: list[File]) -> list[dict[str, object]]:
    """What the library makes of each file, in one process."""
    listed = "".join(f"{kind}\t{path}\n" for kind, path in files)
    done = subprocess.run([program], input=listed, capture_output=True, text=True, check=True)
    values = [json.loads(line) for line in done.stdout.splitlines()]
    assert len(values) == len(files)
    return values


def comparable(text: str) -> str:
    """How many replacement characters stand for a run of invalid bytes isn't defined, nor whether line ends and tabs in
    an attribute become blanks."""
    return re.sub("[\t\r\n]", " ", re.sub("\ufffd+", "\ufffd", text))


def same_text(expected: str, digits: str, encoding: str) -> bool:
    found = bytes.fromhex(digits).decode(encoding)
    return comparable(found) == comparable(expected)


def same_numbers(expected: np.ndarray, digits: str) -> bool:
    """To the bit; a NaN is like any other."""
    found = np.frombuffer(bytes.fromhex(digits), expected.dtype)
    if found.shape != expected.shape:
        return False
    both_nan = np.isnan(found) & np.isnan(expected)
    bits = f"<u{expected.dtype.itemsize}"
    return bool(np.all(both_nan | (found.view(bits) == np.ascontiguousarray(expected).view(bits))))


def same_value(expected: object, found: object, encoding: str) -> bool:
    if expected is PRESENT:
        return abs(found - time.time()) < 3600
    if isinstance(expected, str):
        return same_text(expected, found, encoding)
    if isinstance(expected, np.ndarray):
        return same_numbers(expected, found)
    if isinstance(expected, np.floating):
        return same_numbers(np.array([expected]), found)
    if isinstance(expected, (list, tuple)):
        return len(expected) == len(found) and all(
            same_value(e, f, encoding) for e, f in zip(expected, found, strict=True)
        )
    return expected == found


def same_refusal(expected: Refused, found: str) -> bool:
    if expected.is_start:
        return found.startswith(expected.message)
    # A message ends where it has a zero byte.
    message = expected.message.split("\0")[0]
    return comparable(found) == comparable(message)


def difference(file: File, library: dict[str, object]) -> str | None:
    """What the two readers don't agree on; nothing if they agree."""
    kind, path = file
    refusal = bytes.fromhex(library["refused"]).decode(errors="replace") if "refused" in library else None
    try:
        with warnings.catch_warnings():
            # Values of damaged files overflow.
            warnings.simplefilter("ignore")
            expected = READERS[kind](str(path))
    except Refused as refused:
        if refused.is_doubtful:
            return None
        if refusal is None:
            return f"{path}: only the pages refuse it: {refused.message}"
        return None if same_refusal(refused, refusal) else f"{path}: {refusal!r} in place of {refused.message!r}"
    # Nothing says what becomes of some errors.
    if expected.pop("is_doubtful", False) and refusal is not None:
        return None
    if refusal is not None:
        return f"{path}: only the library refuses it: {refusal}"
    encoding = "latin-1" if kind in {"odf", "gpt", "ipt"} else "utf-8"
    for key, value in expected.items():
        if key in library and not same_value(value, library[key], encoding):
            return f"{path}: {key}: {library[key]!r} in place of {value!r}"
    missing = expected.keys() ^ library.keys()
    return f"{path}: only one of the two has {sorted(missing)}" if missing else None


def differences(program: str, files: list[File]) -> list[str]:
    found = [difference(file, values) for file, values in zip(files, library_values(program, files), strict=True)]
    return [each for each in found if each is not None]
