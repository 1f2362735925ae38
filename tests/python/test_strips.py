# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Strips, blocks, cameras, trajectories, surfaces and products."""

from __future__ import annotations

import json
import os
import pickle
import shutil
from html.parser import HTMLParser
from pathlib import Path

import numpy as np
import pytest
from conftest import DEM

import kessensor as ks


def test_strip_has_its_bands(strip: ks.Strip) -> None:
    assert len(strip) == 10
    assert "PANN00A" in strip and "PANN00X" not in strip and 3 not in strip
    assert strip["PANN00A"].shape == (1200, 800)
    assert strip[-1].id == strip.band_ids[-1]
    assert [band.id for band in strip] == strip.band_ids


def test_band_that_is_not_there(strip: ks.Strip) -> None:
    with pytest.raises(KeyError) as caught:
        strip["PANN99A"]
    assert str(caught.value) == f'strip "Line1" has no band "PANN99A"; it has {", ".join(strip.band_ids)}'
    with pytest.raises(IndexError) as beyond:
        strip[10]
    assert str(beyond.value) == 'strip "Line1" has no band 10; it has 10'


def test_closed_strip_says_so_and_bands_live_on(flight: Path) -> None:
    with ks.Strip(os.fspath(flight)) as strip:
        band = strip["PANN00A"]
    assert strip.closed
    assert repr(strip) == "<Strip, closed>"
    with pytest.raises(ValueError, match="^the strip is closed$"):
        strip["PANN00A"]
    assert band.to_ground(1.0, 1.0).status == ks.Status.OK


def test_strip_that_is_not_there(tmp_path: Path) -> None:
    with pytest.raises(RuntimeError, match="missing.stp"):
        ks.Strip(tmp_path / "missing.stp")


def test_orientation_is_one_of_two(flight: Path) -> None:
    with pytest.raises(ValueError, match='^orientation is "best": it must be adjusted or original$'):
        ks.Strip(flight, orientation="best")  # type: ignore[arg-type]
    with ks.Strip(flight, orientation="original") as original, ks.Strip(flight) as adjusted:
        assert not original.is_adjusted and adjusted.is_adjusted
        assert original.trajectory.file != adjusted.trajectory.file


def test_texts_for_people(strip: ks.Strip, band: ks.Band, surface: ks.Surface) -> None:
    assert repr(strip) == "<Strip 'Line1': 10 bands, adjusted orientation>"
    assert repr(band).startswith("<Band PANN00A: 800 samples, 1200 lines, look ")
    assert repr(surface) == f"<Surface '{DEM}'>"
    assert repr(ks.CoordinateSystem("EPSG:32616")) == "CoordinateSystem('EPSG:32616')"
    assert repr(surface.crs).startswith("<CoordinateSystem 'GEOGCRS[") and len(repr(surface.crs)) < 110


def test_html_escapes_and_closes(strip: ks.Strip, band: ks.Band) -> None:
    class Balance(HTMLParser):
        open_tags: list[str] = []

        def handle_starttag(self, tag: str, attrs: object) -> None:
            self.open_tags.append(tag)

        def handle_endtag(self, tag: str) -> None:
            assert self.open_tags.pop() == tag

    for text in (strip._repr_html_(), band._repr_html_()):
        parser = Balance()
        parser.feed(text)
        assert not parser.open_tags and "PANN00A" in text


def test_pickled_objects_open_again(strip: ks.Strip, surface: ks.Surface) -> None:
    again = pickle.loads(pickle.dumps(strip))
    assert again["PANN00A"].to_ground(5.0, 6.0).x == strip["PANN00A"].to_ground(5.0, 6.0).x
    band = pickle.loads(pickle.dumps(strip["GRNF16A"]))
    assert band.id == "GRNF16A" and band.to_ground(5.0, 6.0).x == strip["GRNF16A"].to_ground(5.0, 6.0).x
    assert pickle.loads(pickle.dumps(surface)).file == surface.file
    trajectory = pickle.loads(pickle.dumps(strip.trajectory))
    assert np.array_equal(trajectory.table(), strip.trajectory.table())
    system = ks.CoordinateSystem("EPSG:32616")
    assert pickle.loads(pickle.dumps(system)) == system and hash(system) == hash(ks.CoordinateSystem("EPSG:32616"))


def test_pickled_strip_whose_files_changed(flight: Path, tmp_path: Path) -> None:
    folder = tmp_path / "copy"
    shutil.copytree(flight.parent, folder)
    with ks.Strip(folder / flight.name, calibrations=[folder / "calibration"]) as strip:
        pickled = [pickle.dumps(strip), pickle.dumps(strip["PANN00A"])]
        line_times = next(Path(file) for file in strip.files if Path(file) != folder / flight.name)
    with open(line_times, "ab") as stream:
        stream.write(b" ")
    for data in pickled:
        with pytest.raises(ValueError) as caught:
            pickle.loads(data)
        expected = f"{folder / flight.name} or a file that belongs to it has changed since it was pickled"
        assert str(caught.value) == expected


def test_pickled_band_whose_strip_is_closed(flight: Path) -> None:
    with ks.Strip(flight) as strip:
        band = strip["PANN00A"]
    assert pickle.loads(pickle.dumps(band)).to_ground(1.0, 2.0).x == band.to_ground(1.0, 2.0).x


def test_surface_without_a_file_is_not_pickled() -> None:
    with pytest.raises(TypeError, match="^a surface without a file can't be pickled$"):
        pickle.dumps(ks.Surface.constant("EPSG:32616", 3.0))


def test_camera_has_its_lines(strip: ks.Strip) -> None:
    camera = strip.camera
    line = camera["PANN00A"]
    assert line.samples == 800 and line in [b for b in camera.bands if b.id == "PANN00A"] or line.id == "PANN00A"
    assert 0.05 < line.focal_length < 0.07 and line.pixel_size == pytest.approx(6.5e-6)
    with pytest.raises(KeyError, match='^camera ".*" has no band "X"; it has '):
        camera["X"]


def test_trajectory_is_a_table(strip: ks.Strip) -> None:
    trajectory = strip.trajectory
    table = trajectory.table()
    assert len(table) == len(trajectory)
    assert table["time"][0] == trajectory.start_time and table["time"][-1] == trajectory.end_time
    norm = sum(table[name].astype(float) ** 2 for name in ("q0", "q1", "q2", "q3"))
    assert np.abs(norm - 1.0).max() < 1e-6
    middle = trajectory.at([(table["time"][10] + table["time"][11]) / 2, np.nan, trajectory.end_time + 1.0])
    assert middle["x"][0] == pytest.approx((table["x"][10] + table["x"][11]) / 2)
    assert np.isnan(middle["x"][1])
    assert middle["extrapolated"].tolist() == [False, False, True]


def test_trajectory_reads_a_file_of_its_own(strip: ks.Strip) -> None:
    alone = ks.Trajectory(strip.trajectory.file)
    assert np.array_equal(alone.table(), strip.trajectory.table())


def test_coordinate_systems_convert_arrays() -> None:
    utm = ks.CoordinateSystem("EPSG:32616")
    # The central meridian of zone 16 is 87 degrees west; its easting is 500 km.
    there = ks.CoordinateSystem.wgs84_degrees().transform(utm, -87.0, [0.0, 10.0], 5.0)
    assert there.x == pytest.approx([500_000.0, 500_000.0], abs=1e-6)
    assert there.y[0] == pytest.approx(0.0, abs=1e-6)
    assert there.status.tolist() == [0, 0]
    back = utm.transform(ks.CoordinateSystem.wgs84_degrees(), *there[:3])
    assert back.y == pytest.approx([0.0, 10.0], abs=1e-9)
    assert utm.horizontal_unit.metres == 1.0
    with pytest.raises(RuntimeError, match='^Can\'t create coordinate system "EPSG:0": '):
        ks.CoordinateSystem("EPSG:0")


def test_local_system_is_metres_at_its_anchor() -> None:
    local = ks.CoordinateSystem.local(-87.0, 36.0, 100.0)
    origin = ks.CoordinateSystem.wgs84_degrees().transform(local, -87.0, 36.0, 103.0)
    assert (float(origin.x), float(origin.y), float(origin.z)) == pytest.approx((0.0, 0.0, 3.0), abs=1e-8)


def test_surface_heights(surface: ks.Surface) -> None:
    low, high = surface.height_range() or (np.nan, np.nan)
    assert 200.0 < low < high < 1200.0
    assert ks.Surface.constant("EPSG:32616", 7.0).heights([1.0, 2.0], 3.0).height.tolist() == [7.0, 7.0]
    outside = surface.heights(1e9, 1e9)
    assert outside.status == ks.Status.NO_SURFACE and np.isnan(outside.height)


def test_block_opens_its_strips(block_file: Path) -> None:
    with ks.Block(block_file) as block:
        assert list(block) == block.strip_names == ["Line1", "Line2"]
        with block["Line2"] as strip:
            assert strip.name == "Line2"
        with pytest.raises(KeyError) as caught:
            block["Line3"]
    assert str(caught.value) == 'block has no strip "Line3"; it has Line1, Line2'
    with pytest.raises(ValueError, match="^the block is closed$"):
        block.crs


def test_footprint_is_geojson(strip: ks.Strip, surface: ks.Surface) -> None:
    collection = ks.footprint(strip, surface)
    assert [feature["properties"]["band"] for feature in collection["features"]] == strip.band_ids
    ring = np.array(collection["features"][0]["geometry"]["coordinates"][0])
    assert ring.shape == (257, 3)
    assert np.array_equal(ring[0], ring[-1])
    assert np.all((ring[:, 0] > -85) & (ring[:, 0] < -84) & (ring[:, 1] > 36) & (ring[:, 1] < 37))


def test_ortho_is_the_same_for_any_threads(strip: ks.Strip, surface: ks.Surface, tmp_path: Path) -> None:
    done: list[float] = []
    for threads in (1, 2):
        ks.ortho(strip, tmp_path / f"{threads}.tif", bands=["PANN00A"], surface=surface, crs="EPSG:32616", gsd=0.5,
                 threads=threads, progress=done.append)
    assert (tmp_path / "1.tif").read_bytes() == (tmp_path / "2.tif").read_bytes()
    assert 0.0 <= min(done) and max(done) == 1.0


def test_exception_of_progress_ends_the_work(strip: ks.Strip, surface: ks.Surface, tmp_path: Path) -> None:
    def stop(done: float) -> None:
        raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        ks.ortho(strip, tmp_path / "ortho.tif", bands=["PANN00A"], surface=surface, crs="EPSG:32616", gsd=0.5,
                 progress=stop)
    assert list(tmp_path.iterdir()) == []


def test_simulate_refuses_what_it_does_not_know(tmp_path: Path) -> None:
    with pytest.raises(TypeError, match=r"^simulate\(\) got an unexpected keyword argument 'line'$"):
        ks.simulate(tmp_path / "flight", DEM, line=3)
    with pytest.raises(TypeError, match=r"^simulate\(\) got an unexpected keyword argument 'cross' without strips$"):
        ks.simulate(tmp_path / "flight", DEM, cross=3)


def test_simulate_has_errors_to_recover(tmp_path: Path) -> None:
    ks.simulate(tmp_path / "flight", DEM, lines=300, samples=64, boresight=(1e-3, 0, -2e-3), focal_length=1e-5,
                gnss_shift="sigma=0.1", navigation="tactical")
    truth = json.loads((tmp_path / "flight" / "truth.json").read_text())
    assert truth["camera"]["boresight"] == [1e-3, 0, -2e-3]
    assert truth["camera"]["focalLength"] == 1e-5
    assert truth["navigation"] == "tactical"
    assert all(0 < abs(value) < 0.6 for value in truth["strips"][0]["gnssShift"])


def test_simulate_has_points_that_test_an_adjustment(tmp_path: Path) -> None:
    ks.simulate(tmp_path / "block", DEM, strips=1, length=2600.0, samples=400, control=2, check=1, survey_sigma=0.0,
                wrong_control=1.0, ties=1.0, blunders=20.0)
    truth = json.loads((tmp_path / "block" / "truth.json").read_text())
    assert [point["id"] for point in truth["groundPoints"]] == ["GCP001", "GCP002", "CHK001"]
    assert [point["surveyed"] == point["position"] for point in truth["groundPoints"]].count(False) == 1
    assert len(truth["tiePoints"]) > 20
    assert truth["blunders"]
    with pytest.raises(TypeError, match=r"^simulate\(\) takes points, or control, check and ties, not both$"):
        ks.simulate(tmp_path / "other", DEM, strips=1, points=3, ties=1.0)
    with pytest.raises(TypeError, match=r"^simulate\(\) takes lines or length, not both$"):
        ks.simulate(tmp_path / "other", DEM, lines=300, length=100.0)
