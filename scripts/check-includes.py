#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""check-includes.py [ROOT]: fails when an include goes upstairs, or reaches past a public header, and when a public header
forward-declares what only its private members use.

The tree is a house with one-way stairs: ROOMS lists its rooms from the ground up, and each may include only what lies
below it. From `host` upwards a room sees no private header of another: only what VIEW grants it.
"""

import re
import sys
from pathlib import Path

# From below. Rooms on one line stand side by side and know nothing of each other.
ROOMS = [
    ["files"],
    ["platform"],
    ["src/common"],
    ["src/timing", "src/xmlFileData"],
    ["src/orientation"],
    ["src/camera"],
    ["src/serializer"],
    ["src/project"],
    ["src/model"],
    ["host"],
    ["gdal", "adjust", "match"],
    ["simulation"],
    ["apps", "python", "bench"],
]
# A public header of the library belongs to the folder whose sources implement its class. Those without such a source:
HEADERS = {
    "XmlWriter.h": "platform",
    "sensor/CalibrationGeometry.h": "src/camera",
    "sensor/CalibrationRadiometry.h": "src/camera",
    "sensor/CalibrationRadiometryKesV1.h": "src/camera",
    "sensor/CalibrationRadiometryKesV2.h": "src/camera",
    "sensor/Camera.h": "src/camera",
    "sensor/CtglEntry.h": "src/timing",
    "sensor/EOP.h": "src/timing",
    "sensor/IntegrationTime.h": "src/timing",
    "sensor/KesBQuickInfo.h": "src/camera",
    "sensor/Serializer.h": "src/common",
    "sensor/TdiStage.h": "src/timing",
    "sensor/TimeQuantity.h": "src/common",
    "sensor/kessensor.h": "src/model",
    "sensor/kessensor_export.h": "src/common",
    "sensor/odf.h": "src/orientation",
}
# The other public headers go by their folder.
FOLDERS = {
    "files": "files", "geo": "platform", "dsm": "platform", "raster": "platform", "util": "platform",
    "xmlFileData": "src/xmlFileData", "kes": "host", "kesgdal": "gdal", "kesadjust": "adjust", "kesmatch": "match",
    "simulation": "simulation",
}

LEVEL = {room: level for level, rooms in enumerate(ROOMS) for room in rooms}
PRIVATE = {room.removeprefix("src/") for room in LEVEL if room.startswith("src/")}
FORWARD = re.compile(r"^[ \t]*(?:class|struct) (\w+);", re.MULTILINE)
PRIVATE_PART = re.compile(r"^private:.*?^};", re.MULTILINE | re.DOTALL)
COMMENT = re.compile(r"//.*")
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(["<])([^">]+)[">]', re.MULTILINE)


def public_headers(root):
    """Spelling -> room, for the headers of the library."""
    rooms = dict(HEADERS)
    for source in (root / "src").glob("*/*.cpp"):
        for namespace in ("sensor", "xmlFileData"):
            if (root / "include" / namespace / f"{source.stem}.h").exists():
                rooms[f"{namespace}/{source.stem}.h"] = f"src/{source.parent.name}"
    return rooms


def room_of(path, rooms):
    """The room of a file, given relative to the root; None for what isn't in the table."""
    text = path.as_posix()
    if text.startswith("include/"):
        spelling = text.removeprefix("include/")
        return rooms.get(spelling, FOLDERS.get(spelling.split("/")[0]))
    return next((room for room in LEVEL if text.startswith(room + "/")), None)


def target_of(quote, spelling, rooms):
    """The room that an include leads to, and whether the header is a public one; None for other projects' headers and
    for those beside the source."""
    folder = spelling.split("/")[0]
    if spelling in rooms:
        return rooms[spelling], True
    if quote == '"':
        return (f"src/{folder}", False) if "/" in spelling and folder in PRIVATE else None
    return (FOLDERS[folder], True) if folder in FOLDERS else None


def fault(room, quote, spelling, rooms):
    """What is wrong with an include, or None."""
    if quote == '"' and spelling.startswith("../"):
        return "leaves its folder"
    target = target_of(quote, spelling, rooms)
    if target is None or target[0] == room:
        return None
    other, is_public = target
    if LEVEL[other] >= LEVEL[room]:
        return f"goes from {room} to {other}, which is not below it"
    if not is_public and not room.startswith("src/"):
        return f"reaches past the public headers into {other}"
    return None


def private_matters(text):
    """(name, line) of each forward declaration of a public header that nothing but private members needs."""
    code = COMMENT.sub("", text)
    interface = PRIVATE_PART.sub("", code)
    for match in FORWARD.finditer(code):
        name = match[1]
        if len(re.findall(rf"\b{name}\b", interface)) == 1:
            yield name, code.count("\n", 0, match.start(1)) + 1


def faults(root):
    """One line for each include that the table forbids, and for each needless forward declaration."""
    rooms = public_headers(root)
    for path in sorted(root.rglob("*")):
        if path.suffix not in (".h", ".cpp", ".in"):
            continue
        relative = path.relative_to(root)
        room = room_of(relative, rooms)
        if room is None:
            continue
        text = path.read_text(encoding="utf-8")
        for match in INCLUDE.finditer(text):
            if reason := fault(room, *match.groups(), rooms):
                line = text.count("\n", 0, match.start(2)) + 1
                yield f"{relative}:{line}: #include {match[1]}{match[2]}{'>' if match[1] == '<' else match[1]} {reason}"
        if relative.parts[0] == "include":
            for name, line in private_matters(text):
                yield f"{relative}:{line}: declares {name}, which only private members use"


def main():
    root = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).resolve().parent.parent
    lines = list(faults(root))
    print("\n".join(lines) if lines else "every include goes down")
    return 1 if lines else 0


if __name__ == "__main__":
    sys.exit(main())
