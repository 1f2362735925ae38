#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""assemble.py OUT --root DIR --manual DIR --xml DIR: lays out the sources of the manual's site in a folder.

The pages of the tree keep their places, so that links among them hold. Added are the start page, the tool's reference
from the pages for man(1), and a page for each public C++ header.
"""

import argparse
import shutil
from pathlib import Path

import header_pages
import man_pages

PAGES = ["SECURITY.md", "CHANGELOG.md", "docs", "scripts/examples"]
LIBRARIES = [
    ("The front door", "Library `keshost`, target `kessensor::host`.", "host/include/kes"),
    ("Orthophotos and footprints", "Library `kesgdal`, target `kessensor::gdal`.", "gdal/include/kesgdal"),
    ("Adjustment", "Library `kesadjust`, target `kessensor::adjust`.", "adjust/include/kesadjust"),
    ("The sensor classes", "Library `kessensor`, target `kessensor::kessensor`.", "include/sensor"),
    ("XML calibrations", "Library `kessensor`, target `kessensor::kessensor`.", "include/xmlFileData"),
    (
        "Coordinate systems, elevation models, rasters",
        "Library `kesplatform`, target `kessensor::platform`.",
        "platform/include",
    ),
    ("Files and texts", "Library `kesfiles`.", "files/include/files"),
]


def title_of(text, underline="="):
    return f"{text}\n{underline * len(text)}\n\n"


def write(path, text):
    """Writes a source, unless it is the same: what doesn't change isn't built again."""
    path.parent.mkdir(parents=True, exist_ok=True)
    if not path.is_file() or path.read_text(encoding="utf-8") != text:
        path.write_text(text, encoding="utf-8")


def copy(source, target):
    target.parent.mkdir(parents=True, exist_ok=True)
    if not target.is_file() or target.read_bytes() != source.read_bytes():
        shutil.copyfile(source, target)


def copy_pages(root, out):
    for name in PAGES:
        page = root / name
        for file in [page] if page.is_file() else sorted(page.rglob("*")):
            if file.is_file() and root / "docs/site" not in file.parents and file.name != "Doxyfile":
                copy(file, out / file.relative_to(root))
    copy(root / "docs/site/index.rst", out / "index.rst")
    copy(root / "docs/site/python.rst", out / "python.rst")


def write_tool(manual, out):
    pages = sorted(manual.glob("*.1"))
    for page in pages:
        write(out / "tool" / f"{page.stem}.md", man_pages.markdown(page.read_text(encoding="utf-8")))
    index = title_of("The commands of kes") + (
        "All options of each command, as ``kes COMMAND --help`` prints them. :doc:`The guide of the tool <../docs/kes>` "
        "says what the commands do.\n\n.. toctree::\n   :maxdepth: 1\n\n"
    )
    write(out / "tool/index.rst", index + "".join(f"   {page.stem}\n" for page in pages))


def write_headers(root, xml, out):
    headers = header_pages.Headers(xml)
    index = title_of("C++") + (
        "A page for each public header. :doc:`The guide <../docs/guide>` says which class is for what, and "
        ":doc:`a page of its own <../docs/sensor>` has the traps of the sensor classes.\n\n"
    )
    for title, what, folder in LIBRARIES:
        index += title_of(title, "-") + what.replace("`", "``") + "\n\n.. toctree::\n   :maxdepth: 1\n\n"
        base = root / folder.partition("include")[0] / "include"
        for header in sorted((root / folder).rglob("*.h")):
            include = header.relative_to(base).as_posix()
            if text := headers.markdown(include, header.read_text(encoding="utf-8")):
                page = include.removesuffix(".h")
                index += f"   {page}\n"
                write(out / "cpp" / f"{page}.md", text)
        index += "\n"
    write(out / "cpp/index.rst", index)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("out", type=Path)
    parser.add_argument("--root", type=Path, required=True, help="of the source tree")
    parser.add_argument("--manual", type=Path, required=True, help="folder of the pages that `kes manual` writes")
    parser.add_argument("--xml", type=Path, required=True, help="folder of Doxygen's XML of the headers")
    options = parser.parse_args()
    copy_pages(options.root, options.out)
    write_tool(options.manual, options.out)
    write_headers(options.root, options.xml, options.out)


if __name__ == "__main__":
    main()
