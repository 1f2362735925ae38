# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Orthophotos, footprints and simulated flights."""

from __future__ import annotations

import os
from collections.abc import Callable, Iterable
from contextlib import ExitStack
from typing import Any

import numpy as np

from kessensor import _core
from kessensor._core import Band, Block, CoordinateSystem, Strip, Surface
from kessensor._results import Status

POINTS_PER_SIDE = 64


def _strips(source: Strip | Block | Iterable[Strip], stack: ExitStack) -> list[Strip]:
    if isinstance(source, Strip):
        return [source]
    if isinstance(source, Block):
        return [stack.enter_context(source[name]) for name in source.strip_names]
    return list(source)


def ortho(
    source: Strip | Block | Iterable[Strip],
    output: str | os.PathLike[str],
    *,
    bands: Iterable[str],
    surface: Surface,
    crs: CoordinateSystem | str,
    gsd: float,
    resampling: str = "cubic",
    nodata: float = 0.0,
    threads: int = 1,
    progress: Callable[[float], object] | None = None,
) -> None:
    """Orthorectifies images of strips and writes a Cloud Optimized GeoTIFF.

    The file appears as a whole or not at all. Its bytes don't depend on `threads`.

    Parameters
    ----------
    source
        A strip, the strips of a block, or strips.
    output
        The file; an older one is replaced.
    bands
        Ids of bands, in the order they have in the file.
    surface
        The elevation model.
    crs
        The system of the map, projected or geographic.
    gsd
        Size of a pixel, metres.
    resampling : {"nearest", "bilinear", "cubic"}
    nodata
        The value of pixels that no image saw.
    threads
        How many work.
    progress
        Called with the part that is done, 0 to 1, from any thread. An exception that it raises, such as
        KeyboardInterrupt, ends the work and leaves nothing.

    Raises
    ------
    RuntimeError
        With the library's message, such as for images that are missing or an output that can't be written.
    """
    with ExitStack() as stack:
        _core.ortho(
            _strips(source, stack),
            output,
            bands=list(bands),
            surface=surface,
            crs=crs,
            gsd=gsd,
            resampling=resampling,
            nodata=nodata,
            threads=threads,
            progress=progress,
        )


def _edges(band: Band) -> tuple[Any, Any]:
    """Samples and lines of the outer edges of the pixels, all around; the last point is the first."""
    right, bottom = band.samples - 0.5, band.lines - 0.5
    corners = np.array([(-0.5, -0.5), (right, -0.5), (right, bottom), (-0.5, bottom), (-0.5, -0.5)])
    at = np.arange(4 * POINTS_PER_SIDE + 1) / POINTS_PER_SIDE
    sides = np.arange(len(corners))
    return np.interp(at, sides, corners[:, 0]), np.interp(at, sides, corners[:, 1])


def footprint(source: Strip | Band, surface: Surface) -> dict[str, Any]:
    """The outline of each band on a surface, as a GeoJSON FeatureCollection in WGS 84 degrees (RFC 7946).

    Points that the surface doesn't reach are left out; "complete" is false then, and a band without any has no feature.
    ``geopandas.GeoDataFrame.from_features`` takes the result.
    """
    bands = [source] if isinstance(source, Band) else list(source)
    features = []
    for band in bands:
        samples, lines = _edges(band)
        ground = band.to_ground(samples, lines, surface=surface, frame="map")
        seen = ground.status <= Status.OUTSIDE_ORIENTATION
        ring = np.column_stack([ground.x[seen], ground.y[seen], ground.z[seen]])
        if len(ring) < 4:
            continue
        if not np.array_equal(ring[0], ring[-1]):
            ring = np.vstack([ring, ring[:1]])
        features.append(
            {
                "type": "Feature",
                "geometry": {"type": "Polygon", "coordinates": [ring.tolist()]},
                "properties": {
                    "band": band.id,
                    "gsd": band.nominal_gsd,
                    "start": band.start_time,
                    "end": band.end_time,
                    "look": float(np.degrees(band.look_angle)),
                    "complete": bool(seen.all()),
                },
            }
        )
    return {"type": "FeatureCollection", "features": features}


def simulate(
    folder: str | os.PathLike[str],
    dem: str | os.PathLike[str],
    *,
    progress: Callable[[float], object] | None = None,
    **options: Any,
) -> str:
    """Flies a strip over an elevation model, or with `strips` a block, and writes its project with its camera.

    Parameters
    ----------
    folder
        To write, new or empty. It appears as a whole or not at all.
    dem
        Any raster of GDAL.
    progress
        As for `ortho`.
    **options
        lines, samples, seed, height (metres above the terrain), heading (degrees), name, start_time, render (a list of
        band ids, or ["all"]), odf (a version), threads; for a block strips, cross, overlap (per cent), points, noise
        (pixels) and crs. Equal options make equal files.

    Returns
    -------
    str
        The strip file, or the block file.
    """
    known = {"lines", "samples", "seed", "height", "heading", "name", "start_time", "render", "odf", "threads"}
    of_blocks = {"strips", "cross", "overlap", "points", "noise", "crs"}
    allowed = known | of_blocks if "strips" in options else known
    for name in options:
        if name not in allowed:
            hint = " without strips" if name in of_blocks else ""
            raise TypeError(f"simulate() got an unexpected keyword argument '{name}'{hint}")
    fly = _core.simulate_block if "strips" in options else _core.simulate_flight
    return fly(folder, dem, options, progress)
