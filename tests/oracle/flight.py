# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The example files as a flight in a folder, and what is asked about it."""

import json
import os
import subprocess
from pathlib import Path

import pytest
from comparison import library_values
from examples import write_examples

ROOT = Path(__file__).parents[2]
PAGES = ROOT / "docs" / "files"
PROGRAM = os.environ["KESSENSOR_VALUES"]
TOOL = os.environ.get("KESSENSOR_TOOL")
needs_tool = pytest.mark.skipif(TOOL is None, reason="without the tool")


class Flight:
    """The example files in a folder."""

    def __init__(self, folder: Path):
        self.folder = folder
        write_examples(PAGES, folder)

    def values(self, kind: str, name: str) -> dict[str, object]:
        return library_values(PROGRAM, [(kind, self.folder / name)])[0]

    def run(self, *arguments: str, **environment: str) -> subprocess.CompletedProcess[str]:
        return subprocess.run(
            [TOOL, *arguments],
            cwd=self.folder,
            env=os.environ | environment,
            capture_output=True,
            text=True,
            check=False,
        )

    def json(self, *arguments: str) -> dict[str, object]:
        done = self.run(*arguments, "--json")
        assert done.returncode == 0, done.stderr
        return json.loads(done.stdout)

    def error(self, *arguments: str) -> str:
        done = self.run(*arguments)
        assert done.returncode == 1, done.stdout
        return done.stderr.splitlines()[-1].removeprefix("kes: error: ")

    def replace(self, name: str, old: str, new: str) -> None:
        path = self.folder / name
        text = path.read_text()
        assert text.count(old) == 1, f"{old!r} is there {text.count(old)} times"
        path.write_text(text.replace(old, new))
