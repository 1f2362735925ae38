# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Slow readers of the binary files and of CAM files, written from docs/files.md and the pages below it and from nothing
else, to compare the library with. Where one needs to know more than the pages say, the pages are at fault.

`READERS` has one for each kind of file. A reader returns a dictionary of values, numbers as NumPy scalars and arrays of
the precision in which they are kept, or raises `Refused` with the message that the pages state.
"""

import ctypes
import math
import re
import struct
import xml.parsers.expat
from datetime import datetime, timezone
from pathlib import Path

import numpy as np

WHITE = " \t\n\v\f\r"
WORD = re.compile(rf"[^{WHITE}]+")
INT32 = range(-(2**31), 2**31)
#: Stands for the time at which a file is read.
PRESENT = "present"


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


# Orientation: EOP.

_libm = ctypes.CDLL("libm.so.6")
for _function in (_libm.sinf, _libm.cosf):
    _function.restype = ctypes.c_float
    _function.argtypes = [ctypes.c_float]


def half_angle(angle: np.float32) -> tuple[np.float32, np.float32]:
    """Sine and cosine of the negative half of an angle. NumPy's own are of another library."""
    half = -angle / np.float32(2)
    return np.float32(_libm.sinf(half)), np.float32(_libm.cosf(half))


def quaternion(omega: np.float32, phi: np.float32, kappa: np.float32) -> list[np.float32]:
    (sa, ca), (sb, cb), (sc, cc) = half_angle(omega), half_angle(phi), half_angle(kappa)
    return [
        ca * cb * cc + sa * sb * sc,
        sa * cb * cc - ca * sb * sc,
        ca * sb * cc + sa * cb * sc,
        ca * cb * sc - sa * sb * cc,
    ]


def with_continuous_signs(quaternions: list[list[np.float32]]) -> list[list[np.float32]]:
    result = quaternions[:1]
    for q in quaternions[1:]:
        p = result[-1]
        dot = q[0] * p[0] + q[1] * p[1] + q[2] * p[2] + q[3] * p[3]
        result.append(q if dot >= 0 else [-x for x in q])
    return result


TAG = re.compile(r"<[A-Za-z_:][\w:.-]*(?=[\s/>])((?:[^<>\"']|\"[^\"]*\"|'[^']*')*)>", re.ASCII)
VALUE_OR_NAME = re.compile(r"\"[^\"]*\"|'[^']*'|[^ \t\r\n=/>\"']+")
VALID_NAME = re.compile(r"[A-Za-z_][\w.-]*", re.ASCII)


def with_valid_names(text: str) -> str:
    """Attributes whose names XML doesn't allow get others, which nobody looks for."""
    replaced = 0

    def valid(found: re.Match[str]) -> str:
        nonlocal replaced
        name = found.group()
        if name[0] in "\"'" or VALID_NAME.fullmatch(name):
            return name
        replaced += 1
        return f"replaced-{replaced}"

    return TAG.sub(lambda tag: tag.group().replace(tag.group(1), VALUE_OR_NAME.sub(valid, tag.group(1)), 1), text)


def xml_elements(text: str, failure: str) -> list[tuple[str, dict[str, str]]]:
    """The root of a document, and its children."""
    refused = Refused(failure, is_start=True)
    found: list[tuple[str, dict[str, str]]] = []
    depth = 0
    nodes = 0

    def start(name: str, attributes: dict[str, str]) -> None:
        nonlocal depth, nodes
        depth += 1
        nodes += 1 + len(attributes)
        if depth > 64 or len(attributes) > 256 or nodes > 262144:
            raise refused
        if depth <= 2:
            found.append((name, attributes))

    def end(_name: str) -> None:
        nonlocal depth
        depth -= 1

    def doctype(*_of: object) -> None:
        raise refused

    def declaration(version: str, *_rest: object) -> None:
        if version != "1.0":
            raise refused

    parser = xml.parsers.expat.ParserCreate("utf-8")
    parser.StartElementHandler = start
    parser.EndElementHandler = end
    parser.StartDoctypeDeclHandler = doctype
    parser.XmlDeclHandler = declaration
    try:
        parser.Parse(text.encode(), True)
    except xml.parsers.expat.ExpatError:
        raise refused from None
    return found


DECIMAL = r"(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?"
# Up to the first character that can't go on; an exponent without digits spoils its number.
STREAMED = re.compile(r"[+-]?(?>\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+|(?![eE]))", re.ASCII)
REAL = re.compile(rf"[+-]?(?:{DECIMAL}|[iI][nN][fF])|[nN][aA][nN]", re.ASCII)
WHOLE = re.compile(r"[+-]?\d+", re.ASCII)


def xml_double(text: str) -> float:
    text = without_white_ends(text)
    return float(text) if REAL.fullmatch(text) else 0.0


def xml_float(text: str) -> np.float32:
    return np.float32(xml_double(text))


def xml_integer(text: str, least: int, largest: int) -> int:
    text = without_white_ends(text)
    value = int(text) if WHOLE.fullmatch(text) else 0
    return value if least <= value <= largest else 0


def read_block(block: bytes) -> dict[str, object]:
    text = block.split(b"\0")[0].decode("utf-8", "replace")
    valid_text = with_valid_names(text)
    (_, root), *children = xml_elements(valid_text, "error reading EOP parameter block ")
    if xml_integer(root.get("version", ""), INT32[0], INT32[-1]) == 1:
        raise Refused("version mismatch!!")
    values: dict[str, object] = {"is_doubtful": valid_text != text, "count": xml_integer(root.get("numsets", ""), INT32[0], INT32[-1])}
    for name, attributes in children:
        if name == "Source":
            values["source"] = attributes.get("name", "")
        elif name == "POS":
            values["positions"] = attributes.get("source", "")
        elif name == "TM":
            values["times"] = attributes.get("source", "")
        elif name == "AnchorPoint":
            values["anchor"] = [xml_double(attributes.get(key, "")) for key in ("lon", "lat", "h")]
        elif name == "AbsoluteTime":
            values["absolute_time"] = xml_integer(attributes.get("value", ""), 0, 2**64 - 1) % 2**32
        elif name == "DefaultStandardDeviation":
            values["default_deviations"] = [
                xml_float(attributes.get(key, "")) for key in ("x", "y", "z", "omega", "phi", "kappa")
            ]
    return values


OLD_RECORD = np.dtype([("place", "<f8", 4), ("angles", "<f8", 3), ("status", "<i4")])
RECORD = np.dtype([("place", "<f8", 4), ("angles", "<f4", 3), ("status", "<f4")])
MOST_BLOCK_BYTES = 256 * 2**20


def read_eop_header(data: bytes, name: str) -> dict[str, object]:
    """Without a number of records where the block can't be there."""
    header: dict[str, object] = {
        "source": "",
        "positions": "",
        "times": "",
        "absolute_time": 0,
        "anchor": [0.0, 0.0, 0.0],
        "frequency": 0.0,
        "count": 0,
        "default_deviations": [0.05, 0.05, 0.05, 1e-5, 1e-5, 1e-5],
    }
    version = struct.unpack_from("<i", data, 4)[0] if len(data) >= 8 and data[:4] == b"EOP_" else 0
    size = {1: 60, 2: 24, 3: 20}.get(version)
    if size is None or len(data) < size:
        raise Refused("Unknown EOP version in file: " + name)
    header["version"] = version
    if version == 1:
        header["data"], _, header["deviations"], header["count"] = struct.unpack_from("<4i", data, 8)
        header["frequency"], *anchor = struct.unpack_from("<4d", data, 24)
        header["anchor"] = anchor
        return header
    if version == 2:
        header["data"], _, header["deviations"], length = struct.unpack_from("<4i", data, 8)
    else:
        header["data"], header["deviations"], length = struct.unpack_from("<3i", data, 8)
    if 0 <= length <= min(len(data) - size, MOST_BLOCK_BYTES):
        header.update(read_block(data[size : size + length]))
    return header


def table(data: bytes, offset: int, count: int, dtype: np.dtype) -> np.ndarray | None:
    """`count` entries from `offset` on; none if the file hasn't as many."""
    if offset < 0 or offset + count * dtype.itemsize > len(data):
        return None
    return np.frombuffer(data, dtype, count, offset)


def read_eop(name: str) -> dict[str, object]:
    data = contents(name, "failed to open EOP file: ")
    header = read_eop_header(data, name)
    try:
        return with_records(header, data, name)
    except Refused as refused:
        refused.is_doubtful = header.get("is_doubtful", False)
        raise


def with_records(header: dict[str, object], data: bytes, name: str) -> dict[str, object]:
    count = header.pop("count")
    offset = header.pop("data", 0)
    deviation_offset = header.pop("deviations", 0)
    default_deviations = header.pop("default_deviations")
    records = table(data, offset, count, RECORD if header["version"] == 3 else OLD_RECORD) if count > 0 else None
    if records is None:
        raise Refused("Header/data mismatch in EOP file: " + name)
    deviations = np.array(count * default_deviations, "<f4")
    if deviation_offset != 0:
        found = table(data, deviation_offset, count, np.dtype(("<f4", 6)))
        if found is None:
            raise Refused("Header/std.dev. data mismatch in EOP file: " + name)
        deviations = found
    angles = records["angles"].astype("<f4")
    attitudes = with_continuous_signs([quaternion(*row) for row in angles])
    header["places"] = records["place"].ravel()
    header["attitudes"] = np.column_stack([np.array(attitudes, "<f4"), records["status"].astype("<f4")]).ravel()
    header["deviations"] = deviations.ravel()
    header["anchor"] = np.array(header["anchor"], "<f8")
    if count > 1:
        times = records["place"][:, 0]
        header["frequency"] = np.float64(1) / (times[1] - times[0])
    header["frequency"] = np.float64(header["frequency"])
    return header


# Orientation of a sensor line: ODF.


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


# Times and settings of lines.


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


# CAM files.

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


# The misalignment.


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


# Point lists.


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


READERS = {
    "eop": read_eop,
    "odf": read_odf,
    "ctg": read_ctg,
    "it": lambda name: read_scanlines(name, "<II", 1e-6, -1.0),
    "tdi": lambda name: read_scanlines(name, "<IB", 1.0, 1.0),
    "cam": read_cam,
    "dat": read_misalignment,
    "gpt": lambda name: read_points(name, ground_point),
    "ipt": lambda name: read_points(name, image_point),
}
