# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Items on the workers of a cluster: what becomes of those that fail, hang, and lose their worker."""

from __future__ import annotations

import os
import time
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pytest

pytest.importorskip("distributed")

from tasks import DEAF, Hopeless, Task

from kessensor.cluster import ClusterError, _worker
from kessensor.cluster._dask import Client, LocalCluster
from kessensor.cluster._farm import Farm, Limits


#: That items may take: far more than those need that don't hang, on a machine that is busy.
SECONDS = 4.0


@pytest.fixture(scope="module")
def client() -> Iterator[Any]:
    """Of two processes of one thread each."""
    with (
        LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=":0", memory_limit=0) as cluster,
        Client(cluster) as client,
    ):
        yield client


def work(farm: Farm, task: _worker.Work, items: int = 8) -> dict[int, dict[str, Any]]:
    """Does items, and returns their records."""
    records: dict[int, dict[str, Any]] = {}
    farm.work(range(items), lambda tasks_on_host: task, records.__setitem__)
    return records


def begun(folder: Path, item: int) -> int:
    """How often an item was begun."""
    return len((folder / f"{item}.begun").read_text())


def keys_of(client: Any, run: str) -> list[str]:
    """Keys of a run that the scheduler holds."""
    held: list[str] = client.run_on_scheduler(lambda dask_scheduler: [str(key) for key in dask_scheduler.tasks])
    return [key for key in held if run in key]


def is_gone(client: Any, run: str) -> bool:
    """Whether the scheduler forgets a run, which takes a moment."""
    end = time.monotonic() + 5.0
    while keys_of(client, run) and time.monotonic() < end:
        time.sleep(0.05)
    return keys_of(client, run) == []


def test_all_items_are_done_once(client: Any, tmp_path: Path) -> None:
    farm = Farm(client, Limits())
    records = work(farm, Task(tmp_path), 20)
    assert sorted(records) == list(range(20)) and all(record["item"] == item for item, record in records.items())
    assert all(begun(tmp_path, item) == 1 for item in range(20)) and farm.tried_again == 0
    assert len({record["process"] for record in records.values()}) == 2


def test_machine_is_shared_by_its_threads(client: Any, tmp_path: Path) -> None:
    shares: list[int] = []

    def task(tasks_on_host: int) -> Task:
        shares.append(tasks_on_host)
        return Task(tmp_path)

    Farm(client, Limits()).work([1], task, print)
    assert shares == [2]


def test_item_that_fails_is_tried_again(client: Any, tmp_path: Path) -> None:
    farm = Farm(client, Limits(retries=1))
    assert sorted(work(farm, Task(tmp_path, "fail"))) == list(range(8))
    assert begun(tmp_path, 0) == 2 and farm.tried_again == 1


def test_item_that_always_fails_ends_the_run(client: Any) -> None:
    farm = Farm(client, Limits(retries=2))
    with pytest.raises(ClusterError) as caught:
        work(farm, Hopeless(), 1)
    assert str(caught.value) == "item 0 failed 3 times: no luck with 0"
    assert isinstance(caught.value.__cause__, OSError)


def test_item_beyond_its_time_goes_elsewhere(client: Any, tmp_path: Path) -> None:
    farm = Farm(client, Limits(seconds=SECONDS))
    assert sorted(work(farm, Task(tmp_path, "slow"))) == list(range(8))
    assert begun(tmp_path, 0) == 2 and farm.tried_again == 1
    assert not any(client.run(_worker.running, farm.run).values())  # it has ended, too


def test_own_worker_that_hangs_starts_anew(tmp_path: Path) -> None:
    with (
        LocalCluster(n_workers=1, threads_per_worker=1, dashboard_address=":0", memory_limit=0) as cluster,
        Client(cluster) as client,
    ):
        (hanging,) = client.run(os.getpid).values()
        records = work(Farm(client, Limits(seconds=SECONDS), owned=True), Task(tmp_path, "deaf"), 3)
        assert sorted(records) == [0, 1, 2]
        assert hanging not in {record["process"] for record in records.values()}


def test_item_of_a_dead_worker_goes_elsewhere(client: Any, tmp_path: Path) -> None:
    farm = Farm(client, Limits())
    assert sorted(work(farm, Task(tmp_path, "die"))) == list(range(8))
    assert begun(tmp_path, 0) == 2


def test_exception_of_the_caller_ends_everything(client: Any, tmp_path: Path) -> None:
    farm = Farm(client, Limits())

    def stop(item: int, record: dict[str, Any]) -> None:
        raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        farm.work(range(100), lambda tasks_on_host: Task(tmp_path), stop)
    assert len(list(tmp_path.glob("*.begun"))) < 10
    assert not any(client.run(_worker.running, farm.run).values()) and is_gone(client, farm.run)


def test_items_that_run_are_ended(client: Any, tmp_path: Path) -> None:
    farm = Farm(client, Limits())
    calls = 0

    def task(tasks_on_host: int) -> Task:
        nonlocal calls
        calls += 1
        if calls == 2:
            while not (tmp_path / "1.begun").exists():
                time.sleep(0.01)
            raise KeyboardInterrupt
        return Task(tmp_path, "endless")

    with pytest.raises(KeyboardInterrupt):
        farm.work(range(1, 9), task, print)
    assert not any(client.run(_worker.running, farm.run).values()) and is_gone(client, farm.run)
    assert list(tmp_path.glob("*.done")) == []


def test_cluster_without_workers(tmp_path: Path) -> None:
    with (
        LocalCluster(n_workers=0, dashboard_address=":0") as cluster,
        Client(cluster) as client,
        pytest.raises(ClusterError) as caught,
    ):
        work(Farm(client, Limits(worker_seconds=1.0)), Task(tmp_path), 1)
    assert str(caught.value) == "no worker has had a thread free for 1 s"


def test_scheduler_holds_few_items_at_once(client: Any, tmp_path: Path) -> None:
    held: list[int] = []
    farm = Farm(client, Limits())

    def count(item: int, record: dict[str, Any]) -> None:
        held.append(len(keys_of(client, farm.run)))

    farm.work(range(60), lambda tasks_on_host: Task(tmp_path), count)
    assert max(held) < 20  # two that run, and those that have just ended
    assert is_gone(client, farm.run)


# The last one: a thread of the workers hangs for a while after it.
def test_item_that_hangs_goes_elsewhere(client: Any, tmp_path: Path) -> None:
    farm = Farm(client, Limits(seconds=SECONDS))
    start = time.monotonic()
    records = work(farm, Task(tmp_path, "deaf"))
    assert sorted(records) == list(range(8)) and begun(tmp_path, 0) == 2
    assert time.monotonic() - start < DEAF  # the thread that hangs isn't waited for
