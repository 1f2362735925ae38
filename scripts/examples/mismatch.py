#!/usr/bin/python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""mismatch.py [--csv] A B...: how far orthophotos depart from one another where they overlap, in pixels.

Each pair of the orthophotos that overlaps is matched at places on a grid (--step pixels apart). A window of A is
searched for in B up to --reach pixels away, by normalised cross-correlation, which neither gain nor offset of the
brightness changes; least squares then give the place in B to a hundredth of a pixel. Places where the two don't
correlate (--least) are left out, and so are those that have no data or lie too close to the edge of one.

Prints the matched places, and median, 90th percentile and greatest length of the mismatch. With --csv, prints each
place instead: x and y on the map, how far the same detail lies to the east and to the north in B, in pixels, and the
correlation. Orthophotos of one --crs and --gsd fit, as kes ortho puts pixels on whole multiples of their size:
    kes ortho Line1/strip.stp --band PANN00A --dem terrain.tif --crs EPSG:32616 --gsd 0.25 -o line1.tif
    kes ortho Line2/strip.stp --band PANN00A --dem terrain.tif --crs EPSG:32616 --gsd 0.25 -o line2.tif
    mismatch.py line1.tif line2.tif

Literature: J. P. Lewis, Fast normalized cross-correlation, Vision Interface 1995; W. Foerstner, On the geometric
precision of digital correlation, International Archives of Photogrammetry 24 (3), 1982.
"""

from __future__ import annotations

import argparse
import itertools
import sys
from pathlib import Path
from typing import Any, NamedTuple

import numpy as np
from osgeo import gdal

gdal.UseExceptions()

HALF_WINDOW = 20  # pixels on each side of a window's centre
MARGIN = 3  # pixels around the place searched for, which interpolation needs


class Place(NamedTuple):
    x: float  # of the map
    y: float
    east: float  # pixels, from A to B
    north: float
    correlation: float

    @property
    def length(self) -> float:
        return float(np.hypot(self.east, self.north))


class Overlap(NamedTuple):
    a: np.ndarray
    b: np.ndarray
    x: float  # outer corner of the first pixel, on the map
    y: float
    pixel: float


def cubic_weights(fraction: float) -> tuple[np.ndarray, np.ndarray]:
    """Weights of the pixels -1 to 2 at a fraction of a pixel after pixel 0 (cubic convolution, a = -1/2; Keys 1981),
    and their derivatives."""
    t = fraction
    weights = [-t + 2 * t**2 - t**3, 2 - 5 * t**2 + 3 * t**3, t + 4 * t**2 - 3 * t**3, -(t**2) + t**3]
    slopes = [-1 + 4 * t - 3 * t**2, -10 * t + 9 * t**2, 1 + 8 * t - 9 * t**2, -2 * t + 3 * t**2]
    return np.array(weights) / 2, np.array(slopes) / 2


def moved(image: np.ndarray, row: float, column: float, size: int) -> tuple[np.ndarray, np.ndarray, np.ndarray]:
    """`size` by `size` pixels of the image from a fractional row and column on, and their slopes along both."""
    first_row, first_column = int(np.floor(row)), int(np.floor(column))
    down, down_slope = cubic_weights(row - first_row)
    across, across_slope = cubic_weights(column - first_column)
    part = image[first_row - 1 : first_row + size + 2, first_column - 1 : first_column + size + 2]

    def vertical(weights: np.ndarray) -> np.ndarray:
        return sum(weights[k] * part[k : k + size] for k in range(4))

    def horizontal(rows: np.ndarray, weights: np.ndarray) -> np.ndarray:
        return sum(weights[k] * rows[:, k : k + size] for k in range(4))

    rows = vertical(down)
    return horizontal(rows, across), horizontal(vertical(down_slope), across), horizontal(rows, across_slope)


def correlations(template: np.ndarray, area: np.ndarray) -> np.ndarray:
    """The normalised cross-correlation of a template with each of its places in an area (Lewis 1995)."""
    size = template.shape[0]
    centred = template - template.mean()
    area = area - area.mean()
    transformed = np.fft.rfft2(area) * np.conj(np.fft.rfft2(centred, area.shape))
    places = area.shape[0] - size + 1
    products = np.fft.irfft2(transformed, area.shape)[:places, :places]

    def sums(values: np.ndarray) -> np.ndarray:
        total = np.pad(values.cumsum(0).cumsum(1), ((1, 0), (1, 0)))
        return total[size:, size:] - total[:-size, size:] - total[size:, :-size] + total[:-size, :-size]

    spread = np.maximum(sums(area**2) - sums(area) ** 2 / size**2, 0) * (centred**2).sum()
    return np.divide(products, np.sqrt(spread), out=np.zeros_like(products), where=spread > 1e-9 * spread.max())


def refined(template: np.ndarray, area: np.ndarray, row: float, column: float) -> tuple[float, float, float] | None:
    """Row, column and correlation of the template's place in the area, by least squares with gain and offset from a
    place within a pixel of it; None where that doesn't converge (Foerstner 1982)."""
    size = template.shape[0]
    first = np.array([row, column], dtype=float)
    place = first.copy()
    for _ in range(20):
        found, down, across = moved(area, *place, size)
        design = np.stack([down.ravel(), across.ravel(), found.ravel(), np.ones(size * size)], axis=1)
        step, _, rank, _ = np.linalg.lstsq(design, template.ravel(), rcond=1e-9)
        if rank < 4 or step[2] <= 0:
            return None
        # gain * found(p + d) = gain * found(p) + gain * slope * d
        move = step[:2] / step[2]
        place += np.clip(move, -1.0, 1.0)
        if np.abs(place - first).max() > 1.5:
            return None
        if np.abs(move).max() < 1e-3:
            found = moved(area, *place, size)[0]
            return place[0], place[1], float(np.corrcoef(template.ravel(), found.ravel())[0, 1])
    return None


def mismatch_at(overlap: Overlap, row: int, column: int, reach: int, least: float) -> Place | None:
    """The mismatch around a pixel; None where one has no data, or where the two don't correlate."""
    half, wide = HALF_WINDOW, HALF_WINDOW + reach + MARGIN
    template = overlap.a[row - half : row + half + 1, column - half : column + half + 1]
    area = overlap.b[row - wide : row + wide + 1, column - wide : column + wide + 1]
    if not (np.isfinite(template).all() and np.isfinite(area).all() and template.std() > 0):
        return None
    scores = correlations(template, area[MARGIN:-MARGIN, MARGIN:-MARGIN])
    best = np.unravel_index(scores.argmax(), scores.shape)
    # A greatest value at the edge isn't a summit: the place may lie beyond.
    if scores[best] < least or not all(0 < index < 2 * reach for index in best):
        return None
    place = refined(template, area, best[0] + MARGIN, best[1] + MARGIN)
    if place is None or place[2] < least:
        return None
    x = overlap.x + (column + 0.5) * overlap.pixel
    y = overlap.y - (row + 0.5) * overlap.pixel
    return Place(x, y, place[1] - reach - MARGIN, reach + MARGIN - place[0], place[2])


def mismatches(overlap: Overlap, step: int, reach: int, least: float) -> tuple[list[Place], int]:
    """The matched places, and how many were left out though both have data there."""
    wide = HALF_WINDOW + reach + MARGIN
    rows, columns = overlap.a.shape
    places, left_out = [], 0
    for row, column in itertools.product(range(wide, rows - wide, step), range(wide, columns - wide, step)):
        corners = np.ix_([row - wide, row, row + wide], [column - wide, column, column + wide])
        if not (np.isfinite(overlap.a[corners]).all() and np.isfinite(overlap.b[corners]).all()):
            continue
        place = mismatch_at(overlap, row, column, reach, least)
        if place:
            places.append(place)
        else:
            left_out += 1
    return places, left_out


def pixels_of(dataset: Any, column: int, row: int, columns: int, rows: int) -> np.ndarray:
    """Of the first band, with NaN where it has no data."""
    band = dataset.GetRasterBand(1)
    values = band.ReadAsArray(column, row, columns, rows).astype(np.float32)
    values[band.GetMaskBand().ReadAsArray(column, row, columns, rows) == 0] = np.nan
    return values


def overlap_of(first: Path, second: Path) -> Overlap | None:
    """What two orthophotos have in common; None without a common pixel."""
    a, b = gdal.Open(str(first)), gdal.Open(str(second))
    (x, pixel, shear, y, other_shear, height), there = a.GetGeoTransform(), b.GetGeoTransform()
    columns, rows = (there[0] - x) / pixel, (y - there[3]) / pixel
    fits = np.allclose([columns, rows], np.round([columns, rows]), rtol=0, atol=1e-3)
    same = np.allclose([pixel, shear, other_shear, height], [there[1], there[2], there[4], there[5]], rtol=1e-9, atol=0)
    north_up = shear == other_shear == 0 and height == -pixel
    if not (fits and same and north_up and a.GetSpatialRef().IsSame(b.GetSpatialRef())):
        reason = "don't lie on one another: make both with one --crs and --gsd"
        raise RuntimeError(f"pixels of {first} and {second} {reason}")
    left, top = max(0, round(columns)), max(0, round(rows))
    width = min(a.RasterXSize, round(columns) + b.RasterXSize) - left
    depth = min(a.RasterYSize, round(rows) + b.RasterYSize) - top
    if width <= 0 or depth <= 0:
        return None
    box_b = (left - round(columns), top - round(rows), width, depth)
    return Overlap(
        pixels_of(a, left, top, width, depth), pixels_of(b, *box_b), x + left * pixel, y - top * pixel, pixel
    )


def main() -> None:
    about, _, rest = __doc__.partition("\n\n")
    parser = argparse.ArgumentParser(
        prog="mismatch.py",
        description=about.partition(": ")[2],
        epilog=rest,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    parser.add_argument("orthophotos", nargs="+", type=Path)
    parser.add_argument("--csv", action="store_true", help="print each place")
    parser.add_argument("--step", type=int, default=80, metavar="PIXELS", help="between places [80]")
    parser.add_argument("--reach", type=int, default=32, metavar="PIXELS", help="greatest mismatch, each way [32]")
    parser.add_argument("--least", type=float, default=0.7, metavar="R", help="correlation of a match [0.7]")
    options = parser.parse_args()
    if len(options.orthophotos) < 2 or options.step < 1 or options.reach < 1:
        parser.error("two orthophotos are needed, and a step and a reach of 1 or more")

    places: list[Place] = []
    left_out = 0
    for first, second in itertools.combinations(options.orthophotos, 2):
        overlap = overlap_of(first, second)
        if overlap:
            found, without = mismatches(overlap, options.step, options.reach, options.least)
            places += found
            left_out += without
    if not places:
        raise RuntimeError("the orthophotos match nowhere")
    if options.csv:
        print("x,y,east,north,correlation")
        for p in places:
            print(f"{p.x:.3f},{p.y:.3f},{p.east:.3f},{p.north:.3f},{p.correlation:.3f}")
        return
    lengths = [p.length for p in places]
    median, most, greatest = np.median(lengths), np.percentile(lengths, 90), max(lengths)
    print(f"{len(places)} places, {left_out} left out; mismatch in pixels:", end=" ")
    print(f"median {median:.2f}, 90 % below {most:.2f}, greatest {greatest:.2f}")


if __name__ == "__main__":
    try:
        main()
        sys.stdout.flush()
    except (OSError, RuntimeError) as error:
        sys.exit(f"mismatch.py: error: {error}")
