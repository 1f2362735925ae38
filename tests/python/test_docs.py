# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Everything public is documented, and the examples hold."""

from __future__ import annotations

import doctest
import inspect
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import kessensor as ks

def documented() -> Iterator[tuple[str, Any]]:
    """Names and objects: the package, its classes and functions, and their methods."""
    yield "kessensor", ks
    for name in ks.__all__:
        owner = getattr(ks, name)
        if inspect.isclass(owner) or inspect.isroutine(owner):
            yield name, owner
        if inspect.isclass(owner) and owner.__module__.startswith("kessensor"):
            for member, value in vars(owner).items():
                if not member.startswith("_") and callable(value):
                    yield f"{name}.{member}", value


NAMES = dict(documented())


def test_methods_are_found() -> None:
    assert {"Band.to_ground", "Band.gsd", "Surface.heights", "Trajectory.table", "ortho"} <= NAMES.keys()


# Whose name says it all.
PLAIN_NAMES = (".close", "threads_of_machine", "Unit")


@pytest.mark.parametrize("name", [name for name in NAMES if not name.endswith(PLAIN_NAMES)])
def test_has_a_docstring(name: str) -> None:
    if name.startswith("CoordinateSystem.wgs84"):
        return
    assert inspect.getdoc(NAMES[name]), name


@pytest.mark.parametrize("name", [name for name in NAMES if ">>>" in (NAMES[name].__doc__ or "")])
def test_example_holds(name: str, flight: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.chdir(flight.parent.parent)
    text = inspect.getdoc(NAMES[name]) or ""
    example = doctest.DocTestParser().get_doctest(text, {"ks": ks, "np": np}, name, None, 0)
    report: list[str] = []
    outcome = doctest.DocTestRunner().run(example, out=report.append)
    assert outcome.attempted > 0 and outcome.failed == 0, "".join(report)
