#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""cluster.py scheduler [ITEMS]: what items that do nothing cost the scheduler of a cluster: bytes that it holds for
each in the end, processor time, and how many pass in a second. The scheduler and two workers are processes of their own.

cluster.py ortho BLOCK TERRAIN FOLDER [GSD [TILE]]: an orthophoto by one process and by one and two workers, and again
when all tiles but one are there: seconds, and whether the bytes are equal. PYTHONPATH has the package."""

import filecmp
import os
import resource
import subprocess
import sys
import tempfile
import time
from contextlib import contextmanager
from dataclasses import dataclass
from pathlib import Path

import kessensor as ks
from kessensor import cluster
from kessensor.cluster._dask import Client
from kessensor.cluster._farm import Farm, Limits


@dataclass(frozen=True)
class Nothing:
    """The work of an item, with a path as long as that of a plan."""

    manifest: str = "/data/campaign/block/ortho-0123456789ab.plan.json"

    def __call__(self, item, check):
        return {"is_new": True, "has_data": True, "bytes": 12345678}


@contextmanager
def programs(workers):
    """A client of a scheduler and workers that are programs of their own."""
    with tempfile.TemporaryDirectory() as folder:
        file = Path(folder) / "scheduler.json"
        common = ["--host", "127.0.0.1", "--scheduler-file", file, "--no-dashboard"]
        options = {"cwd": folder, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        python = [sys.executable, "-m"]
        started = [subprocess.Popen([*python, "distributed.cli.dask_scheduler", *common, "--port", "0"], **options)]
        try:
            while not file.exists():
                time.sleep(0.1)
            worker = [*python, "distributed.cli.dask_worker", *common, "--nthreads", "1", "--memory-limit", "0"]
            started += [subprocess.Popen(worker, **options) for _ in range(workers)]
            with Client(scheduler_file=str(file)) as client:
                client.wait_for_workers(workers)
                yield client
        finally:
            for process in reversed(started):
                process.terminate()
                process.wait()


def usage():
    """Resident bytes and processor seconds of the process."""
    import gc

    gc.collect()
    with open("/proc/self/statm") as stream:
        resident = int(stream.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")
    used = resource.getrusage(resource.RUSAGE_SELF)
    return resident, used.ru_utime + used.ru_stime


def measure_scheduler(items):
    with programs(2) as client:
        run = lambda count: Farm(client, Limits()).work(range(count), lambda _: Nothing(), lambda item, record: None)
        run(500)  # what is loaded once
        before, begun = client.run_on_scheduler(usage)
        start = time.perf_counter()
        run(items)
        seconds = time.perf_counter() - start
        time.sleep(1.0)
        after, ended = client.run_on_scheduler(usage)
    print(f"{items} items: {items / seconds:.0f} a second, {(ended - begun) / items * 1e3:.2f} ms of the scheduler's "
          f"processor and {(after - before) / items:.0f} bytes in it for each")


def timed(work):
    start = time.perf_counter()
    result = work()
    return time.perf_counter() - start, result


class Enough(Exception):
    """Ends the work before it is done."""


def measure_ortho(block_file, terrain, folder, gsd, tile):
    folder = Path(folder)
    options = {"bands": ["PANN00A"], "surface": ks.Surface(terrain), "crs": "EPSG:32616", "gsd": gsd, "threads": 1}
    with ks.Block(block_file) as block:
        alone, _ = timed(lambda: ks.ortho(block, folder / "alone.tif", **options))
        print(f"one process {alone:.1f} s")
        for workers in (1, 2):
            seconds, summary = timed(
                lambda: cluster.ortho(block, folder / "tiles.tif", tile=tile, workers=workers, **options))
            same = filecmp.cmp(folder / "alone.tif", folder / "tiles.tif", shallow=False)
            print(f"{workers} worker(s) {seconds:.1f} s, {'the same bytes' if same else 'OTHER BYTES'}\n{summary}")


def main():
    if sys.argv[1] == "scheduler":
        measure_scheduler(int(sys.argv[2]) if len(sys.argv) > 2 else 5000)
    else:
        gsd = float(sys.argv[5]) if len(sys.argv) > 5 else 0.25
        measure_ortho(*sys.argv[2:5], gsd, int(sys.argv[6]) if len(sys.argv) > 6 else 1024)


if __name__ == "__main__":
    main()
