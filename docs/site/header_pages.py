# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Pages about public C++ headers, from the XML that Doxygen makes of them: classes and functions in the order of the
header, each declaration above its comment. Sphinx' own domain for C++ would take longer for the headers than all other
pages take together, and refuses namespaces that several headers open."""

import itertools
import re
import xml.etree.ElementTree as ElementTree

KINDS_OF_COMPOUND = ("class", "struct")
WIDTH = 96


class Headers:
    """All that Doxygen knows, by header."""

    def __init__(self, folder):
        self.compounds = {}
        self.headers = {}
        for compound in ElementTree.parse(folder / "index.xml").getroot():
            if compound.get("kind") in (*KINDS_OF_COMPOUND, "namespace"):
                self._add(ElementTree.parse(folder / f"{compound.get('refid')}.xml").getroot()[0])

    def _add(self, compound):
        self.compounds[compound.get("id")] = compound
        if compound.get("kind") in KINDS_OF_COMPOUND:
            if compound.get("prot", "public") == "public":
                self._at(compound).append(compound)
        else:
            for member in compound.iter("memberdef"):
                self._at(member).append(member)

    def _at(self, element):
        return self.headers.setdefault(element.find("location").get("file"), [])

    def names(self, header):
        """Of the outermost classes, enumerations and functions of a header, in its order."""
        elements = sorted(self.headers.get(header, []), key=_line)
        names = [element.findtext("compoundname") or element.findtext("name") for element in elements]
        nested = {inner.text for element in elements for inner in element.findall("innerclass")}
        return list(dict.fromkeys(name.rpartition("::")[2] for name in names if name not in nested))

    def markdown(self, header, text):
        """The page of a header, or nothing for one without declarations. `text` is the header's own."""
        names = self.headers.get(header, [])
        parts = [f"# `<{header}>`"]
        nested = {inner.get("refid") for name in names for inner in name.iter("innerclass")}
        outermost = sorted((name for name in names if name.get("id") not in nested), key=_line)
        for namespace, elements in itertools.groupby(outermost, key=_namespace):
            if namespace:
                parts.append(f"Namespace `{namespace}`")
            parts += self._elements(elements, 2)
        if not names:
            includes = re.findall(r"^#include <([\w/]+\.h)>", text, re.MULTILINE)
            if not includes:
                return ""
            parts.append("Includes " + ", ".join(f"`<{name}>`" for name in includes) + ".")
        return "\n\n".join(parts) + "\n"

    def _compound(self, compound, level):
        name = compound.findtext("compoundname")
        short = re.sub(r"^.*::", "", name) if level == 2 else "::".join(name.split("::")[-2:])
        bases = [f"{base.get('prot')} {base.text}" for base in compound.findall("basecompoundref")]
        parts = [f"{'#' * level} {compound.get('kind')} `{short}`" + (f": `{', '.join(bases)}`" if bases else "")]
        parts += _description(compound)
        members = [member for member in compound.iter("memberdef") if member.get("prot") in ("public", "protected")]
        inner = [
            self.compounds[name.get("refid")] for name in compound.findall("innerclass") if name.get("prot") == "public"
        ]
        return parts + self._elements(filter(_is_shown, sorted([*members, *inner], key=_line)), level + 1)

    def _elements(self, elements, level):
        """Classes and, between them, runs of members, in the order of the header."""
        parts = []
        for is_compound, run in itertools.groupby(elements, key=lambda element: element.tag == "compounddef"):
            if is_compound:
                for compound in run:
                    parts += self._compound(compound, level)
            else:
                parts += _members(list(run))
        return parts


def _is_shown(element):
    return element.get("kind") != "friend" and "=delete" not in (element.findtext("argsstring") or "").replace(" ", "")


def _line(element):
    return int(element.find("location").get("line"))


def _namespace(element):
    name = element.findtext("compoundname") or element.findtext("qualifiedname") or ""
    return name.rpartition("::")[0]


def _value(value):
    return " ".join(filter(None, (value.findtext("name"), value.findtext("initializer"))))


def _members(members):
    """Declarations above their comments; those without a comment that follow one another share a block."""
    parts = []
    bare = []
    for member in members:
        bare.append(declaration(member))
        what = _description(member) + _values(member)
        if what or member is members[-1]:
            if what and bare[:-1]:
                parts.append(_code(bare[:-1]))
            parts += [_code(bare[-1:] if what else bare), *what]
            bare = []
    return parts


def _code(declarations):
    return "```c++\n" + "\n".join(declarations) + "\n```"


def _values(member):
    described = [(value.findtext("name"), _description(value)) for value in member.findall("enumvalue")]
    lines = [f"- `{name}`: " + " ".join(what) for name, what in described if what]
    return ["\n".join(lines)] if lines else []


def _description(element):
    return [
        _block(block)
        for description in ("briefdescription", "detaileddescription")
        for block in element.find(description)
    ]


def declaration(member):
    """A declaration as a reader would write it, in lines that aren't too long."""
    if member.get("kind") == "enum":
        scope = "enum class" if member.get("strong") == "yes" else "enum"
        values = [f"  {_value(value)}," for value in member.findall("enumvalue")]
        return f"{scope} {member.findtext('name')} {{\n" + "\n".join(values) + "\n};"
    template = ", ".join(
        " ".join(filter(None, (_text(param.find("type")), param.findtext("declname"))))
        for param in member.findall("templateparamlist/param")
    )
    words = [
        "static" if member.get("static") == "yes" else "",
        "explicit" if member.get("explicit") == "yes" else "",
        "virtual" if member.get("virt") in ("virtual", "pure-virtual") else "",
        _text(member.find("type")),
    ]
    name = member.findtext("name")
    if member.get("kind") == "typedef":
        text = f"using {name} = {_text(member.find('type'))}"
    else:
        arguments = _brackets(member.findtext("argsstring") or "")
        text = " ".join([*filter(None, words), name]) + arguments
        if member.get("kind") == "variable" and member.find("initializer") is not None:
            value = " ".join(_text(member.find("initializer")).split())
            text += (" " if value.startswith("=") else "") + value if len(value) < 60 else ""
    text = _wrapped(text.replace("&amp;", "&") + ";")
    return f"template <{template}>\n{text}" if template else text


def _text(element):
    return _brackets("".join(element.itertext()).strip()) if element is not None else ""


def _brackets(text):
    return re.sub(r"\s+>(?!=)", ">", re.sub(r"< ", "<", text))


def _wrapped(text):
    if len(text) <= WIDTH or "(" not in text:
        return text
    head, _, rest = text.partition("(")
    lines = [head + "("]
    for part in re.split(r"(?<=,) (?![^<]*>)", rest):
        if len(lines[-1]) + 1 + len(part) > WIDTH:
            lines.append("    " + part)
        else:
            lines[-1] += ("" if lines[-1].endswith("(") else " ") + part
    return "\n".join(lines)


def _escaped(text):
    return re.sub(r"([\\*_`\[\]<>|$#~])", r"\\\1", text or "")


def _inline(element):
    """The text within an element, and what follows the elements in it."""
    parts = [_escaped(element.text)]
    for child in element:
        if child.tag == "computeroutput":
            parts.append("`" + "".join(child.itertext()) + "`")
        elif child.tag == "ref":
            parts.append("`" + "".join(child.itertext()) + "`")
        elif child.tag in ("itemizedlist", "verbatim", "table"):
            parts.append("\n\n" + _block(child) + "\n\n")
        else:
            raise ValueError(f"element {child.tag} of a comment isn't known")
        parts.append(_escaped(child.tail))
    return "".join(parts).strip()


def _block(element):
    if element.tag == "para":
        return _inline(element)
    if element.tag == "itemizedlist":
        return "\n".join("- " + " ".join(_block(block) for block in item) for item in element)
    if element.tag == "verbatim":
        return "```text\n" + "\n".join(line.removeprefix("///") for line in element.text.splitlines()) + "\n```"
    if element.tag == "table":
        entries = [[" ".join(_block(block) for block in entry) for entry in row] for row in element.findall("row")]
        rows = [" | ".join(row) for row in entries]
        columns = len(element.find("row"))
        return "\n".join([f"| {rows[0]} |", "|" + "---|" * columns, *(f"| {row} |" for row in rows[1:])])
    raise ValueError(f"element {element.tag} of a comment isn't known")
