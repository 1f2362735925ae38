# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Orientation files (EOP)."""

import ctypes
import struct

import numpy as np
from reading import INT32, Refused, contents, table
from xml_reader import with_valid_names, xml_double, xml_elements, xml_float, xml_integer

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


def read_block(block: bytes) -> dict[str, object]:
    text = block.split(b"\0")[0].decode("utf-8", "replace")
    valid_text = with_valid_names(text)
    (_, root), *children = xml_elements(valid_text, "error reading EOP parameter block ")
    if xml_integer(root.get("version", ""), INT32[0], INT32[-1]) == 1:
        raise Refused("version mismatch!!")
    values: dict[str, object] = {"is_doubtful": valid_text != text}
    values["count"] = xml_integer(root.get("numsets", ""), INT32[0], INT32[-1])
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
