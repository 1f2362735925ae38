# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Signatures of the compiled module's functions, which don't state them, from the package's type stubs."""

import ast
from pathlib import Path


def _signature(function):
    arguments = function.args
    if arguments.args and arguments.args[0].arg in ("self", "cls"):
        arguments.args = arguments.args[1:]
    for argument in [*arguments.args, *arguments.kwonlyargs]:
        argument.annotation = None
    result = None if function.name == "__init__" else ast.unparse(function.returns)
    return f"({ast.unparse(arguments).replace('=...', '=…')})", result


def signatures(stub):
    """By their names within the module, such as "Band.to_ground"."""
    found = {}
    for node in ast.parse(Path(stub).read_text(encoding="utf-8")).body:
        if isinstance(node, ast.FunctionDef):
            found[node.name] = _signature(node)
        elif isinstance(node, ast.ClassDef):
            for member in node.body:
                if isinstance(member, ast.FunctionDef):
                    name = node.name if member.name == "__init__" else f"{node.name}.{member.name}"
                    found[name] = _signature(member)
    return found
