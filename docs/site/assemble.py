#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""assemble.py OUT --root DIR --manual DIR --xml DIR: lays out the sources of the manual's site in a folder.

The pages of the tree keep their places, so that links among them hold. Added are the start page, the tool's reference
from the pages for man(1), and a page for each public C++ header.
"""

import argparse
import json
import re
import shutil
from pathlib import Path

import header_pages
import man_pages

PAGES = ["SECURITY.md", "CHANGELOG.md", "docs"]
LINK = re.compile(r"\]\(\s*([^)\s#:]+)")
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


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")


def copy(source, target):
    target.parent.mkdir(parents=True, exist_ok=True)
    shutil.copyfile(source, target)


def copy_linked_files(page, root, out):
    """Files of the tree that a page links to and that aren't pages, such as scripts: readers download them."""
    for link in LINK.findall(page.read_text(encoding="utf-8")):
        target = (page.parent / link).resolve()
        if target.is_file() and root in target.parents and target.suffix != ".md":
            copy(target, out / target.relative_to(root))


def copy_pages(root, out):
    for name in PAGES:
        page = root / name
        for file in [page] if page.is_file() else sorted(page.rglob("*")):
            if file.is_file() and root / "docs/site" not in file.parents and file.name != "Doxyfile":
                copy(file, out / file.relative_to(root))
                if file.suffix == ".md":
                    copy_linked_files(file, root, out)
    copy(root / "docs/site/index.rst", out / "index.rst")
    copy(root / "docs/site/python.rst", out / "python.rst")


# Pages that stand in a list of their own, and not in the navigation of all others, which would take long to make and to
# read.
OUTSIDE_NAVIGATION = "---\norphan: true\n---\n\n"


def write_tool(manual, out):
    index = (
        "# The commands of kes\n\nAll options of each command, as `kes COMMAND --help` prints them. "
        "[The guide of the tool](../docs/kes.md) says what the commands do.\n\n"
    )
    for page in sorted(manual.glob("*.1")):
        text = man_pages.markdown(page.read_text(encoding="utf-8"))
        write(out / "tool" / page.with_suffix(".md").name, OUTSIDE_NAVIGATION + "[All commands](index.md)\n\n" + text)
        indent = "  " * max(0, page.stem.count("-") - 1)
        index += f"{indent}- [{page.stem.replace('-', ' ')}]({page.stem}.md): {man_pages.summary(text)}\n"
    write(out / "tool/index.md", index)


def write_headers(root, xml, out):
    headers = header_pages.Headers(xml)
    index = (
        "# C++\n\nA page for each public header. [The guide](../docs/guide.md) says which class is for what, and "
        "[a page of its own](../docs/sensor.md) has the traps of the sensor classes.\n\n"
    )
    for title, what, folder in LIBRARIES:
        index += f"## {title}\n\n{what}\n\n| header | |\n|---|---|\n"
        base = root / folder.partition("include")[0] / "include"
        for header in sorted((root / folder).rglob("*.h")):
            include = header.relative_to(base).as_posix()
            if text := headers.markdown(include, header.read_text(encoding="utf-8")):
                page = Path(include).with_suffix(".md")
                up = "../" * (len(page.parts) - 1)
                write(out / "cpp" / page, OUTSIDE_NAVIGATION + f"[All headers]({up}index.md)\n\n" + text)
                names = ", ".join(f"`{name}`" for name in headers.names(include))
                index += f"| [<{include}>]({page}) | {names} |\n"
        index += "\n"
    write(out / "cpp/index.md", index)


def write_schemas(root, out):
    text = "# JSON Schemas\n\nOf the output of `kes` with `--json`, and of the files that it writes in JSON.\n\n"
    for schema in sorted((root / "docs/schema").glob("*.json")):
        what = json.loads(schema.read_text(encoding="utf-8")).get("title", "")
        text += f"- [{schema.name}](schema/{schema.name})" + (f": {what}" if what else "") + "\n"
    write(out / "docs/schema.md", OUTSIDE_NAVIGATION + text)


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
    write_schemas(options.root, options.out)


if __name__ == "__main__":
    main()
