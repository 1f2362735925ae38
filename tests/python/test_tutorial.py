# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The tutorial's program runs and draws its pictures."""

from __future__ import annotations

import os
import re
import subprocess
import sys
from pathlib import Path

import pytest
from conftest import DEM

import kessensor as ks

PROGRAM = DEM.parents[2] / "docs" / "tutorial" / "flight.py"
PNG = b"\x89PNG\r\n\x1a\n"


def test_pictures_are_drawn(tmp_path: Path) -> None:
    pytest.importorskip("matplotlib")
    package = Path(ks.__file__).parents[1]
    environment = os.environ | {"PYTHONPATH": str(package), "MPLCONFIGDIR": str(tmp_path)}
    run = subprocess.run(
        [sys.executable, PROGRAM, DEM, tmp_path], check=True, capture_output=True, text=True, env=environment
    )
    assert "80000 of 80000 positions lie on the terrain," in run.stdout
    back = re.search("they come back within (.*) pixels", run.stdout)
    assert back and float(back[1]) < 5e-4  # what 0.1 mm on the ground are
    for name in ("footprints", "closure", "views"):
        picture = (tmp_path / f"{name}.png").read_bytes()
        assert picture.startswith(PNG) and len(picture) > 10_000
