# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""``python3 -m kessensor.cluster ortho PLAN -o FILE [--scheduler-file F]``: the tiles of a plan, on a cluster."""

from __future__ import annotations

import argparse
import signal
import sys

from kessensor import cluster
from kessensor.cluster._dask import Client


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(prog="python3 -m kessensor.cluster", description="Work on a cluster, with Dask.")
    commands = parser.add_subparsers(dest="command", required=True, metavar="COMMAND")
    ortho = commands.add_parser("ortho", help="makes the tiles of a plan of kes ortho plan, and the orthophoto")
    ortho.add_argument("plan", metavar="PLAN", help="manifest, in a folder that all workers share")
    ortho.add_argument("-o", "--output", metavar="FILE", required=True, help="GeoTIFF to write")
    where = ortho.add_mutually_exclusive_group()
    where.add_argument("--scheduler-file", metavar="FILE", help="as dask-scheduler writes it")
    where.add_argument("--workers", type=int, metavar="N", help="processes of this machine [one for each processor]")
    ortho.add_argument("--limit", type=float, default=3600.0, metavar="S", help="seconds that a tile may take [3600]")
    ortho.add_argument("--retries", type=int, default=5, metavar="N", help="how often a tile is tried again [5]")
    ortho.add_argument("--strip-limit", type=int, default=1, metavar="N", help="strips in memory at once [1]")
    ortho.add_argument("--keep-tiles", action="store_true", help="leave the tiles when the orthophoto is done")
    return parser


def _show(done: float) -> None:
    if sys.stderr.isatty():
        print(f"\r{100 * done:3.0f} %", end="\n" if done >= 1.0 else "", file=sys.stderr, flush=True)


def main() -> int:
    given = _parser().parse_args()
    client = Client(scheduler_file=given.scheduler_file) if given.scheduler_file else None
    try:
        summary = cluster.make(
            given.plan,
            given.output,
            client=client,
            workers=given.workers,
            strip_limit=given.strip_limit,
            retries=given.retries,
            limit=given.limit,
            keep_tiles=given.keep_tiles,
            progress=_show,
        )
    except RuntimeError as error:
        print(f"kessensor.cluster: error: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 128 + signal.SIGINT
    finally:
        if client is not None:
            client.close()
    print(summary)
    return 0


if __name__ == "__main__":
    sys.exit(main())
