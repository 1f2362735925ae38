# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The library and the readers that were written from docs/files.md alone read the same values from the same files, to
the bit, or both refuse them with the same message."""

import os
import random
import struct
from pathlib import Path

import pytest
from comparison import differences, library_values
from flight import PROGRAM, ROOT
from mutations import mutated
from seeds import files_of_kind, seeds

#: So many files are there at the same time.
BATCH = 100
#: Another number damages the files in another way.
SERIES = os.environ.get("KESSENSOR_ORACLE_SERIES", "0")
#: Damaged files of each kind.
COUNTS = {"eop": 3000, "odf": 2500, "ctg": 1500, "it": 500, "tdi": 500, "cam": 2000}
COUNTS |= {"dat": 700, "gpt": 1000, "ipt": 800}
TEXTS = {"cam", "dat", "gpt", "ipt"}


def test_undamaged_files_are_read_alike():
    files = files_of_kind(ROOT / "tests" / "data")
    assert {kind for kind, _ in files} == set(COUNTS)
    assert differences(PROGRAM, files) == []


@pytest.mark.parametrize("kind", COUNTS)
def test_seeds_are_read_alike(kind, tmp_path):
    files = []
    for i, seed in enumerate(seeds(ROOT)[kind]):
        for extension, data in seed.items():
            (tmp_path / f"{i}{extension}").write_bytes(data)
        files.append((kind, tmp_path / f"{i}{next(iter(seed))}"))
    assert len(files) > 1
    assert differences(PROGRAM, files) == []


def orientation_file(block: str) -> bytes:
    data = 20 + len(block)
    return struct.pack("<4s4i", b"EOP_", 3, data, 0, len(block)) + block.encode() + bytes(48)


@pytest.mark.parametrize("is_too_large", [False, True])
@pytest.mark.parametrize("limit", ["levels", "attributes", "nodes"])
def test_limits_of_xml_are_those_on_the_page(limit, is_too_large, tmp_path):
    more = int(is_too_large)
    inner = {
        "levels": (63 + more) * "<a>" + (63 + more) * "</a>",
        "attributes": "<a" + "".join(f" a{i}=''" for i in range(256 + more)) + "/>",
        # The root has an attribute, too.
        "nodes": (262144 - 2 + more) * "<a/>",
    }[limit]
    path = tmp_path / "limit.eop"
    path.write_bytes(orientation_file(f"<EOPData numsets='1'>{inner}</EOPData>"))
    assert differences(PROGRAM, [("eop", path)]) == []
    assert ("refused" in library_values(PROGRAM, [("eop", path)])[0]) == is_too_large


def damaged_file(kind: str, i: int, sources: list[dict[str, bytes]], folder: Path) -> tuple[str, Path]:
    """Writes a file and what lies beside it, one of them damaged."""
    generator = random.Random(f"{SERIES} {kind} {i}")
    seed = dict(generator.choice(sources))
    extension = generator.choice(list(seed))
    # A parameter block, or a header, is text in a binary file.
    is_text = kind in TEXTS or (kind in {"eop", "odf"} and generator.random() < 0.4)
    seed[extension] = mutated(seed[extension], generator, is_text)
    for old in folder.glob(f"{i % BATCH}.*"):
        old.unlink()
    for beside, data in seed.items():
        (folder / f"{i % BATCH}{beside}").write_bytes(data)
    return kind, folder / f"{i % BATCH}{next(iter(seed))}"


@pytest.mark.parametrize("kind", COUNTS)
def test_damaged_files_are_read_alike(kind, tmp_path):
    sources = seeds(ROOT)[kind]
    for begin in range(0, COUNTS[kind], BATCH):
        files = [damaged_file(kind, i, sources, tmp_path) for i in range(begin, begin + BATCH)]
        # The last batch stays on disk.
        assert differences(PROGRAM, files) == []
