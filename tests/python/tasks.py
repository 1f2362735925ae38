# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Work for the tests of clusters, which workers import."""

from __future__ import annotations

import os
import signal
import time
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path

from kessensor.cluster._worker import Record


#: Seconds that a task hangs.
DEAF = 20.0


@dataclass(frozen=True)
class Task:
    """Leaves a trace of each item in a folder, and behaves by name."""

    folder: Path
    behaviour: str = "plain"

    def __call__(self, item: int, check: Callable[[], None]) -> Record:
        first = not (self.folder / f"{item}.begun").exists()
        with open(self.folder / f"{item}.begun", "a") as stream:
            stream.write("x")
        if item == 0 and first:
            getattr(self, self.behaviour)(check)
        elif self.behaviour == "endless":
            self.endless(check)
        (self.folder / f"{item}.done").touch()
        return {"item": item}

    def plain(self, check: Callable[[], None]) -> None:
        pass

    def fail(self, check: Callable[[], None]) -> None:
        raise OSError("no such luck")

    def deaf(self, check: Callable[[], None]) -> None:
        """Hangs, and never checks."""
        time.sleep(DEAF)

    def slow(self, check: Callable[[], None]) -> None:
        """Takes too long, and checks."""
        self.endless(check)

    def endless(self, check: Callable[[], None]) -> None:
        while True:
            check()
            time.sleep(0.01)

    def die(self, check: Callable[[], None]) -> None:
        os.kill(os.getpid(), signal.SIGKILL)


@dataclass(frozen=True)
class Hopeless:
    """Never gets anything done."""

    def __call__(self, item: int, check: Callable[[], None]) -> Record:
        raise OSError(f"no luck with {item}")
