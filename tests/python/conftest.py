# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""A simulated flight and a block, shared by all tests."""

from __future__ import annotations

import os
import subprocess
import sys
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path
from typing import Any

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


@pytest.fixture(scope="session")
def measured_block(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """The block file of two parallel strips and one across, with measured points and a boresight, and errors of the
    trajectories."""
    folder = tmp_path_factory.mktemp("measured") / "block"
    # By another process: the one that simulates keeps the camera from where it wrote it first.
    simulate = (
        "import sys, kessensor as ks; print(ks.simulate(*sys.argv[1:], strips=2, cross=1, lines=3000, samples=300, "
        "height=1500.0, control=4, check=3, ties=10.0, navigation='tactical', boresight=(4e-4, -3e-4, 0.0), threads=2))"
    )
    run = subprocess.run([sys.executable, "-c", simulate, folder, DEM], check=True, stdout=subprocess.PIPE)
    return Path(run.stdout.decode().strip())


#: Of the mosaic; fewer where the library is slow.
TILES = int(os.environ.get("KESSENSOR_TEST_TILES", "200"))


@dataclass(frozen=True)
class Mosaic:
    """An orthophoto of `TILES` tiles or a few more: the block, its options, and the file that one process makes."""

    block: Path
    options: dict[str, Any]
    whole: Path

    def but(self, **changed: Any) -> dict[str, Any]:
        """Its options with others in place of some."""
        return self.options | changed


@pytest.fixture(scope="session")
def mosaic(surface: ks.Surface, tmp_path_factory: pytest.TempPathFactory) -> Mosaic:
    """A row of tiles of 1024 by 48 pixels, along two strips that overlap."""
    folder = tmp_path_factory.mktemp("mosaic")
    # By another process: the one that simulates keeps the camera from where it wrote it first.
    simulate = (
        "import sys, kessensor as ks; print(ks.simulate(*sys.argv[1:], strips=2, lines=2400, samples=210, points=1, "
        "heading=90.0, overlap=60.0, render=['PANN00A'], threads=2))"
    )
    run = subprocess.run([sys.executable, "-c", simulate, folder / "block", DEM], check=True, stdout=subprocess.PIPE)
    block = Path(run.stdout.decode().strip())
    with ks.Block(block) as opened, opened["Line1"] as strip:
        band = strip["PANN00A"]
        ends = band.to_ground(band.samples / 2, [20, band.lines - 20], surface=surface, crs="EPSG:32616")
        low, high = sorted(ends.x.tolist())
        gsd, y = (high - low) / (200 * 1024), float(ends.y.mean())
        options: dict[str, Any] = {"bands": ["PANN00A"], "surface": surface, "crs": "EPSG:32616", "gsd": gsd,
                                   "extent": (low, y, low + TILES * 1024 * gsd, y + 47 * gsd)}
        ks.ortho(opened, folder / "whole.tif", threads=2, **options)
    return Mosaic(block, options, folder / "whole.tif")


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
