# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Ground points, their measurements and residuals."""

from __future__ import annotations

from pathlib import Path

import numpy as np
import pytest

import kessensor as ks

GROUND = '''; id x y z, deviations, type
1 100.5 200.25 30 0.1 0.2 0.3 2
"two 2" -1e2 0 5
'''
MEASURED = '''"1" 10.5 20.25 0.1 0.2 1
"two 2" 30 40 0.5 0.5 0
'''


def test_ground_points_are_a_table(tmp_path: Path) -> None:
    (tmp_path / "points.gpt").write_text(GROUND)
    table = ks.ground_points(tmp_path / "points.gpt")
    assert table["id"].tolist() == ["1", "two 2"]
    assert [table[name].tolist() for name in "xyz"] == [[100.5, -100.0], [200.25, 0.0], [30.0, 5.0]]
    assert table[0].tolist()[4:] == (0.1, 0.2, 0.3, 2)


def test_image_points_are_a_table(tmp_path: Path) -> None:
    (tmp_path / "points.ipt").write_text(MEASURED)
    table = ks.image_points(tmp_path / "points.ipt")
    assert table.tolist() == [("1", 10.5, 20.25, 0.1, 0.2, True), ("two 2", 30.0, 40.0, 0.5, 0.5, False)]


def test_points_that_cannot_be_read(tmp_path: Path) -> None:
    with pytest.raises(FileNotFoundError):
        ks.ground_points(tmp_path / "missing.gpt")
    file = tmp_path / "comma.ipt"
    file.write_text('"1,5" 1.5 2.5 0 0 1\n; 3,5\n"2" 10,5 20 0 0 1\n')
    with pytest.raises(ValueError) as caught:
        ks.image_points(file)
    assert str(caught.value) == f'{file}:3: "10,5" has a decimal comma; numbers take a point'


def test_residuals_of_a_block_are_within_its_noise(block_file: Path) -> None:
    with ks.Block(block_file) as block:
        table = ks.residuals(block)
        nadir = ks.residuals(block, bands=["PANN00A"])
    assert set(table["strip"].tolist()) == {"Line1", "Line2"} and len(set(table["band"].tolist())) > 1
    assert set(nadir["band"].tolist()) == {"PANN00A"} and len(nadir) == np.count_nonzero(table["band"] == "PANN00A")
    for axis in ("sample", "line"):
        assert np.array_equal(table[f"residual_{axis}"], table[axis] - table[f"projected_{axis}"])
        # The simulation measures with a noise of a third of a pixel; no residual of a few dozen is beyond 5 of these.
        assert 0.05 < np.std(table[f"residual_{axis}"]) < 0.7 and np.abs(table[f"residual_{axis}"]).max() < 5 / 3
    assert table["active"].all() and (table["status"] == ks.Status.OK).all()


def test_residuals_of_a_strip_need_points(block_file: Path, tmp_path: Path) -> None:
    with ks.Block(block_file) as block, block["Line1"] as strip:
        with pytest.raises(TypeError, match="^points: a strip has no ground points of its own$"):
            ks.residuals(strip)
        of_block = ks.residuals(block, bands=["PANN00A"])
        points = ks.ground_points(block_file.parent / "control" / "controls.gpt")
        alone = ks.residuals(strip, points, crs=block.crs, bands=["PANN00A"])
        assert np.array_equal(alone, of_block[of_block["strip"] == "Line1"])
        fewer = ks.residuals(strip, points[1:], crs=block.crs, bands=["PANN00A"])
        unknown = fewer["id"] == points["id"][0]
        assert unknown.any() and (fewer["status"][unknown] == ks.Status.NOT_FINITE).all()
        assert np.isnan(fewer["residual_line"][unknown]).all()
        assert np.array_equal(fewer[~unknown], alone[~unknown])
        (tmp_path / "none.gpt").write_text("; none\n")
        with pytest.raises(RuntimeError) as caught:
            ks.residuals(strip, tmp_path / "none.gpt")
    assert str(caught.value) == f"no ground points in {tmp_path / 'none.gpt'}"
