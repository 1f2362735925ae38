# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Orthophotos made tile by tile."""

from __future__ import annotations

import hashlib
import json
import os
import shutil
import time
from collections.abc import Callable, Iterable, Iterator
from contextlib import contextmanager
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any

from kessensor import _core
from kessensor._core import Block, CoordinateSystem, Strip, Surface
from kessensor._products import ortho_options
from kessensor.cluster._dask import Client, LocalCluster, config
from kessensor.cluster._farm import Farm, Limits
from kessensor.cluster._worker import Record, Work

PathLike = str | os.PathLike[str]
Progress = Callable[[float], object]

#: Parts of the progress at which tiles begin and end; planning and finishing read all inputs once each.
TILES_FROM, TILES_TO = 0.05, 0.95
#: Of Dask. The scheduler keeps some 400 bytes of each of the last transitions, 100 000 by default.
SCHEDULER_CONFIG = {"distributed.scheduler.transition-log-length": 1000}
#: MiB of a worker's cache of blocks, which by default has a twentieth of the machine's memory in each process. Images
#: and elevation models have caches of their own.
GDAL_CACHE = "16"


@dataclass
class Share:
    """What one worker process did: tiles, and seconds of work on them."""

    tiles: int = 0
    seconds: float = 0.0


@dataclass
class Summary:
    """What ran where and for how long.

    Attributes
    ----------
    output
        The orthophoto.
    tiles, made, resumed
        How many tiles it has, and of them, how many this call made and how many were there.
    tried_again
        How often a tile was given to a worker once more: after an error, a worker's end or the limit of time.
    seconds
        Of planning, making tiles and finishing.
    workers
        By "host:process".
    """

    output: str
    tiles: int = 0
    made: int = 0
    resumed: int = 0
    tried_again: int = 0
    seconds: dict[str, float] = field(default_factory=dict)
    workers: dict[str, Share] = field(default_factory=dict)

    @contextmanager
    def timed(self, what: str) -> Iterator[None]:
        start = time.monotonic()
        yield
        self.seconds[what] = time.monotonic() - start

    def add(self, record: Record) -> None:
        """Counts a tile."""
        self.made += bool(record["is_new"])
        self.resumed += not record["is_new"]
        share = self.workers.setdefault(f"{record['host']}:{record['process']}", Share())
        share.tiles += 1
        share.seconds += record["seconds"]

    def __repr__(self) -> str:
        phases = ", ".join(f"{what} {seconds:.1f} s" for what, seconds in self.seconds.items())
        lines = [
            f"{self.output}: {self.tiles} tiles, {self.made} made, {self.resumed} there before, "
            f"{self.tried_again} tried again; {phases}"
        ]
        for name, share in sorted(self.workers.items()):
            lines.append(f"  {name}: {share.tiles} tiles in {share.seconds:.1f} s")
        return "\n".join(lines)


#: Makers that no thread uses, by plan, time of the plan's file, threads and limit of strips: of the last plan alone.
_idle: dict[tuple[str, int, int, int], list[_core.TileMaker]] = {}


@contextmanager
def _maker(manifest: str, threads: int, strip_limit: int) -> Iterator[_core.TileMaker]:
    """A maker of tiles, with what an earlier tile of this process has opened. It belongs to one thread at a time."""
    key = (manifest, os.stat(manifest).st_mtime_ns, threads, strip_limit)
    for other in _idle.keys() - {key}:
        _idle.pop(other, None)
    try:
        maker = _idle.setdefault(key, []).pop()
    except IndexError:
        tiling = _core.OrthoTiling(manifest)
        maker = _core.TileMaker(tiling, min(threads, tiling.threads), strip_limit, False)
    yield maker
    _idle.setdefault(key, []).append(maker)


@dataclass(frozen=True)
class _TileWork:
    """Makes a tile; on a machine where so many tasks run at once."""

    manifest: str
    strip_limit: int
    tasks_on_host: int

    def __call__(self, index: int, check: Callable[[], None]) -> Record:
        # In vain where this process has used GDAL before.
        os.environ.setdefault("GDAL_CACHEMAX", GDAL_CACHE)
        threads = max(1, len(os.sched_getaffinity(0)) // self.tasks_on_host)
        with _maker(self.manifest, threads, self.strip_limit) as maker:
            return maker.make(index, lambda done: check())


def _source_of(source: Strip | Block | Iterable[Strip]) -> tuple[list[str], dict[str, Any]]:
    """Files, and how all of them are opened."""
    states = [source._state] if isinstance(source, Strip | Block) else [strip._state for strip in source]
    if not states:
        raise ValueError("source: there is no strip")
    files = [state.pop("file") for state in states]
    if any(state != states[0] for state in states):
        raise ValueError("source: strips of one orthophoto have to be opened with the same options")
    return [os.path.abspath(file) for file in files], states[0]


@dataclass
class _Request:
    """What a plan is made from."""

    files: list[str]
    opening: dict[str, Any]
    surface: Surface
    options: dict[str, Any]
    tile: int
    memory: int

    @staticmethod
    def of(
        source: Strip | Block | Iterable[Strip], surface: Surface, tile: int | None, memory: int | None, options: Any
    ) -> _Request:
        if not surface.file:
            raise ValueError("surface: other processes can't open one without a file")
        files, opening = _source_of(source)
        return _Request(files, opening, surface, ortho_options(**options), tile or 0, memory or 0)

    def key(self) -> str:
        """Names the request, but for how many threads work."""
        crs = self.options["crs"]
        said = {
            **self.options,
            "crs": crs.definition if isinstance(crs, CoordinateSystem) else crs,
            "threads": None,
            "files": self.files,
            "opening": self.opening,
            "surface": [os.path.abspath(self.surface.file), self.surface._vertical],
            "tile": [self.tile, self.memory],
        }
        return hashlib.sha256(json.dumps(said, default=os.fspath, sort_keys=True).encode()).hexdigest()[:12]

    def plan(self, manifest: PathLike, progress: Progress | None) -> _core.OrthoTiling:
        return _core.plan_ortho(
            self.files, self.opening, self.surface, self.options, self.tile, self.memory, manifest, progress
        )


def plan(
    source: Strip | Block | Iterable[Strip],
    manifest: PathLike,
    *,
    surface: Surface,
    tile: int | None = None,
    memory: int | None = None,
    progress: Progress | None = None,
    **options: Any,
) -> None:
    """Plans an orthophoto that is made tile by tile, as ``kes ortho plan`` does.

    Parameters
    ----------
    source
        A strip, the strips of a block, or strips that were opened with the same options.
    manifest
        The plan to write. Tiles are made in a folder beside it.
    surface
        The elevation model, of a file.
    tile
        Pixels along the side of a tile; 4096 by default, or less where the memory asks for it.
    memory
        What the work on a tile may take, bytes.
    progress
        As for `kessensor.ortho`.
    **options
        As those of `kessensor.ortho`: bands, crs, gsd, extent, like, grid, cut, resampling, type, scale, format,
        creation_options, record, nodata, threads.
    """
    _Request.of(source, surface, tile, memory, options).plan(manifest, progress)


def _part(progress: Progress | None, begin: float, end: float) -> Progress | None:
    """The progress of a part of the work."""
    if progress is None:
        return None
    whole = progress
    return lambda done: whole(begin + (end - begin) * done)


def _make(manifest: PathLike, farm: Farm, strip_limit: int, summary: Summary, progress: Progress | None) -> None:
    """Makes the tiles that are missing."""
    tiling = _core.OrthoTiling(manifest)
    missing = tiling.missing()
    summary.tiles = len(tiling)
    summary.resumed = len(tiling) - len(missing)
    report = _part(progress, TILES_FROM, TILES_TO)

    def done(index: int, record: Record) -> None:
        summary.add(record)
        if report:
            report((summary.made + summary.resumed) / summary.tiles)

    path = os.path.abspath(manifest)
    try:
        farm.work(missing, lambda tasks_on_host: _TileWork(path, strip_limit, tasks_on_host), done)
    finally:
        summary.tried_again = farm.tried_again


@contextmanager
def _farm(client: Any, workers: int | None, limits: Limits) -> Iterator[Farm]:
    """The workers of a client, or processes of this machine, which end with it."""
    if client is not None:
        yield Farm(client, limits)
        return
    count = workers or len(os.sched_getaffinity(0))
    with (
        config.set(SCHEDULER_CONFIG),
        LocalCluster(
            n_workers=count, threads_per_worker=1, processes=True, dashboard_address=":0", memory_limit=0
        ) as cluster,
        Client(cluster) as own,
    ):
        yield Farm(own, limits, owned=True)


def _finish(manifest: PathLike, output: PathLike, threads: int, keep_tiles: bool, progress: Progress | None) -> None:
    tiling = _core.OrthoTiling(manifest)
    _core.finish_ortho(tiling, output, threads, keep_tiles, _part(progress, TILES_TO, 1.0))


def make(
    manifest: PathLike,
    output: PathLike,
    *,
    client: Any = None,
    workers: int | None = None,
    strip_limit: int = 1,
    retries: int = 5,
    limit: float = 3600.0,
    worker_timeout: float = 300.0,
    keep_tiles: bool = False,
    progress: Progress | None = None,
) -> Summary:
    """Makes the tiles of a plan that are missing, on all workers, and puts them together.

    Parameters
    ----------
    manifest
        The plan, in a folder that all workers share, as are its inputs.
    output
        The file; an older one is replaced.
    client : distributed.Client, optional
        Of a cluster. Otherwise workers run on this machine, and end with the call.
    workers
        Without a client: how many processes; as many as processors by default.
    strip_limit
        Strips whose data stay in the memory of a worker at once.
    retries
        How often a tile is tried again, after an error, a worker's end or the limit of time.
    limit
        Seconds that a tile may take. After that it is given to another worker.
    worker_timeout
        Seconds to wait for a worker when there is none.
    keep_tiles
        Whether tiles stay when the file is done.
    progress
        Called with the part that is done, 0 to 1. An exception that it raises, as does KeyboardInterrupt, ends the work
        on all workers; tiles that are whole stay, so that the same call goes on from there.

    Returns
    -------
    Summary

    Raises
    ------
    ClusterError
        When a tile fails too often, with the reason, or when there is no worker.
    RuntimeError
        With the library's message, such as for inputs that have changed since the plan was made.
    """
    summary = Summary(os.fspath(output))
    with summary.timed("tiles"), _farm(client, workers, Limits(limit, retries, worker_timeout)) as farm:
        _make(manifest, farm, strip_limit, summary, progress)
    with summary.timed("finish"):
        _finish(manifest, output, len(os.sched_getaffinity(0)), keep_tiles, progress)
    return summary


def ortho(
    source: Strip | Block | Iterable[Strip],
    output: PathLike,
    *,
    surface: Surface,
    tile: int | None = None,
    memory: int | None = None,
    client: Any = None,
    workers: int | None = None,
    resume: bool = True,
    strip_limit: int = 1,
    retries: int = 5,
    limit: float = 3600.0,
    worker_timeout: float = 300.0,
    progress: Progress | None = None,
    **options: Any,
) -> Summary:
    """Orthorectifies images of strips on many processes, to the bytes that `kessensor.ortho` writes.

    Plan and tiles lie beside the output until it is done, under a name that follows from source and options. A call
    with the same ones goes on from the tiles that are there.

    Parameters
    ----------
    source, surface, tile, memory, **options
        As those of `plan`. The part of the processors that a worker has bounds `threads`.
    output, client, workers, strip_limit, retries, limit, worker_timeout, progress
        As those of `make`.
    resume
        Whether tiles of an earlier call are used. Inputs that have changed since are refused.

    Returns
    -------
    Summary

    Raises
    ------
    ClusterError, RuntimeError, TypeError, ValueError
        As `make` and `kessensor.ortho`.
    """
    options.setdefault("threads", len(os.sched_getaffinity(0)))
    request = _Request.of(source, surface, tile, memory, options)
    target = Path(output)
    manifest = target.with_name(f"{target.stem}-{request.key()}.plan.json")
    tiles = Path(os.path.splitext(manifest)[0] + ".tiles")
    if not resume:
        manifest.unlink(missing_ok=True)
        shutil.rmtree(tiles, ignore_errors=True)
    start = time.monotonic()
    if not manifest.exists():
        request.plan(manifest, _part(progress, 0.0, TILES_FROM))
    planned = time.monotonic() - start
    summary = make(
        manifest,
        output,
        client=client,
        workers=workers,
        strip_limit=strip_limit,
        retries=retries,
        limit=limit,
        worker_timeout=worker_timeout,
        progress=progress,
    )
    summary.seconds = {"plan": planned, **summary.seconds}
    manifest.unlink()
    return summary
