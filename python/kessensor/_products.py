# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Orthophotos, footprints and simulated flights."""

from __future__ import annotations

import os
from collections.abc import Callable, Iterable, Sequence
from typing import Any

import numpy as np
import numpy.typing as npt

from kessensor import _core
from kessensor._core import Band, Block, CoordinateSystem, Strip, Surface
from kessensor._results import Grid, Ground, Status

Path = str | os.PathLike[str]

POINTS_PER_SIDE = 64
POINTS_PER_LINE = 32


def ortho_options(
    *,
    bands: Iterable[str],
    crs: CoordinateSystem | str | None = None,
    gsd: float | None = None,
    extent: tuple[float, float, float, float] | None = None,
    like: Path | None = None,
    grid: Grid | None = None,
    cut: Path | None = None,
    resampling: str = "cubic",
    type: npt.DTypeLike = None,
    scale: tuple[float, float] | None = None,
    format: str = "COG",
    creation_options: Iterable[str] = (),
    record: bool = True,
    nodata: float = 0.0,
    threads: int = 1,
) -> dict[str, Any]:
    """The options of `ortho` as the module takes them. Throws TypeError where those of the place don't go together."""
    if like is not None and not (crs is None and gsd is None and extent is None and grid is None):
        raise TypeError("like: crs, gsd, extent and grid don't go with it")
    if like is None and crs is None:
        raise TypeError("crs or like: one of them must be given")
    if grid is not None and not (gsd is None and extent is None):
        raise TypeError("grid: gsd and extent don't go with it")
    if like is None and grid is None and gsd is None:
        raise TypeError("gsd, grid or like: one of them must be given")
    if extent is not None:
        low_x, low_y, high_x, high_y = (float(value) for value in extent)
        extent = (low_x, low_y, high_x, high_y)
    if scale is not None:
        lowest, highest = (float(value) for value in scale)
        scale = (lowest, highest)
    return {
        "bands": list(bands),
        "crs": crs,
        "gsd": gsd,
        "extent": extent,
        "like": like,
        "grid": grid,
        "cut": cut,
        "resampling": resampling,
        "type": None if type is None else np.dtype(type).name,
        "scale": scale,
        "format": format,
        "creation_options": list(creation_options),
        "record": record,
        "nodata": nodata,
        "threads": threads,
    }


def ortho(
    source: Strip | Block | Iterable[Strip],
    output: Path,
    *,
    bands: Iterable[str],
    surface: Surface,
    crs: CoordinateSystem | str | None = None,
    gsd: float | None = None,
    extent: tuple[float, float, float, float] | None = None,
    like: Path | None = None,
    grid: Grid | None = None,
    cut: Path | None = None,
    resampling: str = "cubic",
    type: npt.DTypeLike = None,
    scale: tuple[float, float] | None = None,
    format: str = "COG",
    creation_options: Iterable[str] = (),
    record: bool = True,
    nodata: float = 0.0,
    threads: int = 1,
    strip_limit: int = 1,
    progress: Callable[[float], object] | None = None,
) -> None:
    """Orthorectifies images of strips and writes a Cloud Optimized GeoTIFF, or a plain one.

    The file appears as a whole or not at all. Its bytes don't depend on `threads` or `strip_limit`.

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
    extent
        Least x and y, and greatest x and y of the box of the map that is made; the edges move outwards to those of
        pixels. Otherwise the box around all images.
    like
        A raster whose pixels and system the orthophoto takes, in place of crs, gsd and extent.
    grid
        The pixels, in place of gsd and extent; see `Grid`.
    cut
        A vector file: pixels outside of its polygons have no data. Without extent, like and grid, the file ends at the
        box around them.
    resampling : {"nearest", "bilinear", "cubic"}
    type
        Of the pixels: uint8, uint16, int16, uint32, int32, float32 or float64. By default the smallest that holds the
        values of all images.
    scale
        The brightness that becomes 0, and the one that becomes the greatest value of the type (1 of a float).
    format : {"COG", "GTiff"}
        With overviews, or in tiles without.
    creation_options
        Of GDAL for the format, such as "COMPRESS=ZSTD".
    record
        Whether the file's metadata say what it was made of, and how well its pixels close.
    nodata
        The value of pixels that no image saw.
    threads
        How many work.
    strip_limit
        Of how many strips of a block the data stay in memory at once; those beyond are loaded twice. Strips that are
        open already stay as they are.
    progress
        Called with the part that is done, 0 to 1, from any thread. An exception that it raises, such as
        KeyboardInterrupt, ends the work and leaves nothing.

    Raises
    ------
    RuntimeError
        With the library's message, such as for images that are missing or an output that can't be written.
    TypeError, ValueError
        For options that don't go together, or that aren't known.
    """
    options = ortho_options(
        bands=bands,
        crs=crs,
        gsd=gsd,
        extent=extent,
        like=like,
        grid=grid,
        cut=cut,
        resampling=resampling,
        type=type,
        scale=scale,
        format=format,
        creation_options=creation_options,
        record=record,
        nodata=nodata,
        threads=threads,
    )
    if isinstance(source, Block):
        _core.ortho_of_block(source, strip_limit, output, surface, options, progress)
    else:
        strips = [source] if isinstance(source, Strip) else list(source)
        _core.ortho_of_strips(strips, output, surface, options, progress)


def _edges(band: Band) -> tuple[Any, Any]:
    """Samples and lines of the outer edges of the pixels, all around; the last point is the first."""
    right, bottom = band.samples - 0.5, band.lines - 0.5
    corners = np.array([(-0.5, -0.5), (right, -0.5), (right, bottom), (-0.5, bottom), (-0.5, -0.5)])
    at = np.arange(4 * POINTS_PER_SIDE + 1) / POINTS_PER_SIDE
    sides = np.arange(len(corners))
    return np.interp(at, sides, corners[:, 0]), np.interp(at, sides, corners[:, 1])


def _feature(kind: str, points: npt.NDArray[np.float64], properties: dict[str, Any]) -> dict[str, Any]:
    coordinates = [points.tolist()] if kind == "Polygon" else points.tolist()
    return {"type": "Feature", "geometry": {"type": kind, "coordinates": coordinates}, "properties": properties}


def _outline(band: Band, ground: Ground) -> dict[str, Any] | None:
    seen = ground.status <= Status.OUTSIDE_ORIENTATION
    ring = np.column_stack([ground.x[seen], ground.y[seen], ground.z[seen]])
    if len(ring) < 4:
        return None
    if not np.array_equal(ring[0], ring[-1]):
        ring = np.vstack([ring, ring[:1]])
    properties = {
        "band": band.id,
        "gsd": band.nominal_gsd,
        "start": band.start_time,
        "end": band.end_time,
        "look": float(np.degrees(band.look_angle)),
        "complete": bool(seen.all()),
    }
    return _feature("Polygon", ring, properties)


def _lines(band: Band, every: int, on: dict[str, Any]) -> list[dict[str, Any]]:
    """Each `every`th line and the last one on the ground; those without two points there are left out."""
    last = band.lines - 1
    lines = np.append(np.arange(0, last, every), last)
    samples = np.linspace(-0.5, band.samples - 0.5, POINTS_PER_LINE + 1)
    ground = band.to_ground(samples, lines[:, np.newaxis], **on)
    times = band.times(lines).time
    features = []
    for i, line in enumerate(lines.tolist()):
        seen = ground.status[i] <= Status.OUTSIDE_ORIENTATION
        points = np.column_stack([ground.x[i, seen], ground.y[i, seen], ground.z[i, seen]])
        if len(points) > 1:
            features.append(_feature("LineString", points, {"band": band.id, "line": line, "time": float(times[i])}))
    return features


def footprint(
    source: Strip | Band, surface: Surface, *, every: int | None = None, crs: CoordinateSystem | str | None = None
) -> dict[str, Any]:
    """The outline of each band on a surface, as a GeoJSON FeatureCollection in WGS 84 degrees (RFC 7946).

    Points that the surface doesn't reach are left out; "complete" is false then, and a band without any has no feature.
    ``geopandas.GeoDataFrame.from_features`` takes the result.

    Parameters
    ----------
    every
        After the outline of a band, adds the ground of each so manyth line and of the last one: a LineString with the
        properties band, line and time (GPS seconds). Lines without two points on the surface are left out.
    crs
        Another system of the coordinates, which GeoJSON can't name: ``from_features(..., crs=...)`` has to be given it.
    """
    if every is not None and every < 1:
        raise ValueError(f"every is {every}: it must be at least 1")
    on: dict[str, Any] = {"surface": surface, "frame": "map" if crs is None else None, "crs": crs}
    features = []
    bands = [source] if isinstance(source, Band) else list(source)
    for band in bands:
        outline = _outline(band, band.to_ground(*_edges(band), **on))
        if outline is not None:
            features.append(outline)
        if every is not None:
            features += _lines(band, every, on)
    return {"type": "FeatureCollection", "features": features}


_ERRORS = {
    "boresight",
    "lever_arm",
    "focal_length",
    "principal_point",
    "line_shape",
    "time_offset",
    "gnss_shift",
    "gnss_drift",
}


def _error_size(value: str | float | Sequence[float]) -> str:
    """The size of an error as the tool takes it."""
    return value if isinstance(value, str) else ",".join(repr(float(v)) for v in np.atleast_1d(value))


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

        length (metres on the ground) takes the place of lines. Errors to recover are boresight, lever_arm,
        focal_length, principal_point, line_shape, time_offset, gnss_shift and gnss_drift, each a number, a sequence of
        numbers or, to draw them, a text like "sigma=1e-4", in radians, metres and seconds, and navigation, the name of
        a class of navigation systems. For a block, control, check, survey_sigma (metres), wrong_control (metres), ties
        (a second) and blunders (per cent) make the points of a test of an adjustment; control, check and ties take the
        place of points. ``kes simulate`` describes them all.

    Returns
    -------
    str
        The strip file, or the block file.
    """
    known = {"lines", "length", "samples", "seed", "height", "heading", "name", "start_time", "render", "odf", "threads"}
    known |= _ERRORS | {"navigation"}
    of_blocks = {"strips", "cross", "overlap", "points", "noise", "crs"}
    of_blocks |= {"control", "check", "survey_sigma", "wrong_control", "ties", "blunders"}
    allowed = known | of_blocks if "strips" in options else known
    for name in options:
        if name not in allowed:
            hint = " without strips" if name in of_blocks else ""
            raise TypeError(f"simulate() got an unexpected keyword argument '{name}'{hint}")
    if "lines" in options and "length" in options:
        raise TypeError("simulate() takes lines or length, not both")
    if "points" in options and not options.keys().isdisjoint({"control", "check", "ties"}):
        raise TypeError("simulate() takes points, or control, check and ties, not both")
    options |= {name: _error_size(value) for name, value in options.items() if name in _ERRORS}
    fly = _core.simulate_block if "strips" in options else _core.simulate_flight
    return fly(folder, dem, options, progress)
