#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""site.py FOLDER: whether the pages of a site hang together: every link within it leads to a page and an anchor that
are there, every picture, script and style is a file of the site, and every page can be reached from the start page."""

import re
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urldefrag, urlparse

# What a browser fetches when it shows a page; anything else is a link to follow.
FETCHED = {"script": "src", "img": "src", "link": "href", "iframe": "src", "source": "src", "object": "data"}
# Links to relations of a page, which aren't fetched.
RELATIONS = {"canonical", "next", "prev", "search", "index", "author", "copyright", "genindex"}
FETCHED_BY_STYLE = re.compile(r"""(?:@import\s+["']|url\(\s*["']?)([^"')\s]+)""")


class Page(HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.anchors = set()
        self.links = []
        self.fetched = []
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.anchors.update(values[key] for key in ("id", "name") if values.get(key))
        if tag == "a" and values.get("href"):
            self.links.append(values["href"])
        elif values.get(FETCHED.get(tag)) and not (tag == "link" and values.get("rel") in RELATIONS):
            self.fetched.append(values[FETCHED[tag]])
        self.fetched += FETCHED_BY_STYLE.findall(values.get("style") or "")


def is_external(link):
    return bool(urlparse(link).scheme) or link.startswith("//")


def faults_of(path, pages, root):
    """What is wrong with a page, and the pages that it links to."""
    page = pages[path]
    faults = []
    reached = set()
    for link in page.fetched:
        if link.startswith("data:"):
            continue
        if is_external(link) or not (path.parent / unquote(urlparse(link).path)).is_file():
            faults.append(f"fetches {link}")
    for link in page.links:
        if is_external(link):
            continue
        place, anchor = urldefrag(link)
        target = (path.parent / unquote(urlparse(place).path)).resolve() if place else path
        if root not in target.parents or not target.is_file():
            faults.append(f"links to {link}, which isn't there")
        elif target in pages:
            reached.add(target)
            if anchor and unquote(anchor) not in pages[target].anchors:
                faults.append(f"links to {link}, where there is no such anchor")
    return faults, reached


def main():
    root = Path(sys.argv[1]).resolve()
    pages = {path: Page(path) for path in root.rglob("*.html") if "_static" not in path.relative_to(root).parts}
    faults = []
    links = {}
    for path in pages:
        found, links[path] = faults_of(path, pages, root)
        faults += [f"{path.relative_to(root)} {fault}" for fault in found]
    for style in root.rglob("*.css"):
        for link in FETCHED_BY_STYLE.findall(style.read_text(encoding="utf-8", errors="replace")):
            if not link.startswith(("data:", "#")) and (
                is_external(link) or not (style.parent / urlparse(link).path).is_file()
            ):
                faults.append(f"{style.relative_to(root)} fetches {link}")
    reached = set()
    ahead = [root / "index.html", root / "search.html"]  # the field for a search leads to the latter
    while ahead:
        path = ahead.pop()
        if path in pages and path not in reached:
            reached.add(path)
            ahead += links[path]
    faults += [f"{path.relative_to(root)} can't be reached" for path in sorted(pages.keys() - reached)]
    print(f"{len(pages)} pages", *sorted(faults), sep="\n")
    return 1 if faults or not pages else 0


if __name__ == "__main__":
    sys.exit(main())
