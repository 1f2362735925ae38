# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The adjustment of a small block with errors, beside that of the tool."""

from __future__ import annotations

import json
import math
import os
import re
import shutil
import subprocess
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import kessensor as ks

TOOL = os.environ.get("KESSENSOR_TOOL", "")
STRIPS = ["Cross1", "Line1", "Line2"]
OPTIONS: dict[str, Any] = {"free": {"boresight": 1e-3, "lever-arm": None}, "navigation": "tactical"}
AS_TOOL = ["--free", "boresight=1e-3,lever-arm", "--prior", "tactical"]


@pytest.fixture(scope="module")
def adjusted(measured_block: Path) -> ks.Adjustment:
    return ks.adjust(measured_block, threads=2, **OPTIONS)


@pytest.fixture(scope="module")
def of_tool(measured_block: Path, tmp_path_factory: pytest.TempPathFactory) -> Path:
    """The folder of results of `kes adjust`."""
    if not TOOL:
        pytest.skip("KESSENSOR_TOOL names no kes")
    folder = tmp_path_factory.mktemp("tool") / "results"
    command: list[str | Path] = [TOOL, "adjust", measured_block, *AS_TOOL, "--report-only", "-o", folder]
    subprocess.run(command, check=True, capture_output=True)
    return folder


def test_result_is_that_of_the_tool(adjusted: ks.Adjustment, of_tool: Path) -> None:
    assert adjusted.to_dict() == json.loads((of_tool / "adjustment.json").read_text())


def test_orientations_are_those_of_the_tool(adjusted: ks.Adjustment, of_tool: Path, tmp_path: Path) -> None:
    for strip in STRIPS:
        adjusted.write_orientation(strip, tmp_path / "own.eop")
        assert (tmp_path / "own.eop").read_bytes() == (of_tool / "orientation" / f"{strip}.eop").read_bytes()


def test_result_has_tables(adjusted: ks.Adjustment) -> None:
    assert not adjusted.planned and adjusted.converged and adjusted.sigma_zero == pytest.approx(1.0, abs=0.5)
    points = adjusted.points
    assert points["id"].tolist() == sorted(points["id"].tolist())
    of_role = {role: points[points["role"] == role] for role in ("control", "check", "tie")}
    assert (len(of_role["control"]), len(of_role["check"])) == (4, 3) and len(of_role["tie"]) > 20
    assert np.isnan(of_role["tie"]["difference_x"]).all() and not np.isnan(of_role["check"]["difference_z"]).any()
    # The system is the one of the block's points.
    with ks.Block(adjusted.block) as opened:
        assert adjusted.crs == opened.crs
    used = adjusted.image_points[adjusted.image_points["state"] == "used"]
    whole = adjusted.residuals[-1]
    assert (whole["strip"], whole["band"], whole["used"]) == ("", "", len(used))
    for axis in ("sample", "line"):
        assert whole[f"rms_{axis}"] == pytest.approx(math.sqrt(np.mean(used[f"residual_{axis}"] ** 2)))
        assert whole[f"largest_{axis}"] == np.abs(used[f"residual_{axis}"]).max()
    assert points["rays"].sum() == len(used)
    assert adjusted.parameters["name"][:3].tolist() == ["boresight roll", "boresight pitch", "boresight heading"]
    assert adjusted.parameters["prior"][0] == 1e-3
    assert adjusted.corrections["strip"].tolist() == STRIPS
    # Plain least squares: the cost follows from residuals and redundancy.
    assert adjusted.sigma_zero == math.sqrt(adjusted.cost / adjusted.redundancy)
    assert [island.strips for island in adjusted.islands] == [STRIPS]
    size = f"sigma0 {adjusted.sigma_zero:.3f}, redundancy {adjusted.redundancy}"
    assert repr(adjusted) == f"<Adjustment of {adjusted.block!r}: {size}>"


def test_boresight_is_found(adjusted: ks.Adjustment) -> None:
    # Of what a tactical system leaves in the mean of three strips.
    roll, pitch = adjusted.parameters[:2]
    assert abs(roll["value"] - 4e-4) < 4 * roll["sigma"] and roll["sigma"] < 1e-4
    assert abs(pitch["value"] + 3e-4) < 4 * pitch["sigma"] and pitch["sigma"] < 1e-4


def test_same_bits_for_any_threads(measured_block: Path, adjusted: ks.Adjustment) -> None:
    with ks.Block(measured_block) as opened:
        again = ks.adjust(opened, threads=3, **OPTIONS)
    assert again.to_dict() == adjusted.to_dict()


def test_strips_have_the_installed_orientations(measured_block: Path, adjusted: ks.Adjustment, tmp_path: Path) -> None:
    folder = tmp_path / "block"
    shutil.copytree(measured_block.parent, folder)
    own = ks.adjust(folder / measured_block.name, threads=2, **OPTIONS)
    before = sorted(file.read_bytes() for file in folder.glob("*/strip.stp"))
    assert own.usable, own.objections
    own.install(tmp_path / "replaced")
    orientations = {entry["strip"]: entry["file"] for entry in own.to_dict()["orientations"]}
    assert list(orientations) == STRIPS
    with ks.Block(folder / measured_block.name, standard_deviations=True) as opened:
        for name in STRIPS:
            strip = opened[name]
            assert strip.is_adjusted and strip.trajectory.file == orientations[name]
            records, table = adjusted.orientation(name), strip.trajectory.table()
            np.testing.assert_array_equal(records["time"], table["time"])
            for axis in ("x", "y", "z"):
                np.testing.assert_allclose(table[axis], records[axis], rtol=0, atol=1e-3)
            sigmas = strip.trajectory.standard_deviations_at(records["time"][1:-1])
            for axis in ("x", "z", "omega", "kappa"):
                np.testing.assert_allclose(sigmas[axis], records[f"sigma_{axis}"][1:-1], rtol=1e-5)
    assert sorted(file.read_bytes() for file in (tmp_path / "replaced").rglob("*.stp")) == before
    with pytest.raises(RuntimeError, match="^the orientations are installed already$"):
        own.install(tmp_path / "again")


def test_freed_cameras_get_a_new_version(measured_block: Path, tmp_path: Path) -> None:
    folder = tmp_path / "block"
    shutil.copytree(measured_block.parent, folder)
    with ks.Block(folder / measured_block.name) as opened:
        old = opened["Line1"].camera
    own = ks.adjust(folder / measured_block.name, free=["boresight", "focal"], navigation="tactical")
    assert own.to_dict()["cameras"] == []
    own.install(tmp_path / "replaced")
    (camera,) = own.to_dict()["cameras"]
    assert camera["version"] == f"v{old.version + 1:03}"
    assert Path(camera["folder"]) == Path(old.folder).parent / camera["version"]
    with ks.Block(folder / measured_block.name) as opened:
        for name in STRIPS:
            assert (opened[name].camera.version, opened[name].is_adjusted) == (old.version + 1, True)


def test_an_interrupted_installation_is_undone(measured_block: Path, tmp_path: Path) -> None:
    folder = tmp_path / "block"
    shutil.copytree(measured_block.parent, folder)
    block, strip = folder / measured_block.name, folder / "Line1" / "strip.stp"
    before = strip.read_text()
    copy = shutil.copy(strip, tmp_path / "copy.stp")
    strip.write_text("half done")
    journal = folder / (measured_block.name + ".adjusting")
    journal.touch()
    changes = [{"path": str(strip), "copy": str(copy)}]
    journal.write_text(json.dumps({"file": str(journal.stat().st_ino), "changes": changes}))
    message = f"an adjustment of {block} was interrupted; its strips and cameras are again what they were before"
    with pytest.warns(RuntimeWarning, match=f"^{re.escape(message)}$"):
        ks.adjust(block, **OPTIONS)
    assert strip.read_text() == before and not journal.exists()


def test_nothing_is_installed_that_must_not_be(measured_block: Path, tmp_path: Path) -> None:
    before = {file: file.read_bytes() for file in measured_block.parent.rglob("*.stp")}
    backup = tmp_path / "replaced"
    plan = ks.adjust(measured_block, plan=True, **OPTIONS)
    assert plan.planned and plan.to_dict()["planned"]
    with pytest.raises(RuntimeError, match="^a plan has no orientations to install$"):
        plan.install(backup)
    wrong = ks.adjust(measured_block, max_iterations=1, **OPTIONS)
    with pytest.raises(RuntimeError, match="^the result must not be used: the iteration hasn't converged$"):
        wrong.install(backup)
    assert not wrong.usable and repr(wrong).endswith(", must not be used>")
    (tmp_path / "full").mkdir()
    (tmp_path / "full" / "notes").write_text("mine")
    with pytest.raises(RuntimeError, match="full exists and is not an empty folder$"):
        ks.adjust(measured_block, **OPTIONS).install(tmp_path / "full")
    assert not backup.exists()
    assert {file: file.read_bytes() for file in measured_block.parent.rglob("*.stp")} == before


def test_options_reach_the_adjustment(measured_block: Path, adjusted: ks.Adjustment, surface: ks.Surface) -> None:
    dense = ks.adjust(measured_block, nodes=0.5, **OPTIONS)
    assert (dense.corrections["nodes"] > adjusted.corrections["nodes"]).all()
    cubic = ks.adjust(measured_block, degree="cubic", **OPTIONS)
    np.testing.assert_array_equal(cubic.corrections["nodes"], adjusted.corrections["nodes"] + 2)
    without = ks.adjust(measured_block, free=[], navigation="tactical")
    assert len(without.parameters) == 0
    assert (ks.adjust(measured_block, loss="squares", **OPTIONS).image_points["state"] == "used").all()
    strict = ks.adjust(measured_block, rejection=1.5, loss="huber", loss_scale=1.0, **OPTIONS)
    assert (strict.image_points["state"] == "rejected").sum() > (adjusted.image_points["state"] == "rejected").sum()
    ids = adjusted.points["id"][adjusted.points["role"] == "control"].tolist()
    roles = ks.adjust(measured_block, control=ids[:1], **OPTIONS).points
    assert roles["id"][roles["role"] == "control"].tolist() == ids[:1]
    checked = ks.adjust(measured_block, check=ids[:1], **OPTIONS).points
    assert set(checked["id"][checked["role"] == "check"].tolist()) == {ids[0], "CHK001", "CHK002", "CHK003"}
    held = ks.adjust(measured_block, held_above=1e-6, **OPTIONS).parameters
    assert held["held"].all() and not adjusted.parameters["held"][0] and all(held["remedy"])
    on_terrain = ks.adjust(measured_block, surface=surface, surface_sigma=0.2, **OPTIONS)
    assert on_terrain.redundancy > adjusted.redundancy
    assert len(ks.adjust(measured_block, max_iterations=1, **OPTIONS).iterations) < len(adjusted.iterations)
    sparse = ks.adjust(measured_block, plan=(4.0, 1), **OPTIONS)
    assert 0 < len(sparse.image_points) < len(ks.adjust(measured_block, plan=True, **OPTIONS).image_points)


def test_bad_options_are_refused(measured_block: Path, tmp_path: Path) -> None:
    refused: list[tuple[dict[str, Any], str]] = [
        ({"free": ["roll"]}, 'there is no parameter "roll"; there are boresight, lever-arm, focal, offset, rotation, '
                             "bend, scale, time, shift"),
        ({"free": {"boresight": -1.0}}, "free: boresight has no positive standard deviation"),
        ({"free": {"boresight": math.nan}}, "free: boresight has no positive standard deviation"),
        ({"navigation": "cheap"}, "Unknown class of navigation systems: cheap (known: navigation, tactical, mems, "
                                  "standalone)"),
        ({"degree": "square"}, 'degree is "square": it must be linear or cubic'),
        ({"loss": "none"}, 'loss is "none": it must be cauchy, huber or squares'),
        ({"threads": 0}, "threads is 0: it must be at least 1"),
        ({"plan": (0.0, 3)}, "a plan needs a positive interval and number of points"),
    ]
    for options, message in refused:
        with pytest.raises(ValueError) as error:
            ks.adjust(measured_block, **options)
        assert str(error.value) == message
    with pytest.raises(RuntimeError, match="^no ground point has the id X9$"):
        ks.adjust(measured_block, control=["X9"])
    ties = tmp_path / "other.ipt"
    ties.write_text('"T1" 1 2 0.3 0.3 1\n')
    with pytest.raises(RuntimeError, match="other.ipt isn't named after an image of the block$"):
        ks.adjust(measured_block, ties=[ties])


def test_unknown_strips_are_not_found(adjusted: ks.Adjustment, tmp_path: Path) -> None:
    with pytest.raises(ks.NotFoundError, match="^no strip is named Line9$"):
        adjusted.orientation("Line9")
    with pytest.raises(ks.NotFoundError, match="^no strip is named Line9$"):
        adjusted.write_orientation("Line9", tmp_path / "none.eop")


def test_progress_grows_to_one_and_ends_the_work(measured_block: Path) -> None:
    shown: list[float] = []
    result = ks.adjust(measured_block, progress=shown.append, **OPTIONS)
    assert shown == sorted(shown) and shown[-1] == 1.0
    # One for each strip, each step of the iteration, and the end.
    assert shown[2] == 0.3 and len(shown) == 3 + len(result.iterations) + 1

    def stop(done: float) -> None:
        if done > 0.3:
            raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        ks.adjust(measured_block, progress=stop, **OPTIONS)
