#!/usr/bin/python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""seam.py OUTPUT STRIP BEFORE TITLE AFTER TITLE: draws two mosaics of one place, above one another and magnified, each
with its title. Red marks at the edges say where the seam runs, beyond which a mosaic doesn't show the orthophoto STRIP
of one strip, which must have the pixels of BEFORE."""

from __future__ import annotations

import sys
from pathlib import Path

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402
from osgeo import gdal  # noqa: E402

gdal.UseExceptions()

MAGNIFIED = 2  # pixels of the picture for one of the mosaic
TITLE = 34  # pixels
GREYS = 40  # so that the file stays small


def pixels(file: str) -> np.ndarray:
    return gdal.Open(file).ReadAsArray().astype(float)


def seam_ends(mosaic: np.ndarray, strip: np.ndarray) -> list[tuple[np.ndarray, np.ndarray]]:
    """Columns and rows of two short ticks where the seam, which is nearly straight, enters and leaves the mosaic."""
    rows, columns = mosaic.shape
    above = np.cumsum(np.where(mosaic == strip, 1, -1), axis=0)
    # In each column the row with as much of the strip as possible on one side, and as little on the other.
    row = np.abs(above - above[-1] / 2).argmax(axis=0)
    inside = (row > 5) & (row < rows - 6)
    if inside.sum() < 20:
        return []
    slope, first = np.polyfit(np.flatnonzero(inside), row[inside], 1)
    x = np.linspace(0, columns - 1, 4 * columns)
    y = first + slope * x
    visible = np.flatnonzero((y > 0) & (y < rows - 1))
    tick = max(1, len(visible) // 16)
    return [(x[part], y[part]) for part in (visible[:tick], visible[-tick:])]


def draw(output: Path, strip: str, panels: list[tuple[str, str]]) -> None:
    mosaics = [pixels(file) for file, _ in panels]
    rows, columns = mosaics[0].shape
    low, high = np.percentile(mosaics[0], [0.5, 99.5])
    ticks = seam_ends(mosaics[0], pixels(strip))
    width, height = columns * MAGNIFIED, (rows * MAGNIFIED + TITLE) * len(panels)
    figure = plt.figure(figsize=(width / 100, height / 100), dpi=100)
    for k, (mosaic, (_, title)) in enumerate(zip(mosaics, panels, strict=True)):
        bottom = 1 - ((k + 1) * (rows * MAGNIFIED + TITLE)) / height
        axes = figure.add_axes((0, bottom, 1, rows * MAGNIFIED / height))
        grey = np.round(np.clip((mosaic - low) / (high - low), 0, 1) * GREYS) / GREYS
        axes.imshow(grey, cmap="gray", vmin=0, vmax=1, interpolation="nearest", aspect="auto")
        for tick in ticks:
            axes.plot(*tick, color="red", linewidth=3)
        axes.set_axis_off()
        axes.set_xlim(-0.5, columns - 0.5)
        axes.set_ylim(rows - 0.5, -0.5)
        axes.set_title(title, fontsize=13, pad=8)
    figure.savefig(output, format="png", dpi=100)


def main() -> None:
    if len(sys.argv) != 7:
        sys.exit(__doc__)
    output = Path(sys.argv[1])
    part = output.with_name(output.name + ".part")
    try:
        draw(part, sys.argv[2], [(sys.argv[3], sys.argv[4]), (sys.argv[5], sys.argv[6])])
        part.replace(output)
    except (OSError, RuntimeError) as error:
        part.unlink(missing_ok=True)
        sys.exit(f"seam.py: error: {error}")


if __name__ == "__main__":
    main()
