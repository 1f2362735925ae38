# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""What projections return and raise."""

from __future__ import annotations

from enum import IntEnum
from typing import NamedTuple

import numpy as np
import numpy.typing as npt

Floats = npt.NDArray[np.float64]
Statuses = npt.NDArray[np.uint8]


class Status(IntEnum):
    """What became of one point, as arrays of status have it: the first that applies, from the end of this list.

    Points that are `OK`, `OUTSIDE_IMAGE` or `OUTSIDE_ORIENTATION` have a result; all others are NaN. So
    ``status <= Status.OUTSIDE_ORIENTATION`` finds those with a result.
    """

    OK = 0
    #: The position lies beyond the outer edges of the image's pixels.
    OUTSIDE_IMAGE = 1
    #: The line was exposed before the first or after the last record of the orientation, which is extrapolated.
    OUTSIDE_ORIENTATION = 2
    #: The line of sight meets no surface, or the surface has no height there.
    NO_SURFACE = 3
    #: No line within the image and its margin saw the position, or the line of sight doesn't go down to the height.
    NO_SOLUTION = 4
    #: A coordinate system can't convert the position.
    NOT_TRANSFORMABLE = 5
    #: A number that was given is NaN, infinite or masked.
    NOT_FINITE = 6


class Ground(NamedTuple):
    """Positions on the ground: x, y and z in the unit of their system, and a `Status` each; all of one shape."""

    x: Floats
    y: Floats
    z: Floats
    status: Statuses


def standard_deviations(covariances: Floats) -> Floats:
    """The roots of the diagonals of matrices."""
    roots: Floats = np.sqrt(np.diagonal(covariances, axis1=-2, axis2=-1))
    return roots


class GroundWithCovariance(NamedTuple):
    """`Ground` with the covariance matrices of its positions, in metres on the ground along x, y and up."""

    x: Floats
    y: Floats
    z: Floats
    status: Statuses
    #: 3 x 3, after the axes of the points; square metres. NaN without a result.
    covariance: Floats

    @property
    def sigmas(self) -> Floats:
        """Standard deviations of x, y and z: one more axis of 3."""
        return standard_deviations(self.covariance)


class Image(NamedTuple):
    """Positions in an image: sample and line, from 0 at the centre of the first pixel, and a `Status` each."""

    sample: Floats
    line: Floats
    status: Statuses


class Closure(NamedTuple):
    """How far positions are from where they come back to, in the image and on the ground, and a `Status` each."""

    pixels: Floats
    metres: Floats
    status: Statuses


class Directions(NamedTuple):
    """Directions of view in the strip's local system, of length 1, and a `Status` each."""

    x: Floats
    y: Floats
    z: Floats
    status: Statuses


class Times(NamedTuple):
    """GPS times, seconds, and a `Status` each."""

    time: Floats
    status: Statuses


class GroundSampling(NamedTuple):
    """Distances on the ground between neighbouring pixels of a line, and between lines; metres, NaN where there is no
    ground."""

    across: Floats
    along: Floats


class Heights(NamedTuple):
    """Heights of a surface, in the vertical unit of its system, and a `Status` each."""

    height: Floats
    status: Statuses


class Transformed(NamedTuple):
    """Positions in another coordinate system, and a `Status` each."""

    x: Floats
    y: Floats
    z: Floats
    status: Statuses


class Grid(NamedTuple):
    """The pixels of a raster: columns and rows of them, counted from the outer corner of the first pixel, lie at
    x = transform[0] + transform[1] column + transform[2] row and y = transform[3] + transform[4] column +
    transform[5] row of the map, as GDAL's geotransform has it."""

    transform: tuple[float, float, float, float, float, float]
    columns: int
    rows: int


class PointError(ValueError):
    """A point of a strict call has no result.

    Attributes
    ----------
    index : tuple of int
        Of the first such point, in the shape of the results.
    status : Status
        What became of it.
    """

    def __init__(self, index: tuple[int, ...], status: int) -> None:
        super().__init__(index, status)
        self.index = index
        self.status = Status(status)

    def __str__(self) -> str:
        return f"point {list(self.index)} has no result: {self.status.name}"


class NotFoundError(KeyError):
    """There is no band, strip or sensor line of a name; the message has those that there are."""

    def __str__(self) -> str:
        return str(self.args[0]) if self.args else ""
