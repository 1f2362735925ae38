# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Damages files as transport, hands and other programs do. What comes out depends on the given generator alone."""

import random
import re
import struct

WORDS = [b"nan", b"inf", b"-inf", b"", b"abc", b"1,5", b"1e400", b"1e-400", b"0x10", b"+7", b"+-7", b"-3", b"1.5"]
WORDS += [b"1e2", b".5", b"99999999999999999999", b"12x", b"--1", b" 4", b"1.2.3", b"5.", b"2147483648", b"-0"]
NUMBER = re.compile(rb"[+-]?\d+(?:\.\d+)?(?:[eE][+-]?\d+)?")
INTEGERS = [-(2**31), -1, 0, 1, 2, 3, 8, 9, 20, 24, 48, 60, 512, 65536, 2**31 - 1]
DOUBLES = [0.0, -0.0, float("nan"), float("inf"), -1e300, 5e-324, 1e10]


def span(data: bytes, generator: random.Random, longest: int = 64) -> tuple[int, int]:
    begin = generator.randrange(len(data) + 1)
    return begin, min(len(data), begin + generator.randint(1, longest))


def change_bytes(data: bytes, generator: random.Random) -> bytes:
    changed = bytearray(data)
    for _ in range(generator.choice([1, 1, 2, 8])):
        if changed:
            changed[generator.randrange(len(changed))] = generator.randrange(256)
    return bytes(changed)


def change_header_bytes(data: bytes, generator: random.Random) -> bytes:
    return change_bytes(data[:512], generator) + data[512:]


def flip_bit(data: bytes, generator: random.Random) -> bytes:
    changed = bytearray(data)
    if changed:
        changed[generator.randrange(len(changed))] ^= 1 << generator.randrange(8)
    return bytes(changed)


def set_number(data: bytes, generator: random.Random) -> bytes:
    if generator.random() < 0.5:
        number = struct.pack("<i", generator.choice([*INTEGERS, len(data), len(data) - 48]))
    else:
        number = struct.pack("<d", generator.choice(DOUBLES))
    # Headers are short, and so hit more often than chance would.
    at = 4 * generator.randrange(min(len(data), generator.choice([28, 64, 4096])) // 4 + 1)
    return data[:at] + number + data[at + len(number) :]


def cut(data: bytes, generator: random.Random) -> bytes:
    return data[: generator.randrange(len(data) + 1)]


def insert(data: bytes, generator: random.Random) -> bytes:
    at = generator.randrange(len(data) + 1)
    return data[:at] + generator.randbytes(generator.choice([1, 4, 8, 40])) + data[at:]


def remove(data: bytes, generator: random.Random) -> bytes:
    begin, end = span(data, generator)
    return data[:begin] + data[end:]


def repeat(data: bytes, generator: random.Random) -> bytes:
    begin, end = span(data, generator)
    return data[:end] + data[begin:]


def swap(data: bytes, generator: random.Random) -> bytes:
    size = generator.choice([1, 4, 8, 16, 40, 48])
    count = len(data) // size
    if count < 2:
        return data
    a, b = sorted(generator.sample(range(count), 2))
    pieces = [data[i * size : (i + 1) * size] for i in range(count)] + [data[count * size :]]
    pieces[a], pieces[b] = pieces[b], pieces[a]
    return b"".join(pieces)


def word_for_number(data: bytes, generator: random.Random) -> bytes:
    numbers = list(NUMBER.finditer(data))
    if not numbers:
        return data
    # As above: numbers of headers, before those of long tables.
    number = generator.choice(numbers if generator.random() < 0.3 else numbers[:24])
    return data[: number.start()] + generator.choice(WORDS) + data[number.end() :]


def change_line_ends(data: bytes, generator: random.Random) -> bytes:
    return data.replace(b"\n", generator.choice([b"\r\n", b"\r", b"\n\n", b" \n", b"\t"]))


def swap_lines(data: bytes, generator: random.Random) -> bytes:
    lines = data.split(b"\n")
    if len(lines) < 2:
        return data
    a, b = generator.randrange(len(lines)), generator.randrange(len(lines))
    lines[a], lines[b] = lines[b], lines[a]
    return b"\n".join(lines)


def drop_line(data: bytes, generator: random.Random) -> bytes:
    lines = data.split(b"\n")
    del lines[generator.randrange(len(lines))]
    return b"\n".join(lines)


def insert_white_space(data: bytes, generator: random.Random) -> bytes:
    at = generator.randrange(len(data) + 1)
    return data[:at] + generator.choice([b" ", b"\t", b"\n", b"\r", b"\r\n", b"\v", b"\xc2\xa0"]) + data[at:]


BINARY = [change_bytes, change_header_bytes, flip_bit, set_number, set_number, cut, insert, remove, repeat, swap]
TEXT = [word_for_number, word_for_number, change_line_ends, swap_lines, drop_line]
TEXT += [insert_white_space, insert_white_space]


def mutated(data: bytes, generator: random.Random, is_text: bool) -> bytes:
    """One to three kinds of damage, one after the other."""
    kinds = TEXT + BINARY if is_text else BINARY
    for _ in range(generator.choice([1, 1, 1, 2, 3])):
        data = generator.choice(kinds)(data, generator)
    return data
