# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Projections of Dask's arrays."""

from __future__ import annotations

import shutil
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import numpy as np
import pytest

pytest.importorskip("distributed")

import kessensor as ks
from kessensor import _methods, cluster
from kessensor.cluster import _project
from kessensor.cluster._dask import Client, LocalCluster, array


@pytest.fixture(scope="module")
def client() -> Iterator[Any]:
    """Of two processes of two threads each."""
    with (
        LocalCluster(n_workers=2, threads_per_worker=2, dashboard_address=":0", memory_limit=0) as workers,
        Client(workers) as client,
    ):
        yield client


def points(chunks: Any) -> tuple[Any, Any]:
    """Samples and lines with some that are bad."""
    samples = np.linspace(-5.0, 805.0, 37 * 41).reshape(37, 41)
    samples[3, 4] = np.nan
    lines = np.linspace(-300.0, 1500.0, 41)
    return array.from_array(samples, chunks=chunks), array.from_array(lines, chunks=chunks[1])


def assert_same(found: Any, expected: Any) -> None:
    """Compares the bits."""
    for name, column in zip(expected._fields, found, strict=True):
        assert column.dtype == getattr(expected, name).dtype
        assert column.tobytes() == getattr(expected, name).tobytes(), name


@pytest.mark.parametrize("chunks", [(37, 41), (5, 7), (1, 41), (37, 1)])
def test_any_chunks_have_the_bits_of_one_call(band: ks.Band, surface: ks.Surface, chunks: tuple[int, int]) -> None:
    samples, lines = points(chunks)
    ground: Any = cluster.project(band, samples, lines, 35.0, to="ground")
    assert type(ground) is ks.Ground
    columns: list[Any] = list(ground)
    assert [column.chunks for column in columns] == [samples.chunks] * 4
    with_heights = band.to_ground(samples.compute(), lines.compute(), 35.0)
    assert_same(array.compute(*ground, scheduler="sync"), with_heights)
    on_surface = cluster.project(band, samples, lines, to="ground", surface=surface, crs="EPSG:32616")
    expected = band.to_ground(samples.compute(), lines.compute(), surface=surface, crs="EPSG:32616")
    assert_same(array.compute(*on_surface, scheduler="sync"), expected)
    image = cluster.project(band, *on_surface[:3], to="image", crs="EPSG:32616")
    back = band.to_image(*expected[:3], crs="EPSG:32616")
    assert_same(array.compute(*image, scheduler="sync"), back)


def test_processes_open_a_band_once(flight: Path, surface: ks.Surface, client: Any) -> None:
    with ks.Strip(flight) as strip:
        bands = [strip["PANN00A"], strip["PANF27A"]]
    samples, lines = points((5, 7))
    for band in bands:
        ground = cluster.project(band, samples, lines, to="ground", surface=surface)
        expected = band.to_ground(samples.compute(), lines.compute(), surface=surface)
        assert_same(client.gather(client.compute(list(ground))), expected)
    opened = client.run(lambda: _methods._strip_of_bands.cache_info().currsize)
    assert list(opened.values()) == [1, 1]
    kept = client.run(lambda: _project._opened.cache_info().currsize)
    assert list(kept.values()) == [3, 3]  # two bands and a surface


def test_files_that_changed_are_refused(flight: Path, tmp_path: Path) -> None:
    folder = tmp_path / "copy"
    shutil.copytree(flight.parent, folder)
    with ks.Strip(folder / flight.name) as strip:
        band = strip["PANN00A"]
        orientation = strip.trajectory.file
    ground = cluster.project(band, array.zeros(4, chunks=2), 1.0, to="ground")
    with open(orientation, "ab") as stream:
        stream.write(b" ")
    with pytest.raises(ValueError, match="has changed since it was pickled$"):
        ground.x.compute(scheduler="sync")


def test_what_depends_on_chunks_is_refused(band: ks.Band) -> None:
    with pytest.raises(ValueError) as caught:
        cluster.project(band, 1.0, 2.0, to="image", solver="run")  # type: ignore[arg-type]
    assert str(caught.value) == 'solver is "run": it must be precise or point, which work point by point'
    with pytest.raises(ValueError, match='^to is "map": it must be ground or image$'):
        cluster.project(band, 1.0, 2.0, to="map")  # type: ignore[arg-type]
