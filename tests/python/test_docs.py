# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Everything public is documented, and the examples hold."""

from __future__ import annotations

import doctest
import inspect
import re
import shutil
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from conftest import DEM, Mosaic

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
    assert {"Band.to_ground", "Band.gsd", "Band.partials", "Surface.heights", "Trajectory.table"} <= NAMES.keys()
    assert {"ortho", "adjust", "Adjustment.install"} <= NAMES.keys()


# Whose name says it all.
PLAIN_NAMES = (".close", "threads_of_machine", "Unit")


@pytest.mark.parametrize("name", [name for name in NAMES if not name.endswith(PLAIN_NAMES)])
def test_has_a_docstring(name: str) -> None:
    if name.startswith("CoordinateSystem.wgs84"):
        return
    assert inspect.getdoc(NAMES[name]), name


PAGE = DEM.parents[2] / "docs" / "python.md"


def test_page_runs(
    flight: Path, mosaic: Mosaic, measured_block: Path, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    pytest.importorskip("distributed")
    for name, target in {"flight": flight.parent, "block": mosaic.block.parent, "terrain.tif": DEM}.items():
        (tmp_path / name).symlink_to(target)
    # The page changes it.
    shutil.copytree(measured_block.parent, tmp_path / "adjustment")
    monkeypatch.chdir(tmp_path)
    names: dict[str, Any] = {}
    blocks = re.findall(r"^```python\n(.*?)^```$", PAGE.read_text(), re.MULTILINE | re.DOTALL)
    for block in blocks:
        exec(block, names)
    assert len(blocks) == 5
    assert names["sigmas"].shape == (2, 3) and names["derivatives"].by_line.shape == (2, 3, 5)
    assert 0.0 < names["apart"][0, 0] < names["first"].covariance[0, 0] + names["second"].covariance[0, 0]
    assert len(names["checks"]) == 3 and (tmp_path / "adjustment" / "replaced").is_dir()
    assert names["seen"].all() and (tmp_path / "ortho.tif").exists()
    band, surface = names["band"], ks.Surface(DEM)
    assert names["heights"].shape == (1000, 800)
    assert names["heights"][7, 9] == band.to_ground(9.0, 7.0, surface=surface).z


@pytest.mark.parametrize("name", [name for name in NAMES if ">>>" in (NAMES[name].__doc__ or "")])
def test_example_holds(name: str, flight: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.chdir(flight.parent.parent)
    text = inspect.getdoc(NAMES[name]) or ""
    example = doctest.DocTestParser().get_doctest(text, {"ks": ks, "np": np}, name, None, 0)
    report: list[str] = []
    outcome = doctest.DocTestRunner().run(example, out=report.append)
    assert outcome.attempted > 0 and outcome.failed == 0, "".join(report)
