# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""CAM files and misalignments."""

import math
import re
from datetime import datetime, timezone

import numpy as np
from reading import INT32, REAL, WHITE, WHOLE, Refused, contents, is_white, without_white_ends

MONTHS = ["jan", "feb", "mar", "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec"]
LONG_DATE = re.compile(r"(\w{3}) (\d\d) (\d\d):(\d\d):(\d\d) (\d{4})", re.ASCII)
SHORT_DATE = re.compile(r"(\w{3}) (\d) (\d\d):(\d\d):(\d\d) (\d{4})", re.ASCII)
# Older versions of Qt take signs and blanks for digits.
DOUBTFUL_DATE = re.compile(r".*\w{3} [\d +-]{1,2} [\d +-]{2}:[\d +-]{2}:[\d +-]{2} [\d +-]{4}", re.ASCII | re.DOTALL)
# An exponent without digits spoils its number; after a point at the end, there is none.
POSITION = re.compile(
    r"[+-]?(?:(?>\d+\.\d+|\.\d+|\d++(?!\.))(?:[eE][+-]?\d+|(?![eE]))|\d+\.(?!\d)|[iI][nN][fF]|[nN][aA][nN])",
    re.ASCII,
)


def cam_text(line: str) -> str:
    quote = line.find('"')
    if quote == -1:
        return line
    text = line[quote + 1 :]
    return text[:-1] if text.endswith('"') else text


def cam_date(line: str, name: str) -> int:
    text = line[:-1]
    for expression, length in ((LONG_DATE, 20), (SHORT_DATE, 19)):
        found = expression.fullmatch(text[-length:])
        if not found or found.group(1).lower() not in MONTHS:
            continue
        day, hour, minute, second, year = (int(group) for group in found.groups()[1:])
        month = 1 + MONTHS.index(found.group(1).lower())
        try:
            return int(datetime(year, month, day, hour, minute, second, tzinfo=timezone.utc).timestamp())
        except ValueError:
            continue
    refused = Refused(f"Cannot parse time: {line} in file: {name}")
    refused.is_doubtful = DOUBTFUL_DATE.fullmatch(text[-20:]) is not None
    raise refused


def second_word(line: str) -> str:
    words = re.split(f"[{WHITE}]+", line)
    return words[1] if len(words) > 1 else ""


def cam_float(line: str, name: str) -> np.float32:
    refused = Refused(f"Parse error in file {name}: {line}")
    word = without_white_ends(second_word(line))
    if not REAL.fullmatch(word):
        raise refused
    value = float(word)
    narrow = np.float32(value)
    is_named = "n" in word.lower()
    is_too_large = np.isinf(narrow) and not is_named
    is_too_small = narrow == 0 and re.search("[1-9]", re.split("[eE]", word)[0]) is not None
    if is_too_large or is_too_small:
        raise refused
    return narrow


def cam_integer(line: str, name: str) -> int:
    word = second_word(line)
    if not WHOLE.fullmatch(word) or int(word) not in INT32:
        refused = Refused(f"Parse error in file {name}: {line}")
        refused.is_doubtful = "\0" in word or word != without_white_ends(word)
        raise refused
    return int(word)


def position_numbers(text: str, count: int, name: str) -> list[np.float32]:
    refused = Refused("Parse error in file " + name)
    numbers = []
    at = 0
    while len(numbers) < count:
        while at < len(text) and is_white(text[at]):
            at += 1
        found = POSITION.match(text, at)
        if not found:
            raise refused
        word = found.group()
        value = float(word)
        is_named = "n" in word.lower()
        if (math.isinf(value) and not is_named) or (value == 0 and re.search("[1-9]", re.split("[eE]", word)[0])):
            raise refused
        numbers.append(np.float32(value))
        at = found.end()
    return numbers


MILLIMETRE = np.float32(0.001)


def read_cam(name: str) -> dict[str, object]:
    data = contents(name, "Failed to open calibration file: ").replace(b"\r\n", b"\n")
    lines = data.split(b"\n")

    def text_of(line: bytes) -> str:
        return line.decode("utf-8-sig", "replace")

    first = text_of(lines[0])
    if not first.startswith(("KES_CALIBRATION_FILE", "KEC_CALIBRATION_FILE")):
        keywords = '"KES_CALIBRATION_FILE" or "KEC_CALIBRATION_FILE"'
        raise Refused(f"Not a valid calibration, missing {keywords} keyword in {name}")
    values: dict[str, object] = {
        "source": "Unknown",
        "camera": "Unknown",
        "band": "Unknown",
        "date": None,
        "focal_length": np.float32(0),
        "pixel_size": np.float32(6.5e-6),
        "radiometric_gain": np.float32(1),
        "irradiance_gain": np.float32(0),
        "left_side_gain": True,
        "centre": np.float32(0),
        "width": np.float32(0),
    }
    count = 12000
    rest = b""
    for i, line_bytes in enumerate(lines[1:], 2):
        line = text_of(line_bytes)
        if line.startswith("CALIBRATION_SOURCE"):
            values["source"] = cam_text(line)
        elif line.startswith("CAMERA_NAME"):
            values["camera"] = cam_text(line)
        elif line.startswith("SENSOR_LINE"):
            values["band"] = cam_text(line)
        elif line.startswith("CALIBRATION_DATE"):
            values["date"] = cam_date(line, name)
        elif line.startswith("FOCAL_LENGTH_MM"):
            values["focal_length"] = cam_float(line, name) * MILLIMETRE
        elif line.startswith("NUM_PIXELS"):
            count = cam_integer(line, name)
        elif line.startswith("PIXEL_SIZE"):
            values["pixel_size"] = cam_float(line, name) * MILLIMETRE
        elif line.startswith("RADIOMETRIC_GAIN"):
            values["radiometric_gain"] = cam_float(line, name)
        elif line.startswith("IRRADIANCE_GAIN"):
            values["irradiance_gain"] = cam_float(line, name)
        elif line.startswith("LEFTSIDE_GAIN"):
            values["left_side_gain"] = cam_integer(line, name) != 0
        elif line.startswith("CENTER_WAVELENGTH_NM"):
            values["centre"] = np.float32(np.float64(cam_float(line, name)) * 1e-9)
        elif line.startswith("SPECTRAL_WIDTH_NM"):
            values["width"] = np.float32(np.float64(cam_float(line, name)) * 1e-9)
        elif line.startswith("START_XY"):
            rest = b"\n".join(lines[i:])
            break
    if count < 0:
        raise Refused("Parse error in file " + name)
    numbers = position_numbers(rest.decode("utf-8", "replace"), 2 * count, name)
    values["positions"] = np.array([number * MILLIMETRE for number in numbers], "<f4")
    return values


# Up to the first character that can't go on; an exponent without digits spoils its number.
STREAMED = re.compile(r"[+-]?(?>\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+|(?![eE]))", re.ASCII)


def read_misalignment(name: str) -> dict[str, object]:
    data = contents(name, "Failed to open misalignment file: ")
    lines = data.split(b"\n")
    if lines[-1] == b"" and len(lines) > 1:
        lines.pop()
    line = next((line for line in lines if not line.startswith(b"#")), None)
    if line is None:
        raise Refused("Not a valid misalignment file: " + name)
    text = line.decode("utf-8", "replace")
    refused = Refused(f"Parse error in file: {name}({text})")
    values = []
    at = 0
    while len(values) < 6:
        while text[at : at + 1] in set(WHITE):
            at += 1
        found = STREAMED.match(text, at)
        if not found or math.isinf(float(found.group())):
            raise refused
        values.append(float(found.group()))
        at = found.end()
    return {"values": np.array(values, "<f8")}
