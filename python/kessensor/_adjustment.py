# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The adjustment of a block of strips."""

from __future__ import annotations

import math
import os
import warnings
from collections.abc import Callable, Iterable, Mapping
from typing import Any, NamedTuple

import numpy as np

from kessensor import _core
from kessensor._core import Block, CoordinateSystem, Surface
from kessensor._points import Table

Path = str | os.PathLike[str]

IMAGE_AXES = ("sample", "line")
GROUND_AXES = ("x", "y", "z")
TRAJECTORY_AXES = ("x", "y", "z", "roll", "pitch", "heading")


def _table(columns: Mapping[str, Any]) -> Table:
    """Columns as a structured array."""
    arrays = {
        name: np.array(column, dtype=str) if isinstance(column, list) else column for name, column in columns.items()
    }
    table = np.empty(len(next(iter(arrays.values()))), dtype=[(name, array.dtype) for name, array in arrays.items()])
    for name, array in arrays.items():
        table[name] = array
    return table


def _plain(value: Any) -> Any:
    """A value as JSON has it: null for numbers that aren't finite."""
    return None if isinstance(value, float) and not math.isfinite(value) else value


def _rows(table: Table) -> list[dict[str, Any]]:
    names = table.dtype.names or ()
    return [dict(zip(names, map(_plain, row), strict=True)) for row in table.tolist()]


def _grouped(row: dict[str, Any], axes: Iterable[str], prefix: str = "") -> dict[str, Any]:
    """The numbers of a row along axes."""
    return {axis: row[prefix + axis] for axis in axes}


def _described_summary(row: dict[str, Any]) -> dict[str, Any]:
    return {
        "strip": row["strip"] or None,
        "band": row["band"] or None,
        "used": row["used"],
        "rejected": row["rejected"],
        "rms": _grouped(row, IMAGE_AXES, "rms_"),
        "largest": _grouped(row, IMAGE_AXES, "largest_"),
    }


def _described_corrections(row: dict[str, Any]) -> dict[str, Any]:
    return {
        "strip": row["strip"],
        "nodes": row["nodes"],
        "nodeSpacing": row["node_spacing"],
        **{name: _grouped(row, TRAJECTORY_AXES, name + "_") for name in ("prior", "correction", "sigma")},
    }


def _described_point(row: dict[str, Any]) -> dict[str, Any]:
    is_known = row["role"] != "tie"
    return {
        **{name: row[name] for name in ("id", "role", "rays", "determined", "used")},
        "position": _grouped(row, GROUND_AXES),
        "sigma": _grouped(row, GROUND_AXES, "sigma_"),
        **{name: _grouped(row, GROUND_AXES, name + "_") if is_known else None for name in ("difference", "normalised")},
    }


def _described_image_point(row: dict[str, Any]) -> dict[str, Any]:
    return {
        **{name: row[name] for name in ("strip", "band", "point")},
        "measured": _grouped(row, IMAGE_AXES),
        **{name: _grouped(row, IMAGE_AXES, name + "_") for name in ("sigma", "residual")},
        "state": row["state"],
    }


class Island(NamedTuple):
    """Strips and points that no image point connects with the others."""

    strips: list[str]
    points: list[str]


class Adjustment:
    """The result of `adjust`: tables are structured arrays, which ``pandas.DataFrame`` takes, sorted by names.

    Attributes
    ----------
    block : str
        The block file.
    crs : CoordinateSystem
        The system of the ground points.
    planned : bool
        Whether the image points are planned ones.
    objections : list of str
        Why the result must not be used; empty if it may.
    warnings : list of str
        What else to know.
    converged : bool
        Whether the iteration came to its end.
    iterations : numpy.ndarray
        Fields cost (before the step), decrease (as the linear model predicts it), damping, taken.
    cost : float
        The weighted sum of the squares of all residuals, those of priors included.
    redundancy : int
        Observations and priors minus unknowns.
    sigma_zero : float
        The root of the cost over the redundancy.
    parameters : numpy.ndarray
        Constants that were free: name, kind, value, sigma, prior (its standard deviation; radians, metres, seconds),
        held (the observations don't determine it), remedy (what would).
    corrections : numpy.ndarray
        Corrections of each strip's trajectory: strip, nodes, node_spacing (seconds, the largest), and root mean squares
        over the nodes of prior, correction and sigma along x, y, z (metres, local), roll, pitch and heading (radians),
        such as sigma_roll.
    points : numpy.ndarray
        Ground points: id, role (control, check, tie), rays, determined, used; x, y, z in `crs`; sigma_x to
        normalised_z: standard deviations, and differences adjusted minus given, in metres along its axes, and those in
        their own standard deviations; NaN for tie points.
    image_points : numpy.ndarray
        strip, band, point; sample, line, sigma_sample, sigma_line as measured; residual_sample, residual_line: adjusted
        minus measured, pixels; state (used, rejected, pointNotDetermined).
    residuals : numpy.ndarray
        Of image points in use, of each band of a strip, of each strip, and of all: strip, band (empty for all), used,
        rejected, rms_sample, rms_line, largest_sample, largest_line.
    correlations : numpy.ndarray
        Of parameters above 0.9: first, second, value.
    islands : list of Island
        One, unless the block falls apart.
    """

    def __init__(self, block: str, adjusted: _core.AdjustedBlock) -> None:
        self.block = block
        self._adjusted = adjusted
        self._orientations: list[tuple[str, str]] = []
        self._cameras: list[tuple[str, str]] = []
        result = adjusted.result()
        self.crs: CoordinateSystem = result["coordinate_system"]
        self.planned: bool = result["planned"]
        self.objections: list[str] = result["objections"]
        self.warnings: list[str] = result["warnings"]
        self.converged: bool = result["converged"]
        self.iterations = _table(result["iterations"])
        self.cost: float = result["cost"]
        self.redundancy: int = result["redundancy"]
        self.sigma_zero: float = result["sigma_zero"]
        self.parameters = _table(result["parameters"])
        self.corrections = _table(result["corrections"])
        self.points = _table(result["points"])
        self.image_points = _table(result["image_points"])
        self.residuals = _table(result["residuals"])
        self.correlations = _table(result["correlations"])
        self.islands = [Island(*island) for island in result["islands"]]

    def __repr__(self) -> str:
        usable = "" if self.usable else ", must not be used"
        return f"<Adjustment of {self.block!r}: sigma0 {self.sigma_zero:.3f}, redundancy {self.redundancy}{usable}>"

    @property
    def usable(self) -> bool:
        """Whether the result may be used."""
        return not self.objections

    def to_dict(self) -> dict[str, Any]:
        """Everything, as ``kes adjust --json`` prints it and adjustment.json has it; None for what isn't finite."""
        return {
            "block": self.block,
            "coordinateSystem": self.crs.definition,
            "planned": self.planned,
            "usable": self.usable,
            "objections": self.objections,
            "warnings": self.warnings,
            "converged": self.converged,
            "iterations": len(self.iterations),
            "redundancy": self.redundancy,
            "sigmaZero": _plain(self.sigma_zero),
            "residuals": [_described_summary(row) for row in _rows(self.residuals)],
            "parameters": [{**row, "remedy": row["remedy"] or None} for row in _rows(self.parameters)],
            "correlations": _rows(self.correlations),
            "corrections": [_described_corrections(row) for row in _rows(self.corrections)],
            "points": [_described_point(row) for row in _rows(self.points)],
            "imagePoints": [_described_image_point(row) for row in _rows(self.image_points)],
            "orientations": [{"strip": strip, "file": file} for strip, file in self._orientations],
            "cameras": [{"version": version, "folder": folder} for version, folder in self._cameras],
        }

    def orientation(self, strip: str) -> Table:
        """The adjusted orientation of a strip, at the times of its records.

        Returns
        -------
        numpy.ndarray
            Fields time (GPS seconds), x, y, z (metres, local), omega, phi, kappa (radians), and their standard
            deviations, sigma_x to sigma_kappa.

        Raises
        ------
        NotFoundError
            When no strip has the name.
        """
        return _table(self._adjusted.orientation(strip))

    def write_orientation(self, strip: str, file: Path) -> None:
        """Writes the adjusted orientation of a strip, with its standard deviations, to any file.

        The strip stays as it is. Raises NotFoundError as `orientation`, and RuntimeError for a file that can't be
        written.
        """
        self._adjusted.write(strip, file)

    def install(self, backup: Path) -> None:
        """Makes the adjusted orientation that of each strip: of all or, when one fails, of none.

        Cameras whose focal length or sensor lines were free get a new version beside the old one, which the strips use.
        Strips that are opened from now on have both; those that are open stay as they are. A process that is killed
        meanwhile leaves a journal beside the block file, and the next `adjust` undoes what it has changed. No other
        thread may open, load or unload strips meanwhile.

        Parameters
        ----------
        backup
            A folder, new or empty, for copies of what is replaced, which are strip files and older adjusted
            orientations, and for new calibrations.

        Raises
        ------
        RuntimeError
            When the result must not be used, for a plan, when it was installed before, and when a file can't be read or
            written.
        """
        if self._orientations:
            raise RuntimeError("the orientations are installed already")
        if self.planned:
            raise RuntimeError("a plan has no orientations to install")
        if self.objections:
            raise RuntimeError("the result must not be used: " + "; ".join(self.objections))
        self._orientations, self._cameras = self._adjusted.install(backup)


def adjust(
    block: Block | Path,
    *,
    free: Mapping[str, float | None] | Iterable[str] = ("boresight",),
    navigation: str | None = None,
    nodes: float | None = None,
    degree: str = "linear",
    greatest_gap: float | None = None,
    control: Iterable[str] = (),
    check: Iterable[str] = (),
    ties: Iterable[Path] = (),
    image_sigma: float | None = None,
    ground_sigma: float | None = None,
    surface: Surface | None = None,
    surface_sigma: float | None = None,
    plan: bool | tuple[float, int] = False,
    loss: str = "cauchy",
    loss_scale: float | None = None,
    rejection: float | None = None,
    critical_value: float | None = None,
    held_above: float | None = None,
    max_iterations: int | None = None,
    convergence: float | None = None,
    threads: int = 1,
    progress: Callable[[float], object] | None = None,
) -> Adjustment:
    """Adjusts the orientations of a block's strips by points that its images and the ground have in common.

    Strips start from their original orientation, and no file changes: `Adjustment.install` makes the results those of
    the strips. They are the same bits for any number of threads. What isn't given has the default of ``kes adjust``.
    What a process that was killed while it installed has changed is undone first, with a RuntimeWarning.

    Parameters
    ----------
    block
        A block with its calibrations and settings, or its file.
    free
        What is unknown besides the trajectories, each with a weak prior, or a mapping to the standard deviations of
        their priors (radians, metres, seconds; `math.inf` for none, None for a weak one): boresight, lever-arm, focal,
        offset, rotation, bend, scale, time, shift.
    navigation
        A class of navigation systems; see `navigation_classes`. By default standard deviations are those of the
        orientation files where these have them.
    nodes
        Seconds, at most, between nodes of the corrections; by default as few as the navigation's errors need, from 1 to
        10.
    degree : {"linear", "cubic"}
        Of the corrections' splines.
    greatest_gap
        Seconds without a record of the orientation that don't interrupt the corrections; 0.5 by default.
    control, check
        Ids of ground points that are control or check points. All others are check points if `control` has any;
        otherwise those of type 2 are check points and the rest control points.
    ties
        Further lists of image points, each named after its image.
    image_sigma, ground_sigma
        Standard deviations of points whose lists have none; 0.3 pixels and 0.03 metres by default.
    surface, surface_sigma
        An elevation model on which tie points lie, and the standard deviation of its heights; 1 metre by default.
    plan
        Expected accuracies of a block, with planned tie points in place of measured ones. A pair has the seconds
        between rows of them and how many a row has; (1.0, 3) otherwise.
    loss : {"cauchy", "huber", "squares"}
        Of image points while gross errors are looked for; with "squares" none are.
    loss_scale, rejection
        In standard deviations of an image point: the loss's scale, 2.5 by default, and the length of residuals from
        which on a point is taken out, 4 by default.
    critical_value
        Of the test of ground points; 3.29 by default.
    held_above
        A parameter is held when its standard deviation stays above this part of its prior one; 0.8 by default.
    max_iterations, convergence
        Of a solution; 50 steps, until one would lower the cost by less than 1e-6 by default.
    threads
        How many work.
    progress
        Called with the part that is done, 0 to 1, when a strip is open and after each step of the iteration. An
        exception that it raises, such as KeyboardInterrupt, ends the work.

    Returns
    -------
    Adjustment

    Raises
    ------
    RuntimeError
        With the library's message, such as for strips that can't be opened or points that don't exist.
    ValueError
        For options that aren't known or out of range.
    """
    if threads < 1:
        raise ValueError(f"threads is {threads}: it must be at least 1")
    freedoms = dict(free) if isinstance(free, Mapping) else dict.fromkeys(free)
    for name, sigma in freedoms.items():
        if sigma is not None and not sigma > 0.0:
            raise ValueError(f"free: {name} has no positive standard deviation")
    planned = ((1.0, 3) if plan else None) if isinstance(plan, bool) else plan
    options: dict[str, Any] = {
        "free": freedoms,
        "navigation": navigation,
        "nodes": nodes,
        "degree": degree,
        "greatest_gap": greatest_gap,
        "control": list(control),
        "check": list(check),
        "ties": [os.fspath(file) for file in ties],
        "image_sigma": image_sigma,
        "ground_sigma": ground_sigma,
        "surface": surface,
        "surface_sigma": surface_sigma,
        "plan": planned,
        "loss": loss,
        "loss_scale": loss_scale,
        "rejection": rejection,
        "critical_value": critical_value,
        "held_above": held_above,
        "max_iterations": max_iterations,
        "convergence": convergence,
        "threads": threads,
    }
    # A strip that is half changed may not open.
    file = block._state["file"] if isinstance(block, Block) else os.fspath(block)
    if _core.undo_interrupted(file):
        warnings.warn(
            f"an adjustment of {file} was interrupted; its strips and cameras are again what they were before",
            RuntimeWarning,
            stacklevel=2,
        )
    state = (block if isinstance(block, Block) else Block(block))._state
    return Adjustment(state["file"], _core.adjust_block(state["file"], state, options, progress))
