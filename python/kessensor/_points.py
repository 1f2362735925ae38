# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Ground points, their measurements in images, and the residuals of both."""

from __future__ import annotations

import os
import re
from collections.abc import Iterable
from typing import Any

import numpy as np
import numpy.typing as npt

from kessensor import _core
from kessensor._core import Band, Block, CoordinateSystem, Strip

Table = npt.NDArray[np.void]
Path = str | os.PathLike[str]

IMAGE_FIELDS = [("sample", "f8"), ("line", "f8"), ("sample_deviation", "f8"), ("line_deviation", "f8"), ("active", "?")]
GROUND_FIELDS = [(name, "f8") for name in ("x", "y", "z", "x_deviation", "y_deviation", "z_deviation")]
RESIDUAL_FIELDS = [
    *[(name, "f8") for name in ("sample", "line", "projected_sample", "projected_line")],
    *[(name, "f8") for name in ("residual_sample", "residual_line", "gsd")],
    *[("active", "?"), ("status", "u1")],
]
DECIMAL_COMMA = re.compile(r"\s([-+]?\d+,\d+)(?=\s|$)")


def _require_decimal_points(file: str) -> None:
    """The library reads a number up to its comma."""
    with open(file, encoding="utf-8", errors="replace") as stream:
        for number, line in enumerate(stream, 1):
            # An id in quotes may have whatever it likes.
            found = None if line.startswith(";") else DECIMAL_COMMA.search(re.sub(r'^\s*"[^"]*"', "", line))
            if found:
                raise ValueError(f'{file}:{number}: "{found[1]}" has a decimal comma; numbers take a point')


def _table(rows: list[tuple[Any, ...]], texts: Iterable[str], fields: list[tuple[str, str]]) -> Table:
    """Rows as an array, with texts as long as the longest."""
    columns = [np.array([row[i] for row in rows], dtype=str) for i, _ in enumerate(texts)]
    of_texts = [(name, column.dtype.str) for name, column in zip(texts, columns, strict=True)]
    return np.array(rows, dtype=of_texts + fields)


def image_points(file: Path) -> Table:
    """The measurements of an image, as a structured array, which ``pandas.DataFrame`` takes.

    Parameters
    ----------
    file
        Of measurements, such as `Band.points_file`.

    Returns
    -------
    numpy.ndarray
        Fields id, sample and line (from 0 at the centre of the first pixel), sample_deviation and line_deviation
        (pixels), active.

    Raises
    ------
    OSError
        When the file can't be read.
    ValueError
        For a number with a decimal comma.
    """
    name = os.fspath(file)
    _require_decimal_points(name)
    return _table(_core.image_points(name), ["id"], IMAGE_FIELDS)


def ground_points(file: Path) -> Table:
    """The ground points of a file, as a structured array, which ``pandas.DataFrame`` takes.

    Returns
    -------
    numpy.ndarray
        Fields id, x, y and z (in the system that the file doesn't name), x_deviation, y_deviation, z_deviation, type.

    Raises
    ------
    OSError, ValueError
        As for `image_points`.
    """
    name = os.fspath(file)
    _require_decimal_points(name)
    return _table(_core.ground_points(name), ["id"], [*GROUND_FIELDS, ("type", "i4")])


def _ground_control(
    source: Strip | Block, points: Table | Path | None, crs: CoordinateSystem | str | None
) -> tuple[Table, CoordinateSystem | str]:
    """Ground points and their system, where they aren't given those of the block."""
    file, rows, definition = _core.ground_points_of_block(source.file) if isinstance(source, Block) else ("", [], None)
    if isinstance(points, np.ndarray):
        file, table = "", points
    elif points is not None:
        file, table = os.fspath(points), ground_points(points)
    elif isinstance(source, Block):
        if os.path.exists(file):
            _require_decimal_points(file)
        table = _table(rows, ["id"], [*GROUND_FIELDS, ("type", "i4")])
    else:
        raise TypeError("points: a strip has no ground points of its own")
    if len(table) == 0:
        raise RuntimeError("no ground points" + (f" in {file}" if file else ""))
    if crs is None:
        of_maps = source.crs if isinstance(source, Block) else CoordinateSystem.wgs84_radians()
        crs = CoordinateSystem(definition) if definition else of_maps
    return table, crs


def _residuals_of_band(strip: str, band: Band, points: Table, crs: CoordinateSystem | str) -> list[tuple[Any, ...]]:
    measured = image_points(band.points_file)
    first = {id: i for i, id in reversed(list(enumerate(points["id"].tolist())))}
    index = np.array([first.get(id, -1) for id in measured["id"].tolist()], dtype=np.intp)
    known = index >= 0
    place = [np.where(known, points[axis][index], np.nan) for axis in "xyz"]
    image = band.to_image(*place, crs=crs)
    columns = [
        [strip] * len(measured),
        [band.id] * len(measured),
        *[measured[name].tolist() for name in ("id", "sample", "line")],
        *[image.sample.tolist(), image.line.tolist()],
        *[(measured["sample"] - image.sample).tolist(), (measured["line"] - image.line).tolist()],
        [band.nominal_gsd] * len(measured),
        *[measured["active"].tolist(), image.status.tolist()],
    ]
    return list(zip(*columns, strict=True))


def residuals(
    source: Strip | Block,
    points: Table | Path | None = None,
    *,
    bands: Iterable[str] | None = None,
    crs: CoordinateSystem | str | None = None,
) -> Table:
    """Measured less projected positions of ground points, in all images that have measurements.

    Parameters
    ----------
    source
        A strip, or a block with all its strips.
    points
        Ground points as `ground_points` has them, or their file; those of the block by default. Of several with one id,
        the first counts.
    bands
        Ids; all bands by default.
    crs
        The system of the points. By default that of the block's ground points, or WGS 84 in radians for a strip.

    Returns
    -------
    numpy.ndarray
        A structured array, which ``pandas.DataFrame`` takes, with a row for each measurement, active or not. Fields: strip, band, id; sample and line as measured; projected_sample and projected_line;
        residual_sample and residual_line (measured less projected, pixels); gsd (metres to a pixel); active; status (a
        `Status`). Where a point has no projection, and where its id isn't among the ground points (NOT_FINITE), the
        numbers are NaN.

    Raises
    ------
    ValueError, OSError
        As for `image_points`.
    RuntimeError
        Where there are no ground points.
    TypeError
        For a strip without `points`.
    """
    table, place = _ground_control(source, points, crs)
    wanted = None if bands is None else set(bands)
    rows: list[tuple[Any, ...]] = []
    names = source.strip_names if isinstance(source, Block) else [source.name]
    for name in names:
        strip = source[name] if isinstance(source, Block) else source
        for band in strip:
            if (wanted is None or band.id in wanted) and band.points_file and os.path.exists(band.points_file):
                rows += _residuals_of_band(name, band, table, place)
        if isinstance(source, Block):
            strip.close()
    return _table(rows, ["strip", "band", "id"], RESIDUAL_FIELDS)
