# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Orthophotos made by many processes have the bytes that one makes, whatever happens on the way."""

from __future__ import annotations

import os
import random
import shutil
import signal
import subprocess
import sys
import threading
import time
from collections.abc import Iterator
from contextlib import ExitStack, contextmanager
from pathlib import Path
from typing import Any

import pytest
from conftest import DEM, TILES, Mosaic

pytest.importorskip("distributed")

import kessensor as ks
from kessensor import cluster
from kessensor.cluster._dask import Client, LocalCluster

TILE = 1024


@pytest.fixture(scope="module")
def client() -> Iterator[Any]:
    """Of two processes of one thread each."""
    with (
        LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=":0", memory_limit=0) as workers,
        Client(workers) as client,
    ):
        yield client


@pytest.fixture
def block(mosaic: Mosaic) -> Iterator[ks.Block]:
    with ks.Block(mosaic.block) as opened:
        yield opened


def plan(mosaic: Mosaic, manifest: Path, **options: Any) -> Path:
    with ks.Block(mosaic.block) as block:
        cluster.plan(block, manifest, tile=TILE, **mosaic.but(**options))
    return manifest


def tiles_of(manifest: Path) -> Path:
    return manifest.with_suffix(".tiles")


def names(folder: Path) -> list[str]:
    return sorted(path.name for path in folder.iterdir())


def test_own_workers_make_the_same_file(mosaic: Mosaic, block: ks.Block, tmp_path: Path) -> None:
    done: list[float] = []
    summary = cluster.ortho(block, tmp_path / "ortho.tif", tile=TILE, workers=2, progress=done.append, **mosaic.options)
    assert (tmp_path / "ortho.tif").read_bytes() == mosaic.whole.read_bytes()
    assert names(tmp_path) == ["ortho.tif"]
    assert done == sorted(done) and done[-1] == 1.0
    assert TILES <= summary.tiles == summary.made == sum(share.tiles for share in summary.workers.values())
    assert len(summary.workers) == 2 and (summary.resumed, summary.tried_again) == (0, 0)
    text = repr(summary).splitlines()
    count = summary.tiles
    assert text[0].startswith(f"{tmp_path / 'ortho.tif'}: {count} tiles, {count} made, 0 there before, 0 tried again; ")
    assert len(text) == 3


@contextmanager
def program(module: str, *arguments: str | Path, folder: Path) -> Iterator[None]:
    """Runs a module of Python, and ends it."""
    quiet = subprocess.DEVNULL
    command: list[str | Path] = [sys.executable, "-m", module, *arguments]
    with subprocess.Popen(command, start_new_session=True, stdout=quiet, stderr=quiet, cwd=folder) as process:
        try:
            yield
        finally:
            process.send_signal(signal.SIGINT)
            try:
                process.wait(20)
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)


def test_scheduler_and_workers_of_their_own(mosaic: Mosaic, tmp_path: Path) -> None:
    manifest = plan(mosaic, tmp_path / "plan.json")
    scheduler_file = tmp_path / "scheduler.json"
    common: list[str | Path] = ["--host", "127.0.0.1", "--scheduler-file", scheduler_file, "--no-dashboard"]
    with ExitStack() as programs:
        programs.enter_context(program("distributed.cli.dask_scheduler", *common, "--port", "0", folder=tmp_path))
        end = time.monotonic() + 30.0
        while not scheduler_file.exists() and time.monotonic() < end:
            time.sleep(0.1)
        for _ in range(2):
            alone: list[str | Path] = ["--nthreads", "1", "--memory-limit", "0"]
            programs.enter_context(program("distributed.cli.dask_worker", *common, *alone, folder=tmp_path))
        command = [sys.executable, "-m", "kessensor.cluster", "ortho", str(manifest), "-o", str(tmp_path / "ortho.tif")]
        command += ["--scheduler-file", str(scheduler_file)]
        run = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True)
    assert (tmp_path / "ortho.tif").read_bytes() == mosaic.whole.read_bytes()
    first, *shares = run.stdout.splitlines()
    assert ", 0 there before, 0 tried again; tiles " in first and len(shares) in (1, 2)
    assert not tiles_of(manifest).exists()


def test_workers_that_are_killed_lose_nothing(mosaic: Mosaic, block: ks.Block, client: Any, tmp_path: Path) -> None:
    chance = random.Random(7)
    finished = threading.Event()
    killed = 0

    def kill() -> None:
        nonlocal killed
        while not finished.wait(chance.uniform(0.2, 1.0)) and killed < 4:
            processes = [process for process in client.run(os.getpid, on_error="return").values() if type(process) is int]
            if processes:
                os.kill(chance.choice(processes), signal.SIGKILL)
                killed += 1

    killer = threading.Thread(target=kill)
    killer.start()
    try:
        # The last tile waits for the killer, so that it never runs out of work.
        summary = cluster.ortho(
            block, tmp_path / "ortho.tif", tile=TILE, client=client, retries=20, **mosaic.options,
            progress=lambda done: time.sleep(0.02 if killed < 4 else 0.0),
        )
    finally:
        finished.set()
        killer.join()
    assert (tmp_path / "ortho.tif").read_bytes() == mosaic.whole.read_bytes()
    assert killed > 1 and summary.made + summary.resumed == summary.tiles
    assert names(tmp_path) == ["ortho.tif"]  # nothing half-made
    assert len(summary.workers) > 2 or summary.tried_again > 0


class Enough(Exception):
    """Ends the work from its progress."""


def stop_after(part: float) -> Any:
    def progress(done: float) -> None:
        if done >= part:
            raise Enough

    return progress


def is_idle(client: Any) -> bool:
    """Whether workers have nothing more to do, of which the scheduler hears a moment later."""
    end = time.monotonic() + 10.0
    while any(client.processing().values()) and time.monotonic() < end:
        time.sleep(0.05)
    return not any(client.processing().values())


def test_stopped_work_goes_on_from_its_tiles(mosaic: Mosaic, block: ks.Block, client: Any, tmp_path: Path) -> None:
    output = tmp_path / "ortho.tif"
    with pytest.raises(Enough):
        cluster.ortho(block, output, tile=TILE, client=client, progress=stop_after(0.5), **mosaic.options)
    folder = next(tmp_path.glob("*.tiles"))
    made = names(folder)
    # Whole tiles alone: no file of work.
    assert len(made) >= 0.4 * TILES and all(name.endswith(".tif") and not name.startswith(".") for name in made)
    assert not output.exists() and is_idle(client)
    summary = cluster.ortho(block, output, tile=TILE, client=client, **mosaic.options)
    assert summary.resumed == len(made) and summary.made == summary.tiles - len(made)
    assert output.read_bytes() == mosaic.whole.read_bytes() and names(tmp_path) == ["ortho.tif"]


def test_without_resume_all_is_made_again(mosaic: Mosaic, block: ks.Block, client: Any, tmp_path: Path) -> None:
    output = tmp_path / "ortho.tif"
    with pytest.raises(Enough):
        cluster.ortho(block, output, tile=TILE, client=client, progress=stop_after(0.1), **mosaic.options)
    summary = cluster.ortho(block, output, tile=TILE, client=client, resume=False, **mosaic.options)
    assert (summary.resumed, summary.made) == (0, summary.tiles)


def test_other_options_are_another_plan(mosaic: Mosaic, block: ks.Block, client: Any, tmp_path: Path) -> None:
    output = tmp_path / "ortho.tif"
    with pytest.raises(Enough):
        cluster.ortho(block, output, tile=TILE, client=client, progress=stop_after(0.1), **mosaic.options)
    summary = cluster.ortho(block, output, tile=TILE, client=client, **mosaic.but(resampling="nearest"))
    assert summary.resumed == 0
    assert len(names(tmp_path)) == 3  # the first plan and its tiles stay


def test_inputs_that_changed_are_refused(mosaic: Mosaic, client: Any, tmp_path: Path) -> None:
    dem = tmp_path / "dem.tif"
    shutil.copyfile(DEM, dem)
    manifest = plan(mosaic, tmp_path / "plan.json", surface=ks.Surface(dem))
    with open(dem, "ab") as stream:
        stream.write(b" ")
    with pytest.raises(cluster.ClusterError) as caught:
        cluster.make(manifest, tmp_path / "ortho.tif", client=client, retries=0)
    assert str(caught.value).endswith(f"failed 1 times: {dem} has changed since the plan was made")
    assert not (tmp_path / "ortho.tif").exists()


def is_gone(group: int) -> bool:
    """Whether all processes of a group end, the last of which may take a moment."""
    end = time.monotonic() + 60.0
    while time.monotonic() < end:
        try:
            os.killpg(group, 0)
        except ProcessLookupError:
            return True
        time.sleep(0.1)
    return False


def test_interrupted_program_leaves_no_process(mosaic: Mosaic, tmp_path: Path) -> None:
    manifest = plan(mosaic, tmp_path / "plan.json")
    command = ["-m", "kessensor.cluster", "ortho", str(manifest), "-o", str(tmp_path / "ortho.tif"), "--workers", "2"]
    with subprocess.Popen([sys.executable, *command], start_new_session=True, stderr=subprocess.DEVNULL) as process:
        end = time.monotonic() + 60.0
        while not (tiles_of(manifest).exists() and names(tiles_of(manifest))) and time.monotonic() < end:
            time.sleep(0.05)
        process.send_signal(signal.SIGINT)
        assert process.wait(60) == 128 + signal.SIGINT
    assert is_gone(process.pid)
    assert all(not name.startswith(".") for name in names(tiles_of(manifest))) and not (tmp_path / "ortho.tif").exists()


def test_sources_that_others_cannot_open(mosaic: Mosaic, block: ks.Block, tmp_path: Path) -> None:
    flat = ks.Surface.constant("EPSG:32616", 300.0)
    with pytest.raises(ValueError, match="^surface: other processes can't open one without a file$"):
        cluster.plan(block, tmp_path / "plan.json", **mosaic.but(surface=flat))
    with pytest.raises(ValueError, match="^source: there is no strip$"):
        cluster.plan([], tmp_path / "plan.json", **mosaic.options)
    with block["Line1"] as strip, ks.Strip(strip.file, orientation="original") as other:
        with pytest.raises(ValueError) as caught:
            cluster.plan([strip, other], tmp_path / "plan.json", **mosaic.options)
    assert str(caught.value) == "source: strips of one orthophoto have to be opened with the same options"
    with pytest.raises(TypeError, match="got an unexpected keyword argument 'bandz'$"):
        cluster.plan(block, tmp_path / "plan.json", surface=mosaic.options["surface"], bandz=[])
