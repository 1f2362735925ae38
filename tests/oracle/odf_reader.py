# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Orientation files of a sensor line (ODF)."""

import re

import numpy as np
from reading import DECIMAL, INT32, WHITE, Refused, contents, table

WORD = re.compile(rf"[^{WHITE}]+")
#: Stands for the time at which a file is read.
PRESENT = "present"


class OdfHeader:
    def __init__(self, data: bytes):
        self.bytes = data[:512].ljust(512, b"\0")
        self.last_word = ""

    def text(self, offset: int, length: int) -> str:
        return self.bytes[offset : offset + length].split(b"\0")[0].decode("latin-1")

    def word(self, offset: int, length: int) -> str:
        found = WORD.search(self.text(offset, length))
        self.last_word = found.group() if found else self.last_word
        return self.last_word

    def number_text(self, offset: int, length: int) -> str:
        text = self.text(offset, length).lstrip(WHITE)
        return text[1:] if text.startswith("+") and not text.startswith("+-") else text

    def integer(self, offset: int, length: int) -> int | None:
        found = re.match(r"-?\d+", self.number_text(offset, length), re.ASCII)
        return int(found.group()) if found else None

    def int32(self, offset: int, length: int, missing: object) -> object:
        value = self.integer(offset, length)
        return missing if value is None else min(max(value, INT32[0]), INT32[-1])

    def double(self, offset: int, length: int, missing: float) -> float:
        found = re.match(rf"-?(?:{DECIMAL}|inf|nan)", self.number_text(offset, length), re.ASCII | re.IGNORECASE)
        return float(found.group()) if found else missing


ODF_RECORD = np.dtype([("numbers", "<i4", 7), ("deviations", "<u2", 6)])


def read_odf(name: str) -> dict[str, object]:
    message = "sensor::KESOrientation::KESOrientation(42) Can't load " + name
    try:
        data = contents(name, "")
    except Refused:
        raise Refused(message) from None
    header = OdfHeader(data)
    count = header.integer(176, 16)
    records = None if count is None or count < 0 else table(data, 512, count, ODF_RECORD)
    if count == 0:
        records = np.empty(0, ODF_RECORD)
    if records is None:
        raise Refused(message)
    values: dict[str, object] = {
        "version": header.text(0, 16),
        "source": header.word(16, 32),
        "project": header.word(48, 64),
        "strip": header.word(112, 64),
        "position_unit": header.int32(192, 2, 0),
        "angle_unit": header.int32(208, 2, 3),
        "rotation": header.int32(224, 16, 0),
        "absolute_time": header.int32(240, 16, PRESENT),
        "bases": [header.int32(offset, length, 0) for offset, length in ((384, 12), (416, 12), (448, 12), (480, 32))],
    }
    is_current = values["version"] == "ODF 1.2"
    comments = (256, 96 if is_current else 128)
    values["comments"] = header.word(*comments) if header.text(*comments) else ""
    anchor = [header.double(352, 16, 100.0), header.double(368, 16, 100.0)] if is_current else [100.0, 100.0]
    values["anchor"] = np.array(anchor, "<f8")
    if values["version"] == "ODF 1.0":
        scales = [10000, 1000, 100000000 if values["angle_unit"] == 2 else 1000000, 100000, 10000000]
    else:
        fields = ((396, 20, 10000), (194, 14, 1000), (210, 14, 1000000), (428, 20, 100000), (460, 20, 10000000))
        scales = [header.int32(*field) for field in fields]
    values["scales"] = scales
    time_scale, position_scale, angle_scale, position_deviation_scale, angle_deviation_scale = scales
    divisors = np.array([time_scale] + 3 * [position_scale] + 3 * [angle_scale], "<f8")
    bases = np.array(values["bases"], "<f8")
    numbers = records["numbers"].astype("<f8") / divisors
    numbers[:, :4] += bases
    values["values"] = numbers.ravel()
    deviation_scales = 3 * [position_deviation_scale] + 3 * [angle_deviation_scale]
    values["deviations"] = (records["deviations"].astype("<f4") / np.array(deviation_scales, "<f4")).ravel()
    return values
