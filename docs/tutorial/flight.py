#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""A flight in Python: flight.py TERRAIN FOLDER. Simulates a flight over an elevation model, and draws where its bands
lie, how well projections close, and how steeply they look. Each "# %%" begins a cell for editors that know
notebooks."""

from __future__ import annotations

import sys
from pathlib import Path
from typing import Any

import matplotlib  # type: ignore[import]

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # type: ignore[import]
import numpy as np
import numpy.typing as npt

import kessensor as ks

terrain, folder = sys.argv[1], Path(sys.argv[2])
BANDS = {"PANF27A": "tab:red", "PANN00A": "tab:green", "PANB14A": "tab:blue"}
UTM = ks.CoordinateSystem("EPSG:32616")

# %% A flight to work on; usually it comes from an aircraft
strip_file = ks.simulate(folder / "flight", terrain, lines=8000, samples=4000, heading=52.0)
strip = ks.Strip(strip_file)
surface = ks.Surface(terrain)
print(strip)
print(strip.trajectory)

# %% Image positions to the terrain, in UTM
band = strip["PANN00A"]
samples = np.linspace(0, band.samples - 1, 200)
lines = np.linspace(0, band.lines - 1, 400)[:, np.newaxis]
ground = band.to_ground(samples, lines, surface=surface, crs=UTM, threads=2)
print(f"{np.count_nonzero(ground.status == ks.Status.OK)} of {ground.status.size} positions lie on the terrain,")
print(f"from {np.nanmin(ground.z):.1f} to {np.nanmax(ground.z):.1f} m above the ellipsoid")

# %% And back
image = band.to_image(ground.x, ground.y, ground.z, crs=UTM, threads=2)
print(f"they come back within {np.nanmax(np.hypot(image.sample - samples, image.line - lines)):.1e} pixels")


# %% Picture 1: footprints over the terrain
def relief(x: npt.NDArray[np.float64], y: npt.NDArray[np.float64]) -> npt.NDArray[np.float64]:
    """Heights of the model at positions in UTM."""
    degrees = UTM.transform(surface.crs, x, y)
    return surface.heights(degrees.x, degrees.y).height


def outline(of: ks.Band) -> tuple[npt.NDArray[np.float64], npt.NDArray[np.float64]]:
    """The ring of a band's footprint in UTM, kilometres."""
    ring = np.array(ks.footprint(of, surface)["features"][0]["geometry"]["coordinates"][0])
    in_utm = ks.CoordinateSystem.wgs84_degrees().transform(UTM, ring[:, 0], ring[:, 1], ring[:, 2])
    return in_utm.x / 1000, in_utm.y / 1000


def draw_footprints(axes: Any) -> None:
    margin = 1000.0
    x = np.arange(np.nanmin(ground.x) - margin, np.nanmax(ground.x) + margin, 20.0)
    y = np.arange(np.nanmin(ground.y) - margin, np.nanmax(ground.y) + margin, 20.0)
    picture = axes.imshow(
        relief(x, y[:, np.newaxis]),
        origin="lower",
        extent=(x[0] / 1000, x[-1] / 1000, y[0] / 1000, y[-1] / 1000),
        cmap="bone",
    )
    plt.colorbar(picture, ax=axes, label="height, m")
    for name, colour in BANDS.items():
        axes.plot(*outline(strip[name]), color=colour, label=name)
    axes.set(title="Footprints on the terrain", xlabel="east, km", ylabel="north, km")
    axes.legend(loc="lower right")


# %% Picture 2: closure over a band
def draw_closure(axes: Any) -> None:
    closure = band.closure(samples, lines, heights=strip.terrain_height, solver="precise", threads=2)
    picture = axes.imshow(
        closure.pixels * 1e9, aspect="auto", extent=(0, band.samples, band.lines, 0), cmap="viridis"
    )
    plt.colorbar(picture, ax=axes, label="billionths of a pixel")
    axes.set(title=f"Closure of {band.id}: to the ground and back", xlabel="sample", ylabel="line")


# %% Picture 3: how steeply the bands look, across their lines
def draw_views(axes: Any) -> None:
    for name, colour in BANDS.items():
        view = strip[name].directions(samples, strip[name].lines / 2)
        axes.plot(samples, np.degrees(np.arccos(-view.z)), color=colour, label=name)
    axes.set(title="Angle between view and vertical, middle line", xlabel="sample", ylabel="degrees")
    axes.legend()


for name, draw in {"footprints": draw_footprints, "closure": draw_closure, "views": draw_views}.items():
    figure, axes = plt.subplots(figsize=(8, 6), layout="constrained")
    draw(axes)
    figure.savefig(folder / f"{name}.png", dpi=100)
    plt.close(figure)
    print(folder / f"{name}.png")
