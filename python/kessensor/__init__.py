# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Rigorous sensor model of airborne three-line pushbroom cameras, on NumPy.

>>> import kessensor as ks
>>> with ks.Strip("flight/strip.stp") as strip:
...     band = strip["PANN00A"]
...     ground = band.to_ground([0, 100], [500, 500], heights=35.0)
...     image = band.to_image(ground.x, ground.y, ground.z)
>>> (image.status == ks.Status.OK).tolist()
[True, True]

Image positions are samples and lines, from 0 at the centre of the first pixel. Ground positions are in the strip's
local system (x east, y north, z up, metres) unless another one is asked for. Longitudes and latitudes are in degrees,
angles of attitude and view in radians, times in GPS seconds. Everything can be used from several threads at once; the
GIL is released while the library works.
"""

from kessensor import _methods
from kessensor._accuracy import (
    Accuracy,
    GroundPartials,
    ModelCorrections,
    NavigationClass,
    ResidualPartials,
    navigation_classes,
    relative_covariance,
)
from kessensor._adjustment import Adjustment, Island, adjust
from kessensor._core import (
    Band,
    Block,
    Camera,
    CameraBand,
    CoordinateSystem,
    Strip,
    Surface,
    Trajectory,
    Unit,
    threads_of_machine,
)
from kessensor._core import version as __version__
from kessensor._points import ground_points, image_points, residuals
from kessensor._products import footprint, ortho, simulate
from kessensor._results import (
    Closure,
    Directions,
    Grid,
    Ground,
    GroundSampling,
    GroundWithCovariance,
    Heights,
    Image,
    NotFoundError,
    PointError,
    Status,
    Times,
    Transformed,
)

_methods.install()
del _methods

__all__ = [
    "Accuracy",
    "Adjustment",
    "Band",
    "Block",
    "Camera",
    "CameraBand",
    "Closure",
    "CoordinateSystem",
    "Directions",
    "Grid",
    "Ground",
    "GroundPartials",
    "GroundSampling",
    "GroundWithCovariance",
    "Heights",
    "Image",
    "Island",
    "ModelCorrections",
    "NavigationClass",
    "NotFoundError",
    "PointError",
    "ResidualPartials",
    "Status",
    "Strip",
    "Surface",
    "Times",
    "Trajectory",
    "Transformed",
    "Unit",
    "__version__",
    "adjust",
    "footprint",
    "ground_points",
    "image_points",
    "navigation_classes",
    "ortho",
    "relative_covariance",
    "residuals",
    "simulate",
    "threads_of_machine",
]
