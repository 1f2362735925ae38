# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Projections of Dask's arrays, chunk by chunk."""

from __future__ import annotations

import pickle
from functools import lru_cache
from typing import Any, Literal

import numpy as np
import numpy.typing as npt

from kessensor._core import Band, CoordinateSystem, Surface
from kessensor._results import Ground, Image
from kessensor.cluster._dask import array

_GROUND = np.dtype([("x", "f8"), ("y", "f8"), ("z", "f8"), ("status", "u1")])
_IMAGE = np.dtype([("sample", "f8"), ("line", "f8"), ("status", "u1")])


@lru_cache(maxsize=32)
def _opened(pickled: bytes) -> Any:
    """What was pickled, opened once in this process."""
    return pickle.loads(pickled)


def _chunk(
    a: npt.NDArray[Any],
    b: npt.NDArray[Any],
    c: npt.NDArray[Any] | None = None,
    *,
    band: bytes,
    surface: bytes | None,
    to: str,
    options: dict[str, Any],
) -> npt.NDArray[np.void]:
    """One chunk, as an array of records, so that it is projected once however many of its columns are wanted."""
    of = _opened(band)
    on = None if surface is None else _opened(surface)
    found = (of.to_ground if to == "ground" else of.to_image)(a, b, c, surface=on, **options)
    records = np.empty(found.status.shape, dtype=_GROUND if to == "ground" else _IMAGE)
    for name, column in found._asdict().items():
        records[name] = column
    return records


def project(
    band: Band,
    a: Any,
    b: Any,
    c: Any = None,
    *,
    to: Literal["ground", "image"],
    surface: Surface | None = None,
    crs: CoordinateSystem | str | None = None,
    frame: Literal["lsr", "map"] | None = None,
    solver: Literal["precise", "point"] = "precise",
    threads: int = 1,
) -> Any:
    """Projects Dask's arrays, lazily and chunk by chunk, with the bits of `Band.to_ground` and `Band.to_image`.

    Workers open the band and the surface once each, by path, and refuse files that have changed since this call.

    Parameters
    ----------
    band
        Of a strip, which may be closed.
    a, b, c
        Samples, lines and, as an option, heights to project to the ground; x, y and, without a surface, z to project to
        the image. Dask arrays of any shapes that broadcast, in any chunks; NumPy's and numbers go with them.
    to : {"ground", "image"}
    surface, crs, frame
        As those of `Band.to_ground` and `Band.to_image`. A surface has to be of a file.
    solver : {"precise", "point"}
        Those of which a result depends on its point alone.
    threads
        How many work on a chunk.

    Returns
    -------
    Ground or Image
        Of Dask arrays. To compute several of them by one projection, hand them to one ``dask.compute``.

    Raises
    ------
    ValueError
        For another `to` or `solver`.
    """
    if to not in ("ground", "image"):
        raise ValueError(f'to is "{to}": it must be ground or image')
    if solver not in ("precise", "point"):
        raise ValueError(f'solver is "{solver}": it must be precise or point, which work point by point')
    given = [a, b] if c is None else [a, b, c]
    columns = [column if isinstance(column, array.Array) else array.asarray(column) for column in given]
    dtype = _GROUND if to == "ground" else _IMAGE
    records = array.map_blocks(
        _chunk,
        *columns,
        dtype=dtype,
        meta=np.empty((0,) * max(column.ndim for column in columns), dtype=dtype),
        band=pickle.dumps(band),
        surface=None if surface is None else pickle.dumps(surface),
        to=to,
        options={"crs": crs, "frame": frame, "solver": solver, "threads": threads},
    )
    found = [records[name] for name in dtype.names or ()]
    return Ground(*found) if to == "ground" else Image(*found)
