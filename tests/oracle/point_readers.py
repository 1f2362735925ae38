# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Lists of ground points and image points."""

import math
import re

import numpy as np
from reading import REAL, Refused, contents, without_white_ends


def point_lines(name: str) -> list[bytes]:
    try:
        data = contents(name, "")
    except Refused:
        return []
    data = data.removeprefix(b"\xef\xbb\xbf")
    lines = data.split(b"\n")
    last = lines.pop()
    return [line.removesuffix(b"\r") for line in lines] + [last]


def trimmed(field: bytes) -> bytes:
    return without_white_ends(field.decode("utf-8", "surrogateescape")).encode("utf-8", "surrogateescape")


def point_number(field: bytes) -> float:
    text = without_white_ends(field.decode("utf-8", "surrogateescape"))
    value = float(text) if REAL.fullmatch(text) else 0.0
    return value if math.isfinite(value) or "n" in text.lower() else 0.0


class Fields:
    def __init__(self, line: bytes):
        self.rest = trimmed(line)

    def take(self) -> bytes:
        field, *after = re.split(rb"[ \t]", self.rest, maxsplit=1)
        if after:
            self.rest = trimmed(after[0])
        return field

    def number(self) -> float:
        return point_number(self.take())


def point_type(field: bytes) -> int:
    text = trimmed(field)
    if not re.fullmatch(rb"[+-]?\d+", text):
        return 0
    return int(text) if 0 <= int(text) <= 6 else 7


def ground_point(line: bytes) -> tuple[bytes, np.ndarray, int] | None:
    if not trimmed(line) or line.startswith(b";"):
        return None
    if line.startswith(b'"'):
        point_id, quote, rest = line[1:].partition(b'"')
        if not quote:
            return None
        fields = Fields(rest)
    else:
        fields = Fields(line)
        point_id = fields.take()
    values = [fields.number() for _ in range(3)] + [0.0, 0.0, 0.0]
    kind = 0
    if re.search(rb"[ \t]", fields.rest):
        values[3], values[4] = fields.number(), fields.number()
        deviation = fields.take()
        values[5] = point_number(deviation)
        kind = point_type(fields.rest[: sum(not 0x80 <= byte < 0xC0 for byte in deviation)])
    return point_id, np.array(values, "<f8"), kind


def image_point(line: bytes) -> tuple[bytes, np.ndarray, bool] | None:
    line = re.sub(rb"\A.[\x80-\xbf]*", b"", trimmed(line), flags=re.DOTALL)
    point_id, quote, rest = line.partition(b'"')
    if not quote:
        return None
    fields = Fields(rest)
    values = [fields.number() for _ in range(4)]
    if values[0] < 0 or values[1] < 0:
        return None
    return point_id, np.array(values, "<f8"), fields.rest.startswith(b"1")


def read_points(name: str, read_line: object) -> dict[str, object]:
    points = [point for point in map(read_line, point_lines(name)) if point is not None]
    return {"points": [(point_id.decode("latin-1"), *rest) for point_id, *rest in points]}
