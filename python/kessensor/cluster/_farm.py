# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Independent items on the workers of a cluster.

Dask carries items to workers and records back; what runs where and for how long is settled here. An item goes to a
worker that has a thread free, and to no other, so that its time is known from the start: Dask keeps as many items as
there are threads, however long the list is. Items of workers that are gone or take too long go to another worker.
"""

from __future__ import annotations

import queue
import time
import uuid
from collections import Counter, deque
from collections.abc import Callable, Iterable
from contextlib import suppress
from dataclasses import dataclass, field
from typing import Any

from kessensor.cluster import _worker

#: Seconds between looks at the clock, and at the list of workers.
TICK = 0.2
LOOK = 1.0
#: Seconds that a worker gets beyond the limit to end an item on its own, and to answer a question.
GRACE = 5.0
ANSWER = 10.0
#: Seconds that running items get to end when the run is stopped.
STOP = 30.0


class ClusterError(RuntimeError):
    """An item can't be done, or there is nobody to do it."""


@dataclass(frozen=True)
class Limits:
    """How long an item may take (seconds), how often it is tried again, and how long to wait for a worker (seconds)."""

    seconds: float = 3600.0
    retries: int = 5
    worker_seconds: float = 300.0


@dataclass
class _Flight:
    """An item on its way."""

    item: int
    worker: str
    start: float
    future: Any


@dataclass
class Farm:
    """Workers, and what they do.

    Attributes
    ----------
    client
        Of Dask.
    limits
    owned
        Whether nobody else uses the workers, so that one that hangs may be started anew.
    tried_again
        How many items had to be started again.
    """

    client: Any
    limits: Limits
    owned: bool = False
    tried_again: int = 0
    run: str = field(default_factory=lambda: uuid.uuid4().hex[:8])
    _workers: dict[str, dict[str, Any]] = field(default_factory=dict)
    _flights: dict[str, _Flight] = field(default_factory=dict)
    _hung: dict[str, set[int]] = field(default_factory=dict)
    _attempts: Counter[int] = field(default_factory=Counter)
    _finished: queue.SimpleQueue[str] = field(default_factory=queue.SimpleQueue)
    _looked: float = float("-inf")
    _had_worker: float = field(default_factory=time.monotonic)

    def work(
        self, items: Iterable[int], task: Callable[[int], _worker.Work], done: Callable[[int, _worker.Record], object]
    ) -> None:
        """Does all items, and calls `done` with the record of each, in this thread.

        `task` makes the work of an item, which is pickled, from the number of threads on the worker's machine that do
        items at once. Ends what runs when anything raises.
        """
        waiting = deque(items)
        try:
            while waiting or self._flights:
                self._look()
                self._start(waiting, task)
                for flight, record in self._landed():
                    if record is None:
                        waiting.append(flight.item)
                    else:
                        done(flight.item, record)
                waiting.extend(self._overdue())
        except BaseException:
            self._stop()
            raise
        if self._hung:
            self._ask(_worker.stop, list(self._hung))

    def _look(self) -> None:
        """Brings the list of workers up to date."""
        now = time.monotonic()
        if now - self._looked < LOOK:
            return
        self._looked = now
        workers = self.client.scheduler_info()["workers"]
        self._workers = {address: facts for address, facts in workers.items() if facts["status"] != "closing"}
        self._hung = {address: items for address, items in self._hung.items() if address in self._workers}
        if self._hung:
            for address, items in self._ask(_worker.running, list(self._hung)).items():
                self._hung[address].intersection_update(items)
        if self._flights or any(self._free_threads().values()):
            self._had_worker = now
        elif now - self._had_worker > self.limits.worker_seconds:
            raise ClusterError(f"no worker has had a thread free for {self.limits.worker_seconds:g} s")

    def _free_threads(self) -> dict[str, int]:
        """How many threads of each worker have no item."""
        busy = Counter(flight.worker for flight in self._flights.values())
        return {
            address: max(0, int(facts["nthreads"]) - busy[address] - len(self._hung.get(address, ())))
            for address, facts in self._workers.items()
            if facts["status"] == "running"
        }

    def _start(self, waiting: deque[int], task: Callable[[int], _worker.Work]) -> None:
        """Gives items to all threads that are free."""
        if not waiting:
            return
        on_host: Counter[str] = Counter()
        for facts in self._workers.values():
            on_host[facts["host"]] += int(facts["nthreads"])
        for address, free in self._free_threads().items():
            for _ in range(min(free, len(waiting))):
                item = waiting.popleft()
                self._attempts[item] += 1
                key = f"item-{self.run}-{item}-{self._attempts[item]}"
                future = self.client.submit(
                    _worker.perform,
                    task(on_host[self._workers[address]["host"]]),
                    self.run,
                    item,
                    self.limits.seconds,
                    key=key,
                    workers=[address],
                    retries=0,
                )
                self._flights[key] = _Flight(item, address, time.monotonic(), future)
                future.add_done_callback(lambda future: self._finished.put(future.key))

    def _landed(self) -> list[tuple[_Flight, _worker.Record | None]]:
        """Waits a moment for items, and returns those that have ended: without a record, those to be done again."""
        keys: list[str] = []
        with suppress(queue.Empty):
            keys.append(self._finished.get(timeout=TICK))
            while True:
                keys.append(self._finished.get_nowait())
        landed = []
        for key in keys:
            # Those that were given up may end late.
            flight = self._flights.pop(key, None)
            if flight is not None:
                landed.append((flight, self._record_of(flight)))
        return landed

    def _record_of(self, flight: _Flight) -> _worker.Record | None:
        try:
            record: _worker.Record = flight.future.result(timeout=ANSWER)
            return record
        except Exception as error:
            self._require_another(flight, error)
            return None

    def _require_another(self, flight: _Flight, error: Exception | None = None) -> None:
        """Throws when an item has been tried often enough."""
        self.tried_again += 1
        if self._attempts[flight.item] > self.limits.retries:
            reason = str(error) if error else f"took longer than {self.limits.seconds:g} s or lost its worker"
            raise ClusterError(f"item {flight.item} failed {self._attempts[flight.item]} times: {reason}") from error

    def _overdue(self) -> list[int]:
        """Gives up items whose worker is gone or that take too long, and returns them."""
        now = time.monotonic()
        latest = now - self.limits.seconds - min(GRACE, self.limits.seconds)
        again = []
        for key, flight in list(self._flights.items()):
            # A worker that has just come may not be in the list.
            is_gone = flight.worker not in self._workers and self._looked > flight.start
            if not is_gone and flight.start > latest:
                continue
            del self._flights[key]
            flight.future.cancel(force=True)
            if not is_gone:
                self._hang(flight)
            self._require_another(flight)
            again.append(flight.item)
        return again

    def _hang(self, flight: _Flight) -> None:
        """Leaves the thread of an item alone as long as it works on it."""
        self._hung.setdefault(flight.worker, set()).add(flight.item)
        if self.owned and flight.item in self._ask(_worker.running, [flight.worker]).get(flight.worker, [flight.item]):
            with suppress(Exception):
                self.client.restart_workers([flight.worker], timeout=ANSWER)

    def _ask(self, question: Callable[[str], Any], workers: list[str]) -> dict[str, Any]:
        """The answers of workers; those that don't answer in time are left out."""
        try:
            answers = self.client.run(question, self.run, workers=workers, on_error="return", callback_timeout=ANSWER)
        except Exception:
            return {}
        return {address: answer for address, answer in answers.items() if not isinstance(answer, Exception)}

    def _stop(self) -> None:
        """Ends all items, and waits for those that run."""
        busy = {flight.worker for flight in self._flights.values()} | self._hung.keys()
        self._flights.clear()  # Dask forgets what nobody waits for
        present = [address for address in busy if address in self._workers]
        if not present:
            return
        self._ask(_worker.stop, present)
        end = time.monotonic() + STOP
        while time.monotonic() < end and any(self._ask(_worker.running, present).values()):
            time.sleep(TICK)
