# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Methods of the module's classes that are written in Python: texts, pickling, and what follows from others."""

from __future__ import annotations

import hashlib
import html
import math
import pickle
from collections.abc import Callable, Iterable, Iterator
from functools import lru_cache
from typing import Any

import numpy as np
import numpy.typing as npt

from kessensor._accuracy import accuracy, partials
from kessensor._core import Band, Block, Camera, CoordinateSystem, Strip, Surface, Trajectory
from kessensor._results import GroundSampling

# Lines over which the distance along the flight is a mean: from one line to the next the attitude scatters.
LINES_OF_MEAN = 64.0


def ground_sampling(
    band: Band,
    samples: npt.ArrayLike,
    lines: npt.ArrayLike,
    heights: npt.ArrayLike | None = None,
    *,
    surface: Surface | None = None,
    threads: int = 1,
) -> GroundSampling:
    """Distances on the ground between the centres of neighbouring pixels, of samples and of lines; metres.

    That of lines is a mean over 64 lines, since from one line to the next the attitude scatters.

    Parameters
    ----------
    samples, lines, heights, surface, threads
        As those of `to_ground`; heights are local.
    """
    # Masked arrays stay what they are.
    sample: npt.NDArray[np.float64] = np.asanyarray(samples, dtype=np.float64)
    line: npt.NDArray[np.float64] = np.asanyarray(lines, dtype=np.float64)

    def distance(ahead: float, aside: float) -> npt.NDArray[np.float64]:
        ends = [
            band.to_ground(sample + sign * aside, line + sign * ahead, heights, surface=surface, threads=threads)
            for sign in (-0.5, 0.5)
        ]
        return np.hypot(ends[1].x - ends[0].x, ends[1].y - ends[0].y)

    return GroundSampling(distance(0.0, 1.0), distance(LINES_OF_MEAN, 0.0) / LINES_OF_MEAN)


def content_hash(files: Iterable[str], arrays: Iterable[npt.NDArray[np.float64]] = ()) -> str:
    """SHA-256 over the contents of files and arrays, in their order."""
    digest = hashlib.sha256()
    for file in files:
        with open(file, "rb") as stream:
            digest.update(hashlib.file_digest(stream, "sha256").digest())
    for array in arrays:
        digest.update(np.ascontiguousarray(array).data)
    return digest.hexdigest()


def _require_same(file: str, found: str, expected: str) -> None:
    if found != expected:
        raise ValueError(f"{file} or a file that belongs to it has changed since it was pickled")


def _views_hash(files: Iterable[str], bands: Iterable[Band]) -> str:
    """Over files and, wherever the camera came from, the directions of view of each band."""
    views = (band.directions(np.arange(band.samples), band.lines // 2) for band in bands)
    return content_hash(files, (axis for view in views for axis in view[:3]))


def _open_strip(state: dict[str, Any], expected: str) -> Strip:
    strip = Strip(**state)
    _require_same(strip.file, _views_hash(strip.files, strip), expected)
    return strip


def _reduce_strip(self: Strip) -> tuple[Callable[..., Strip], tuple[Any, ...]]:
    return _open_strip, (self._state, _views_hash(self.files, self))


@lru_cache(maxsize=8)
def _strip_of_bands(pickled_state: bytes, expected: str) -> Strip:
    """A strip that this process has opened for all bands of it; `expected` is the hash of its files."""
    strip = Strip(**pickle.loads(pickled_state))
    _require_same(strip.file, content_hash(strip.files), expected)
    return strip


def _open_band(state: dict[str, Any], band_id: str, files: str, views: str) -> Band:
    band = _strip_of_bands(pickle.dumps(state), files)[band_id]
    _require_same(state["file"], _views_hash([], [band]), views)
    return band


def _reduce_band(self: Band) -> tuple[Callable[..., Band], tuple[Any, ...]]:
    return _open_band, (self._state, self.id, content_hash(self._files), _views_hash([], [self]))


def _open_surface(file: str, vertical: str, expected: str) -> Surface:
    _require_same(file, content_hash([file]), expected)
    return Surface(file, vertical=vertical)


def _reduce_surface(self: Surface) -> tuple[Callable[..., Surface], tuple[Any, ...]]:
    if not self.file:
        raise TypeError("a surface without a file can't be pickled")
    return _open_surface, (self.file, self._vertical, content_hash([self.file]))


def _open_trajectory(file: str, standard_deviations: bool, expected: str) -> Trajectory:
    _require_same(file, content_hash([file]), expected)
    return Trajectory(file, standard_deviations=standard_deviations)


def _reduce_trajectory(self: Trajectory) -> tuple[Callable[..., Trajectory], tuple[Any, ...]]:
    return _open_trajectory, (self.file, self.has_standard_deviations, content_hash([self.file]))


def _bands(self: Strip) -> Iterator[Band]:
    return (self[index] for index in range(len(self)))


def _strip_facts(strip: Strip) -> dict[str, str]:
    azimuth = math.degrees(strip.azimuth)
    return {
        "file": strip.file,
        "camera": f"{strip.camera.sensor_id}, version {strip.camera.version}",
        "orientation": "adjusted" if strip.is_adjusted else "original",
        "flight": f"azimuth {azimuth:.1f}°, {strip.flying_height - strip.terrain_height:.0f} m above the terrain",
    }


def _strip_text(strip: Strip) -> str:
    if strip.closed:
        return "<Strip, closed>"
    return f"<Strip {strip.name!r}: {len(strip)} bands, {'adjusted' if strip.is_adjusted else 'original'} orientation>"


def _band_facts(band: Band) -> list[str]:
    return [
        band.id,
        str(band.samples),
        str(band.lines),
        f"{math.degrees(band.look_angle):.2f}°",
        f"{band.nominal_gsd:.3f} m",
        f"{band.start_time:.3f}",
        f"{band.end_time:.3f}",
    ]


BAND_HEADINGS = ["band", "samples", "lines", "look", "GSD", "start", "end"]


def _row(cells: Iterable[str], tag: str = "td") -> str:
    return "<tr>" + "".join(f"<{tag}>{html.escape(cell)}</{tag}>" for cell in cells) + "</tr>"


def _strip_html(strip: Strip) -> str:
    if strip.closed:
        return "<p>Strip, closed</p>"
    facts = "".join(_row(fact) for fact in _strip_facts(strip).items())
    bands = "".join(_row(_band_facts(band)) for band in strip)
    return (
        f"<h4>Strip {html.escape(strip.name)}</h4><table>{facts}</table>"
        f"<table>{_row(BAND_HEADINGS, 'th')}{bands}</table>"
    )


def _band_text(band: Band) -> str:
    look = math.degrees(band.look_angle)
    size = f"{band.samples} samples, {band.lines} lines"
    return f"<Band {band.id}: {size}, look {look:.2f}°, GSD {band.nominal_gsd:.3f} m>"


def _band_html(band: Band) -> str:
    return f"<table>{_row(BAND_HEADINGS, 'th')}{_row(_band_facts(band))}</table>"


def _block_text(block: Block) -> str:
    if block.closed:
        return "<Block, closed>"
    return f"<Block {block.file!r}: {len(block)} strips, {block.crs!r}>"


def _block_html(block: Block) -> str:
    if block.closed:
        return "<p>Block, closed</p>"
    names = "".join(_row([name]) for name in block.strip_names)
    return f"<h4>Block {html.escape(block.file)}</h4><p>{html.escape(block.crs.definition)}</p><table>{names}</table>"


def _system_text(system: CoordinateSystem) -> str:
    """The definition, or the beginning of a long one such as WKT."""
    definition = system.definition
    if len(definition) > 80:
        return f"<CoordinateSystem {definition[:76]!r}...>"
    return f"CoordinateSystem({definition!r})"


def _surface_text(surface: Surface) -> str:
    return f"<Surface {surface.file!r}>" if surface.file else f"<Surface of one height, {surface.crs!r}>"


def _camera_text(camera: Camera) -> str:
    return f"<Camera {camera.sensor_id}, version {camera.version}: {len(camera.band_ids)} bands>"


def _trajectory_text(trajectory: Trajectory) -> str:
    return (
        f"<Trajectory {trajectory.file!r}: {len(trajectory)} records, {trajectory.start_time:.3f} to "
        f"{trajectory.end_time:.3f} s, {trajectory.frequency:.0f} Hz>"
    )


def install() -> None:
    """Gives the classes their methods."""
    methods: dict[type, dict[str, Any]] = {
        Band: {
            "__reduce__": _reduce_band,
            "accuracy": accuracy,
            "gsd": ground_sampling,
            "partials": partials,
            "__repr__": _band_text,
            "_repr_html_": _band_html,
        },
        Block: {"__repr__": _block_text, "_repr_html_": _block_html},
        Camera: {"__repr__": _camera_text},
        CoordinateSystem: {"__repr__": _system_text},
        Strip: {"__iter__": _bands, "__reduce__": _reduce_strip, "__repr__": _strip_text, "_repr_html_": _strip_html},
        Surface: {"__reduce__": _reduce_surface, "__repr__": _surface_text},
        Trajectory: {"__reduce__": _reduce_trajectory, "__repr__": _trajectory_text},
    }
    for owner, added in methods.items():
        for name, method in added.items():
            setattr(owner, name, method)
