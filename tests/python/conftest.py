# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""A simulated flight and a block, shared by all tests."""

from __future__ import annotations

from collections.abc import Iterator
from pathlib import Path

import hypothesis
import pytest

import kessensor as ks

hypothesis.settings.register_profile("kessensor", database=None, derandomize=True, deadline=None)
hypothesis.settings.load_profile("kessensor")

DEM = Path(__file__).resolve().parents[2] / "data" / "terrain" / "jacksboro_dem.tif"


@pytest.fixture(scope="session")
def flight(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """The strip file of a small flight, with images of one band."""
    folder = tmp_path_factory.mktemp("flights") / "flight"
    return Path(ks.simulate(folder, DEM, lines=1200, samples=800, heading=52.0, render=["PANN00A"], threads=2))


@pytest.fixture(scope="session")
def block_file(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """The block file of two small strips."""
    folder = tmp_path_factory.mktemp("flights") / "block"
    return Path(ks.simulate(folder, DEM, strips=2, lines=1500, samples=400, points=5, threads=2))


@pytest.fixture(scope="session")
def block_images(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """The block file of two small strips that overlap, with images of one band."""
    folder = tmp_path_factory.mktemp("flights") / "images"
    return Path(ks.simulate(folder, DEM, strips=2, lines=500, samples=400, points=1, render=["PANN00A"], threads=2))


@pytest.fixture
def strip(flight: Path) -> Iterator[ks.Strip]:
    with ks.Strip(flight) as opened:
        yield opened


@pytest.fixture
def band(strip: ks.Strip) -> ks.Band:
    return strip["PANN00A"]


@pytest.fixture(scope="session")
def surface() -> ks.Surface:
    return ks.Surface(DEM)
