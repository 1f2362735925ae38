# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The example files of docs/files.md and the pages below it, in the notation that is described there."""

import re
from pathlib import Path

BLOCK = re.compile(r"^<!-- file: ([^\n]+) -->\n```\n(.*?)^```$", re.MULTILINE | re.DOTALL)
HEXADECIMAL = re.compile(r"((?:[0-9a-f]{2} )*[0-9a-f]{2})(?: {2,}\S.*)?")
PLACE = re.compile(r"@(\d+)(?: (.*))?")


class BadExample(Exception):
    """A block that isn't in the notation."""


def encoded(block: str) -> bytes:
    """The bytes that a block stands for."""
    result = b""
    text: list[str] = []
    for line in block.splitlines():
        if line.startswith("> "):
            text.append(line[2:])
            continue
        result += "\n".join(text).encode()
        text = []
        place = PLACE.fullmatch(line)
        bytes_of_line = HEXADECIMAL.fullmatch(line)
        if place:
            if int(place.group(1)) < len(result):
                raise BadExample(f"the bytes before have passed {line!r}")
            # Padding is part of the notation: one blank separates the number and the text.
            result = result.ljust(int(place.group(1)), b"\0") + text_at(place).encode("ascii")
        elif bytes_of_line:
            result += bytes.fromhex(bytes_of_line.group(1))
        else:
            raise BadExample(f"neither text nor bytes: {line!r}")
    return result + "".join(line + "\n" for line in text).encode()


def text_at(place: re.Match[str]) -> str:
    """The blanks that line up three-digit places aren't part of the text."""
    text = place.group(2) or ""
    return text.removeprefix(" " * (3 - len(place.group(1)))) if text else ""


def examples(pages: Path) -> dict[str, bytes]:
    """All example files, by their path within the flight."""
    found: dict[str, bytes] = {}
    for page in sorted(pages.glob("*.md")):
        for name, block in BLOCK.findall(page.read_text()):
            if name in found:
                raise BadExample(f"{name} is there twice")
            found[name] = encoded(block)
    return found


def write_examples(pages: Path, folder: Path) -> list[str]:
    """Writes them below a folder, and returns their names."""
    files = examples(pages)
    for name, data in files.items():
        (folder / name).parent.mkdir(parents=True, exist_ok=True)
        (folder / name).write_bytes(data)
    return list(files)
