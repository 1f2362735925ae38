# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The pages that `kes manual` writes, as Markdown. Only the requests that it uses are known; others are an error."""

import re

FONTS = {"B": "**", "I": "*"}


def markdown(page):
    """A page of man(1) in Markdown, with links to the pages that it names."""
    return _Page().read(page)


def summary(text):
    """The first sentence of a page's description in Markdown."""
    description = text.partition("## Description")[2].strip().splitlines()[0]
    return description.partition(". ")[0].rstrip(".")


def _plain(text):
    """Escapes of troff become characters, and what Markdown would read as markup is escaped."""
    text = text.replace("\\(dq", '"').replace("\\&", "").replace("\\-", "-").replace("\\e", "\\")
    return re.sub(r"([\\*_`\[\]<>|$])", r"\\\1", text)


def _inline(line):
    """A line with its changes of font; a bold name of a page with its section becomes a link."""
    parts = re.split(r"\\f([BIR])", line)
    text = _plain(parts[0])
    for font, words in zip(parts[1::2], parts[2::2]):
        mark = FONTS.get(font, "")
        text += f"{mark}{_plain(words)}{mark}" if words else ""
    return re.sub(r"\*\*(kes[\w-]*)\*\*\(1\)", lambda match: f"[{match[1].replace('-', ' ')}]({match[1]}.md)", text)


class _Page:
    def __init__(self):
        self.lines = []
        self.section = ""
        self.is_term = False
        self.is_example = False

    def read(self, page):
        for line in page.splitlines():
            if match := re.fullmatch(r"\.(\w+) ?(.*)", line):
                self.request(match[1], match[2])
            elif self.is_example:
                self.lines.append(re.sub(r"\\\\", r"\\", line.replace("\\-", "-").replace("\\e", "\\")))
            elif self.section != "NAME":
                self.text(_inline(line))
        return "\n".join(self.lines) + "\n"

    def request(self, name, rest):
        if name == "TH":
            title = rest.split()[0].strip('"').replace("\\-", " ")
            self.lines += [f"# `{title}`"]
        elif name == "SH":
            self.section = rest
            if rest != "NAME":
                self.lines += ["", f"## {rest.capitalize()}", ""]
        elif name == "TP":
            self.is_term = True
        elif name == "br":
            self.lines[-1] += "\\"
        elif name == "PP":
            self.lines.append("")
        elif name == "nf":
            self.is_example = True
            self.lines.append("```")
        elif name == "fi":
            self.is_example = False
            self.lines.append("```")
        else:
            raise ValueError(f"request .{name} isn't known")

    def text(self, line):
        if self.is_term:
            self.lines += ["", line]
            self.is_term = False
        elif self.lines and self.lines[-1].startswith(("**-", "**kes", "*")) and self.section in (
            "ARGUMENTS", "OPTIONS", "COMMANDS"
        ):
            self.lines.append(f": {line}")
        else:
            self.lines.append(line)
