# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""What a worker does: one task after the other, which can be asked for and stopped."""

from __future__ import annotations

import os
import socket
import threading
import time
from collections.abc import Callable
from typing import Any

Record = dict[str, Any]
#: Makes one item of a run; the function that it is given is to be called often, and raises to end the work.
Work = Callable[[int, Callable[[], None]], Record]


class Stopped(Exception):
    """The run has ended, or the task took longer than its limit."""


_lock = threading.Lock()
_stopped_runs: set[str] = set()
_running: dict[str, set[int]] = {}


def perform(work: Work, run: str, item: int, limit: float) -> Record:
    """Does an item, and says where and how long."""
    start = time.monotonic()

    def check() -> None:
        if run in _stopped_runs:
            raise Stopped(f"item {item} was stopped")
        if time.monotonic() - start > limit:
            raise Stopped(f"item {item} took longer than {limit:g} s")

    with _lock:
        _running.setdefault(run, set()).add(item)
    try:
        check()
        record = work(item, check)
    finally:
        with _lock:
            _running[run].discard(item)
            if not _running[run]:
                del _running[run]
    record.update(host=socket.gethostname(), process=os.getpid(), seconds=time.monotonic() - start)
    return record


def running(run: str) -> list[int]:
    """The items of a run that this process works on."""
    with _lock:
        return sorted(_running.get(run, ()))


def stop(run: str) -> None:
    """Ends the items of a run at their next check, and those that come."""
    _stopped_runs.add(run)
