# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The undamaged files: the examples of the pages, those of a flight whose files another program wrote, and a few whose
bytes are made here. They are short, so that thousands of them can be read in a minute."""

import struct
from pathlib import Path

from examples import examples

KINDS = {".eop": "eop", ".adj": "eop", ".odf": "odf", ".ctg": "ctg", ".it": "it", ".tdi": "tdi", ".cam": "cam"}
KINDS |= {".dat": "dat", ".gpt": "gpt", ".ipt": "ipt"}
FEW_RECORDS = 24


def files_of_kind(folder: Path) -> list[tuple[str, Path]]:
    return [(KINDS[path.suffix], path) for path in sorted(folder.rglob("*")) if path.suffix in KINDS]


def short_cam(data: bytes, pixels: int) -> bytes:
    """A CAM file with its first pixels only."""
    header, _, positions = data.partition(b"START_XY\n")
    lines = [b"NUM_PIXELS\t%d" % pixels if line.startswith(b"NUM_PIXELS") else line for line in header.split(b"\n")]
    return b"\n".join(lines) + b"START_XY\n" + b"\n".join(positions.split(b"\n")[:pixels]) + b"\nEND_XY\n"


def odf(version: str, records: int) -> bytes:
    """An orientation file of a sensor line, with numbers whose scales don't divide them."""
    fields = {0: version, 16: "pos", 48: "area", 112: "line", 176: records, 192: 0, 194: 1000, 208: 2, 210: 100000000}
    fields |= {224: 0, 240: 1268404200, 256: "none", 384: 316389, 396: 10000, 416: -12, 428: 100000, 448: 7}
    fields |= {460: 10000000, 480: 1800}
    if version != "ODF 1.2":
        fields[256] = 120 * "c"
    else:
        fields |= {352: "  0.8393000000", 368: " -1.4703671728"}
    header = bytearray(512)
    for offset, value in fields.items():
        text = str(value).encode()
        header[offset : offset + len(text)] = text
    numbers = [[i * 127 - 500, i * 7001, -i * 313, i, 12345 - i, -23456 + i, 700001 * i] for i in range(records)]
    return bytes(header) + b"".join(struct.pack("<7i6H", *row, 1, 20, 300, 4, 50, 65535) for row in numbers)


def orientation_with_turns() -> bytes:
    """Version 3, with attitudes whose quaternions change their signs, an odd block, and gaps in the file."""
    block = (
        '<?xml version="1.0" encoding="UTF-8"?><!-- flown --><EOPData numsets=" 12 " version="3">'
        "<Other/><AnchorPoint h='421,5' lon=' 0.272 ' lat='1e-1'/><Source name='a &amp; &#228;'/>"
        "<DefaultStandardDeviation x='0.1' y='inf' omega='1e-50'/><AbsoluteTime value='4294967297'/></EOPData>"
    ).encode()
    data = 20 + len(block) + 7
    deviations = data + 12 * 48 + 5
    records = b"".join(
        struct.pack("<4d4f", 100 + i / 3, i * 0.1, -i, 1000, 0.9 * i, -0.7 * i, 2.1 * i, i) for i in range(12)
    )
    table = b"".join(struct.pack("<6f", *(i * 0.001 + k for k in range(6))) for i in range(12))
    header = struct.pack("<4s4i", b"EOP_", 3, data, deviations, len(block))
    return header + block + 7 * b"x" + records + 5 * b"y" + table


def seeds(root: Path) -> dict[str, list[dict[str, bytes]]]:
    """By kind; a seed has the bytes of a file and, by their extensions, of those that lie beside it."""
    found: dict[str, list[dict[str, bytes]]] = {kind: [] for kind in sorted(set(KINDS.values()))}
    pages = examples(root / "docs" / "files")
    for name, data in pages.items():
        path = Path(name)
        if path.suffix in KINDS:
            beside = path.with_suffix(".ctgl").as_posix()
            ctgl = {".ctgl": pages[beside]} if beside in pages else {}
            found[KINDS[path.suffix]].append({path.suffix: data} | (ctgl if path.suffix == ".ctg" else {}))
    for kind, path in files_of_kind(root / "tests" / "data"):
        data = path.read_bytes()
        beside = path.with_suffix(".ctgl")
        if kind == "cam":
            found[kind].append({".cam": short_cam(data, FEW_RECORDS)})
        elif kind == "ctg":
            ctgl = {".ctgl": beside.read_bytes()} if beside.exists() else {}
            found[kind].append({".ctg": data[: 8 * FEW_RECORDS]} | ctgl)
        elif len(data) < 4096:
            found[kind].append({"." + kind: data})
    found["odf"] += [{".odf": odf(version, count)} for version in ("ODF 1.0", "ODF 1.2", "ODF 2.0") for count in (0, 5)]
    found["eop"].append({".eop": orientation_with_turns()})
    return found
