# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Partial derivatives of projections, and the accuracy of ground positions."""

from __future__ import annotations

import math
from collections.abc import Iterable, Sequence
from typing import Any, NamedTuple

import numpy as np
import numpy.typing as npt

from kessensor import _core
from kessensor._core import Band, CoordinateSystem
from kessensor._results import Floats, Statuses, standard_deviations

Layout = dict[str, tuple[int, ...]]

# The numbers of a point, in the order in which the library has them.
CORRECTIONS: Layout = {
    "position": (3,),
    "attitude": (3,),
    "boresight": (3,),
    "lever_arm": (3,),
    "time": (),
    "focal_length": (),
    "principal_point": (2,),
    "line": (5,),
}
RESIDUAL_PARTIALS: Layout = {
    "residual": (2,),
    "by_ground": (2, 3),
    "by_position": (2, 3),
    "by_attitude": (2, 3),
    "by_boresight": (2, 3),
    "by_lever_arm": (2, 3),
    "by_time": (2,),
    "by_focal_length": (2,),
    "by_principal_point": (2, 2),
    "by_line": (2, 5),
    "by_image": (2, 2),
}
GROUND_PARTIALS: Layout = {
    "by_image": (3, 2),
    "by_height": (3,),
    "by_position": (3, 3),
    "by_attitude": (3, 3),
    "by_boresight": (3, 3),
    "by_lever_arm": (3, 3),
    "by_time": (3,),
    "by_focal_length": (3,),
    "by_principal_point": (3, 2),
    "by_line": (3, 5),
}
GROUND_ERRORS: Layout = {"time": (), "trajectory": (3, 6), "measuring": (3, 3)}


def _split(table: Floats, layout: Layout) -> list[Floats]:
    """Views of a table, whose last axis has a point's numbers."""
    fields = []
    begin = 0
    for shape in layout.values():
        end = begin + math.prod(shape)
        fields.append(table[..., begin:end].reshape(table.shape[:-1] + shape))
        begin = end
    return fields


def _joined(fields: Iterable[npt.ArrayLike], layout: Layout) -> Floats:
    """The way back. Fields broadcast by the axes before their own."""
    parts = []
    for field, (name, shape) in zip(fields, layout.items(), strict=True):
        array = np.asarray(field, dtype=np.float64)
        of_points = array.ndim - len(shape)
        if of_points < 0 or array.shape[of_points:] != shape:
            raise ValueError(f"{name} has shape {array.shape}: its last axes must be {shape}")
        parts.append(array.reshape(array.shape[:of_points] + (math.prod(shape),)))
    points = np.broadcast_shapes(*(part.shape[:-1] for part in parts))
    return np.concatenate([np.broadcast_to(part, points + part.shape[-1:]) for part in parts], axis=-1)


class ModelCorrections(NamedTuple):
    """Corrections of a band's model; without any it is that of projections.

    Each has its own axis of the length given here, after axes that broadcast with those of the points. With the
    camera's rotation R into the local system, the corrected one is R Exp(attitude) Exp(boresight); rotation vectors
    turn about the camera's axes: x along the flight, y along the sensor line, z against the direction of view.
    """

    #: 3: of the orientation's position, in the strip's local system, metres.
    position: npt.ArrayLike = (0.0, 0.0, 0.0)
    #: 3: rotation vector, radians.
    attitude: npt.ArrayLike = (0.0, 0.0, 0.0)
    #: 3: rotation vector, radians.
    boresight: npt.ArrayLike = (0.0, 0.0, 0.0)
    #: 3: from the orientation's position to the perspective centre, in the camera's axes, metres.
    lever_arm: npt.ArrayLike = (0.0, 0.0, 0.0)
    #: Later than the line's own time, seconds.
    time: npt.ArrayLike = 0.0
    #: Metres.
    focal_length: npt.ArrayLike = 0.0
    #: 2: in the focal plane, metres.
    principal_point: npt.ArrayLike = (0.0, 0.0)
    #: 5: offset in x, offset in y, rotation, bend and scale of the sensor line, metres at its ends.
    line: npt.ArrayLike = (0.0, 0.0, 0.0, 0.0, 0.0)


class GroundPartials(NamedTuple):
    """Partial derivatives of the ground position (x, y, z) that an image position sees at its height.

    Each has an axis of 3, and one for the quantities it is by where these are several.
    """

    #: 3 x 2: by sample and line, metres.
    by_image: Floats
    #: 3: by the height.
    by_height: Floats
    #: 3 x 3: by the orientation's position.
    by_position: Floats
    #: 3 x 3: by a further rotation vector after the attitude's correction, metres.
    by_attitude: Floats
    #: 3 x 3: by a further rotation vector after the boresight, metres.
    by_boresight: Floats
    #: 3 x 3: by the lever arm.
    by_lever_arm: Floats
    #: 3: by the time, metres per second.
    by_time: Floats
    #: 3: by the focal length.
    by_focal_length: Floats
    #: 3 x 2: by the principal point.
    by_principal_point: Floats
    #: 3 x 5: by the line's offset in x, offset in y, rotation, bend and scale.
    by_line: Floats


class ResidualPartials(NamedTuple):
    """Residuals in the focal plane, metres, and their partial derivatives; NaN where a point has no result.

    Each has an axis of 2 after those of the points, for the components along the flight and along the sensor line, and
    one for the quantities it is by where these are several. The arrays are views of one.
    """

    #: 2: metres.
    residual: Floats
    #: 2 x 3: by the ground position.
    by_ground: Floats
    #: 2 x 3: by the orientation's position.
    by_position: Floats
    #: 2 x 3: by a further rotation vector after the attitude's correction, metres.
    by_attitude: Floats
    #: 2 x 3: by a further rotation vector after the boresight, metres.
    by_boresight: Floats
    #: 2 x 3: by the lever arm.
    by_lever_arm: Floats
    #: 2: by the time, metres per second.
    by_time: Floats
    #: 2: by the focal length.
    by_focal_length: Floats
    #: 2 x 2: by the principal point.
    by_principal_point: Floats
    #: 2 x 5: by the line's offset in x, offset in y, rotation, bend and scale.
    by_line: Floats
    #: 2 x 2: by sample and line, metres.
    by_image: Floats
    #: A `Status` each.
    status: Statuses

    def image_by_ground(self) -> Floats:
        """Derivatives of the image position (sample, line) by the ground position, 2 x 3, pixels per metre.

        For positions that belong together, whose residual is zero.
        """
        table = _core.image_by_ground(_joined(self[:-1], RESIDUAL_PARTIALS))
        return table.reshape(table.shape[:-1] + (2, 3))

    def ground(self) -> GroundPartials:
        """Derivatives of the ground position at its height, likewise."""
        return GroundPartials(*_split(_core.ground_partials(_joined(self[:-1], RESIDUAL_PARTIALS)), GROUND_PARTIALS))


class Accuracy(NamedTuple):
    """How accurate ground positions are, in metres on the ground; NaN where a point has no result.

    Errors are what one standard deviation of each makes of x, y and z.
    """

    #: 3 x 3: covariance matrices, square metres.
    covariance: Floats
    #: When the line was exposed, GPS seconds.
    time: Floats
    #: 3 x 6: errors by those of the orientation in x, y, z, omega, phi and kappa.
    trajectory: Floats
    #: 3 x 3: errors by those of sample, line and height.
    measuring: Floats
    #: A `Status` each.
    status: Statuses

    @property
    def sigmas(self) -> Floats:
        """Standard deviations of x, y and z."""
        return standard_deviations(self.covariance)


def partials(
    band: Band,
    samples: npt.ArrayLike,
    lines: npt.ArrayLike,
    x: npt.ArrayLike,
    y: npt.ArrayLike,
    z: npt.ArrayLike,
    *,
    corrections: ModelCorrections | None = None,
    threads: int = 1,
    strict: bool = False,
) -> ResidualPartials:
    """Residuals of ground positions at image positions in the focal plane, and their partial derivatives.

    Of positions that `to_ground` or `to_image` found one from the other, the residual is zero but for rounding.

    Parameters
    ----------
    samples, lines, x, y, z : array_like
        Image positions, and ground positions in the strip's local system. All broadcast with each other.
    corrections : ModelCorrections, optional
        Of the model, for all points or each its own.
    threads, strict
        As those of `to_ground`.

    Returns
    -------
    ResidualPartials
        Arrays of the points' shape with one or two further axes; 432 bytes a point. Status is NO_SOLUTION also for a
        ground position that isn't in front of the camera.

    Examples
    --------
    >>> band = ks.Strip("flight/strip.stp")["PANN00A"]
    >>> ground = band.to_ground([10.0, 700.0], 500.0, heights=35.0)
    >>> found = band.partials([10.0, 700.0], 500.0, ground.x, ground.y, ground.z)
    >>> found.by_ground.shape, bool(np.all(np.abs(found.residual) < 1e-12))
    ((2, 2, 3), True)
    >>> found.ground().by_position.shape
    (2, 3, 3)
    """
    table = None if corrections is None else _joined(corrections, CORRECTIONS)
    found, status = _core.partials(band, (samples, lines, x, y, z), table, threads, strict)
    return ResidualPartials._make([*_split(found, RESIDUAL_PARTIALS), status])


def accuracy(
    band: Band,
    samples: npt.ArrayLike,
    lines: npt.ArrayLike,
    x: npt.ArrayLike,
    y: npt.ArrayLike,
    z: npt.ArrayLike,
    *,
    sigma: float = 0.0,
    height_sigma: float = 0.0,
    orientation: Sequence[float] | None = None,
    crs: CoordinateSystem | str | None = None,
    frame: str | None = None,
    threads: int = 1,
    strict: bool = False,
) -> Accuracy:
    """The accuracy of ground positions that image positions see at heights, as `to_ground` with `sigma` has it.

    Parameters
    ----------
    samples, lines, x, y, z : array_like
        Image positions, and the ground positions of `to_ground`. All broadcast with each other.
    sigma : float
        Standard deviation of the image positions, pixels along the line and across.
    height_sigma : float
        That of the heights, metres.
    orientation : sequence of 6 floats, optional
        Standard deviations of the orientation at all times: x, y, z (metres, local), omega, phi, kappa (radians). By
        default those of its records where the strip was opened with ``standard_deviations=True`` and the file has them,
        otherwise the file's default ones.
    crs, frame
        The system of the ground positions. Errors are in metres along its axes at each position: east, north and up for
        longitude and latitude.
    threads, strict
        As those of `to_ground`.

    Returns
    -------
    Accuracy
        Arrays of the points' shape with up to two further axes. Positions that don't lie in front of the camera and
        below it are NO_SOLUTION.

    Raises
    ------
    ValueError
        For standard deviations that are negative or not finite.

    Examples
    --------
    >>> band = ks.Strip("flight/strip.stp")["PANN00A"]
    >>> ground = band.to_ground([10.0, 700.0], 500.0, heights=35.0)
    >>> found = band.accuracy([10.0, 700.0], 500.0, *ground[:3], sigma=0.3)
    >>> a, b = (ks.Accuracy(*(field[i] for field in found)) for i in (0, 1))
    >>> apart = ks.relative_covariance(a, b, "tactical")
    >>> bool(apart[0, 0] < a.covariance[0, 0] + b.covariance[0, 0])
    True
    """
    options: dict[str, Any] = {
        "sigma": sigma,
        "height_sigma": height_sigma,
        "orientation": orientation,
        "crs": crs,
        "frame": frame,
        "threads": threads,
        "strict": strict,
    }
    table, covariance, status = _core.accuracy(band, (samples, lines, x, y, z), options)
    return Accuracy._make([covariance, *_split(table, GROUND_ERRORS), status])


class NavigationClass(NamedTuple):
    """Errors of a class of navigation systems after post-processing: standard deviations and correlation times.

    Each pair is a standard deviation, in metres or radians, and the seconds in which the correlation of the error with
    itself falls to 1/e.
    """

    name: str
    #: Of easting and northing.
    plan: tuple[float, float]
    height: tuple[float, float]
    roll_pitch: tuple[float, float]
    heading: tuple[float, float]

    @property
    def correlation_times(self) -> tuple[float, float, float, float, float, float]:
        """Of x, y, z, omega, phi and kappa; seconds."""
        plan, attitude = self.plan[1], self.roll_pitch[1]
        return (plan, plan, self.height[1], attitude, attitude, self.heading[1])


def navigation_classes() -> dict[str, NavigationClass]:
    """The classes of navigation systems that the library knows, by their names, from the best on.

    Examples
    --------
    >>> list(ks.navigation_classes())
    ['navigation', 'tactical', 'mems', 'standalone']
    """
    return {values[0]: NavigationClass(*values) for values in _core.navigation_classes()}


def _correlation_times(given: float | Sequence[float] | str) -> list[float]:
    if isinstance(given, str):
        known = navigation_classes()
        if given not in known:
            raise ValueError(f'correlation_time is "{given}": it must be a number or one of {", ".join(known)}')
        return list(known[given].correlation_times)
    times = np.asarray(given, dtype=np.float64)
    if times.shape not in ((), (6,)):
        raise ValueError(f"correlation_time has shape {times.shape}: it must be one number or six")
    return [float(time) for time in np.broadcast_to(times, 6)]


def relative_covariance(a: Accuracy, b: Accuracy, correlation_time: float | Sequence[float] | str) -> Floats:
    """Covariance matrices of the differences of ground positions of one strip, of any of its bands.

    Errors of the orientation change slowly: each is a first-order Gauss-Markov process, so that neighbours are more
    accurate relative to one another than alone. Errors of image positions and heights don't depend on one another. Of
    positions of different strips, covariances add up.

    Parameters
    ----------
    a, b : Accuracy
        Of the positions, in the same axes or nearly so. They broadcast with each other.
    correlation_time : float, sequence of 6 floats, or str
        Seconds in which the correlation of an error with itself falls to 1/e: of all, of each of x, y, z, omega, phi
        and kappa, or those of a class of navigation systems. `math.inf` for errors that never change.

    Returns
    -------
    numpy.ndarray
        Of the points' shape and two more axes, 3 x 3; square metres.
    """
    first, second = (_joined(accuracy[1:-1], GROUND_ERRORS) for accuracy in (a, b))
    return _core.relative_covariance(first, second, _correlation_times(correlation_time))
