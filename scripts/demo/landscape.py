#!/usr/bin/python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""landscape.py OUTPUT CRS XMIN YMIN XMAX YMAX: paints fields, roads, tracks and trees on a box of the map, as a texture
for kes simulate whose edges show where an orthophoto is broken. The same box has the same landscape each time."""

from __future__ import annotations

import sys
from pathlib import Path

import numpy as np
from osgeo import gdal, osr

gdal.UseExceptions()

PIXEL = 0.4  # metres
ROWS_AT_ONCE = 256
DIRECTION = np.radians(98.0)  # of the long sides of fields, from the east
FIELD_ROW, FIELD = 84.0, 47.0  # metres: rows of fields between roads, mean width of a field
ROAD, TRACK = 2.6, 0.8  # half widths, metres
TREE_SPACING, TREE = 21.0, 2.4
BRIGHTEST = 65535


def hashed(*whole: np.ndarray) -> np.ndarray:
    """A number from 0 to 1 that depends on whole numbers alone and looks random."""
    state = np.uint64(0x9E3779B97F4A7C15)
    for part in whole:
        state = (state ^ part.astype(np.int64).astype(np.uint64)) * np.uint64(0xBF58476D1CE4E5B9)
        state = state ^ (state >> np.uint64(29))
    return (state >> np.uint64(40)).astype(np.float32) / 2**24


def noise(u: np.ndarray, v: np.ndarray, size: float, key: int) -> np.ndarray:
    """Smooth random values from 0 to 1 on squares of a size."""
    i, j = np.floor(u / size), np.floor(v / size)
    s, t = (u / size - i).astype(np.float32), (v / size - j).astype(np.float32)
    s, t = s * s * (3 - 2 * s), t * t * (3 - 2 * t)

    def at(di: int, dj: int) -> np.ndarray:
        return hashed(i + di, j + dj, np.int64(key))

    return (at(0, 0) * (1 - s) + at(1, 0) * s) * (1 - t) + (at(0, 1) * (1 - s) + at(1, 1) * s) * t


def brightness(x: np.ndarray, y: np.ndarray) -> np.ndarray:
    """From 0 to 1, at places in metres."""
    u = np.cos(DIRECTION) * x + np.sin(DIRECTION) * y
    v = -np.sin(DIRECTION) * x + np.cos(DIRECTION) * y
    v = v + 9 * np.sin(u / 130.0) + 4 * np.sin(u / 47.0)
    row = np.floor(v / FIELD_ROW)
    across = v - row * FIELD_ROW
    along = u + FIELD * hashed(row, np.int64(1))
    column = np.floor(along / FIELD)
    edge = along - column * FIELD

    value = 0.22 + 0.42 * hashed(row, column, np.int64(2))
    # The lines of a plough, unlike one another, along or across the field.
    is_along = hashed(row, column, np.int64(3)) < 0.6
    furrow = hashed(np.floor(np.where(is_along, across, edge) / 0.9), row, column, np.int64(4))
    value += 0.07 * (furrow - 0.5)
    for size, part in ((0.7, 0.06), (3.0, 0.06), (17.0, 0.10)):
        value += part * (noise(u, v, size, int(10 * size)) - 0.5)

    value = np.where(np.minimum(edge, FIELD - edge) < TRACK, 0.78, value)
    from_road = np.minimum(across, FIELD_ROW - across)
    value = np.where(from_road < 1.8 * ROAD, 0.16 + 0.05 * noise(u, v, 2.0, 5), value)
    value = np.where(from_road < ROAD, 0.88, value)
    value = np.where(from_road < 0.25, 0.60, value)

    # A tree somewhere in a third of the squares, not on roads.
    i, j = np.floor(u / TREE_SPACING), np.floor(v / TREE_SPACING)
    middle_u = (i + 0.25 + 0.5 * hashed(i, j, np.int64(6))) * TREE_SPACING
    middle_v = (j + 0.25 + 0.5 * hashed(i, j, np.int64(7))) * TREE_SPACING
    is_tree = (np.hypot(u - middle_u, v - middle_v) < TREE) & (hashed(i, j, np.int64(8)) < 0.33) & (from_road > ROAD)
    return np.where(is_tree, 0.06 + 0.08 * noise(u, v, 1.0, 9), value)


def paint(output: Path, crs: str, box: tuple[float, float, float, float]) -> None:
    left, bottom, right, top = box
    columns, rows = round((right - left) / PIXEL), round((top - bottom) / PIXEL)
    system = osr.SpatialReference()
    system.SetFromUserInput(crs)
    raster = gdal.GetDriverByName("GTiff").Create(
        str(output), columns, rows, 1, gdal.GDT_UInt16, ["TILED=YES", "SPARSE_OK=NO"]
    )
    raster.SetProjection(system.ExportToWkt())
    raster.SetGeoTransform([left, PIXEL, 0, top, 0, -PIXEL])
    x = left + (np.arange(columns) + 0.5) * PIXEL
    for first in range(0, rows, ROWS_AT_ONCE):
        y = top - (np.arange(first, min(first + ROWS_AT_ONCE, rows)) + 0.5) * PIXEL
        values = np.clip(brightness(*np.meshgrid(x, y)), 0.02, 1) * BRIGHTEST
        raster.GetRasterBand(1).WriteArray(values.astype(np.uint16), 0, first)
    raster.FlushCache()


def main() -> None:
    if len(sys.argv) != 7:
        sys.exit(__doc__)
    output = Path(sys.argv[1])
    part = output.with_name(output.name + ".part")
    try:
        paint(part, sys.argv[2], tuple(map(float, sys.argv[3:])))
        part.replace(output)
    except (OSError, RuntimeError) as error:
        part.unlink(missing_ok=True)
        sys.exit(f"landscape.py: error: {error}")


if __name__ == "__main__":
    main()
