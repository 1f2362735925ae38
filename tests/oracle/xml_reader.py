# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""XML as the pages describe it: the root of a document with its children, and the numbers of attributes."""

import re
import xml.parsers.expat

import numpy as np
from reading import REAL, WHOLE, Refused, without_white_ends

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


def xml_double(text: str) -> float:
    text = without_white_ends(text)
    return float(text) if REAL.fullmatch(text) else 0.0


def xml_float(text: str) -> np.float32:
    return np.float32(xml_double(text))


def xml_integer(text: str, least: int, largest: int) -> int:
    text = without_white_ends(text)
    value = int(text) if WHOLE.fullmatch(text) else 0
    return value if least <= value <= largest else 0
