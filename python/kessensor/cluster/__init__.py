# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The same work on many processes and machines, with Dask: orthophotos tile by tile, and arrays chunk by chunk.

Workers share nothing but the file system, and results have the same bytes as those of one process. ::

    from kessensor import cluster

    summary = cluster.ortho(block, "ortho.tif", bands=["PANN00A"], surface=surface, crs="EPSG:32616", gsd=0.25)
    ground = cluster.project(band, samples, lines, 35.0, to="ground")  # dask arrays

Programs that let `ortho` start its own workers need the usual ``if __name__ == "__main__":``, as all do that start
processes. From a shell, ``python3 -m kessensor.cluster ortho PLAN -o FILE`` makes the tiles of a plan.
"""

from kessensor.cluster._farm import ClusterError
from kessensor.cluster._ortho import Share, Summary, make, ortho, plan
from kessensor.cluster._project import project

__all__ = ["ClusterError", "Share", "Summary", "make", "ortho", "plan", "project"]
