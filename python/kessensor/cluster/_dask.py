# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""What is used of Dask, which isn't typed."""

from __future__ import annotations

from typing import Any

try:
    import dask
    import dask.array
    import distributed
except ImportError as error:
    raise ImportError(
        "kessensor.cluster needs Dask and distributed (Debian: python3-dask, python3-distributed; "
        f'pip: "kessensor[cluster]"): {error}'
    ) from error

array: Any = dask.array
config: Any = dask.config
Client: Any = distributed.Client
LocalCluster: Any = distributed.LocalCluster
