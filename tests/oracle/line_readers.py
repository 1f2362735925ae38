# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Times and settings of lines: CTG, CTGL, integration times, TDI stages."""

import math
import struct
from pathlib import Path

import numpy as np
from reading import Refused, contents


def read_ctgl(name: str, ctg_name: str) -> list[tuple[np.float64, np.float64, int]]:
    data = contents(name, "Failed to open CTGL file: ")
    if len(data) % 16 != 0:
        raise Refused(f"Incorrect size on CTGL file. Size = {len(data)}, not divisible by 16, on file {ctg_name}")
    entries = {}
    for time, cycle, line in struct.iter_unpack("<diI", data):
        if math.isnan(time):
            raise Refused("failed to read CTGL file: " + name)
        entries[time] = (np.float64(time), np.float64(cycle) * 1e-6, line)
    if not entries:
        raise Refused("failed to read CTGL file: " + name)
    return [entries[time] for time in sorted(entries)]


def time_at(place: np.float32, times: np.ndarray, first_cycle: np.float64, last_cycle: np.float64) -> np.float64:
    n = len(times) - 1
    i = int(place)
    if 0 <= i < n:
        return times[i] + (times[i + 1] - times[i]) * np.float64(place - np.float32(i))
    if place <= -1:
        return np.float64(place) * first_cycle + times[0]
    return np.float64(place - np.float32(n)) * last_cycle + times[n]


def read_ctg(name: str) -> dict[str, object]:
    data = contents(name, "failed to open CTG file: ")
    times = np.frombuffer(data, "<f8", len(data) // 8)
    if len(times) == 0:
        raise Refused("failed to read CTG file: " + name)
    ctgl_name = name[:-3] + "ctgl"
    changes = read_ctgl(ctgl_name, name) if Path(ctgl_name).exists() else []
    if changes:
        first_cycle, last_cycle = changes[0][1], changes[-1][1]
    else:
        first_cycle = last_cycle = (times[-1] - times[0]) / np.float64(len(times) - 1)
    end = np.float32(len(times))
    places = [np.float32(-2), np.float32(-0.5), np.float32(0.25)]
    places += [end - np.float32(1.5), end - np.float32(1), end + np.float32(1)]
    between = [time_at(place, times, first_cycle, last_cycle) for place in places]
    return {"times": times, "changes": changes, "between": np.array(between, "<f8")}


def scanline_table(records: list[tuple[int, np.float32]]) -> dict[int, np.float32]:
    entries: dict[int, np.float32] = {}
    before: tuple[int, np.float32] | None = None
    for line, value in records:
        if before is not None and line != 0 and line - 1 > before[0]:
            entries[line - 1] = before[1]
        entries[line] = value
        before = (line, value)
    return dict(sorted(entries.items()))


def value_at(place: np.float32, entries: dict[int, np.float32], missing: float) -> np.float32:
    if not entries:
        return np.float32(missing)
    lines = list(entries)
    if place <= lines[0]:
        return entries[lines[0]]
    if place > lines[-1]:
        return entries[lines[-1]]
    b = next(line for line in lines if line >= place)
    a = lines[lines.index(b) - 1]
    step = entries[b] - entries[a]
    return step * (place - np.float32(a)) / np.float32(b - a) + entries[a]


def read_scanlines(name: str, record: str, scale: float, missing: float) -> dict[str, object]:
    data = contents(name, "Can't open file: ")
    if len(data) % struct.calcsize(record) != 0:
        raise Refused("File size is no multiple of the data size, in: " + name)
    records = [
        (line, np.float32(np.float64(stored) * scale)) for line, stored in struct.iter_unpack(record, data)
    ]
    entries = scanline_table(records)
    stored = list(entries.values()) or [np.float32(missing)]
    places = [np.float32(0)]
    for line, _ in records:
        if line < 2**23:
            places += [np.float32(line + offset) for offset in (-1, -0.5, 0, 0.75)]
    values = [min(stored), max(stored)] + [value_at(place, entries, missing) for place in places]
    return {"values": np.array(values, "<f4")}
