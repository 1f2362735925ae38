# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

from pathlib import Path

import pytest
from flight import Flight


@pytest.fixture
def flight(tmp_path: Path) -> Flight:
    return Flight(tmp_path)
