# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Options of orthophotos, footprints and surfaces."""

from __future__ import annotations

import json
import pickle
import subprocess
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from conftest import DEM

import kessensor as ks


def facts(file: Path) -> Any:
    """What gdalinfo says of a raster."""
    run = subprocess.run(["gdalinfo", "-json", "-stats", file], check=True, capture_output=True, text=True)
    return json.loads(run.stdout)


def make(strip: ks.Strip | ks.Block, file: Path, surface: ks.Surface, **options: Any) -> Any:
    """An orthophoto of the nadir band, and its facts."""
    ks.ortho(strip, file, bands=["PANN00A"], surface=surface, **options)
    return facts(file)


UTM = {"crs": "EPSG:32616", "gsd": 1.0}


@pytest.fixture(scope="module")
def whole(flight: Path, surface: ks.Surface, tmp_path_factory: pytest.TempPathFactory) -> Path:
    """An orthophoto without further options."""
    file = tmp_path_factory.mktemp("ortho") / "whole.tif"
    with ks.Strip(flight) as strip:
        make(strip, file, surface, **UTM)
    return file


def test_extent_is_the_box_that_is_made(whole: Path, strip: ks.Strip, surface: ks.Surface, tmp_path: Path) -> None:
    x, _, _, y, _, _ = facts(whole)["geoTransform"]
    found = make(strip, tmp_path / "box.tif", surface, extent=(x + 100.25, y - 180.5, x + 150, y - 100), **UTM)
    assert found["geoTransform"] == [x + 100.0, 1.0, 0.0, y - 100.0, 0.0, -1.0]
    assert found["size"] == [50, 81]


def test_like_and_grid_are_the_pixels(whole: Path, strip: ks.Strip, surface: ks.Surface, tmp_path: Path) -> None:
    expected = facts(whole)
    found = make(strip, tmp_path / "like.tif", surface, like=whole)
    assert (found["geoTransform"], found["size"]) == (expected["geoTransform"], expected["size"])
    assert found["bands"][0]["mean"] == expected["bands"][0]["mean"]
    x, _, _, y, _, _ = expected["geoTransform"]
    grid = ks.Grid((x + 100.0, 2.0, 0.0, y - 100.0, 0.0, -2.0), 30, 40)
    on_grid = make(strip, tmp_path / "grid.tif", surface, crs="EPSG:32616", grid=grid)
    assert (on_grid["geoTransform"], on_grid["size"]) == (list(grid.transform), [30, 40])


def test_cut_type_scale_and_format(whole: Path, strip: ks.Strip, surface: ks.Surface, tmp_path: Path) -> None:
    x, _, _, y, _, _ = facts(whole)["geoTransform"]
    left, top = x + 100.0, y - 100.0
    ring = [[left, top], [left + 40, top], [left + 40, top - 60], [left, top - 60], [left, top]]
    cut = {
        "type": "FeatureCollection",
        "crs": {"type": "name", "properties": {"name": "urn:ogc:def:crs:EPSG::32616"}},
        "features": [{"type": "Feature", "properties": {}, "geometry": {"type": "Polygon", "coordinates": [ring]}}],
    }
    (tmp_path / "cut.geojson").write_text(json.dumps(cut))
    found = make(strip, tmp_path / "cut.tif", surface, cut=tmp_path / "cut.geojson", type=np.float32, scale=(0, 65536),
                 format="GTiff", creation_options=["COMPRESS=DEFLATE"], record=False, nodata=-1.0, **UTM)
    assert found["geoTransform"][0] == left and found["size"] == [40, 60]
    band = found["bands"][0]
    assert band["type"] == "Float32" and band["noDataValue"] == -1.0 and "overviews" not in band
    assert 0.0 < band["mean"] < 1.0
    assert found["metadata"]["IMAGE_STRUCTURE"]["COMPRESSION"] == "DEFLATE"
    assert not any(name.startswith("KES_") for name in found["metadata"].get("", {}))
    assert any(name.startswith("KES_") for name in facts(whole)["metadata"][""])


def test_block_is_the_same_for_any_limit_of_strips(block_images: Path, surface: ks.Surface, tmp_path: Path) -> None:
    with ks.Block(block_images) as block:
        for limit in (1, 2):
            make(block, tmp_path / f"{limit}.tif", surface, strip_limit=limit, **UTM)
        strips = [block[name] for name in block]
        ks.ortho(strips, tmp_path / "open.tif", bands=["PANN00A"], surface=surface, crs="EPSG:32616", gsd=1.0)
        with pytest.raises(ValueError, match="^strip_limit is 0: it must be at least 1$"):
            make(block, tmp_path / "0.tif", surface, strip_limit=0, **UTM)
    expected = (tmp_path / "1.tif").read_bytes()
    assert expected == (tmp_path / "2.tif").read_bytes() == (tmp_path / "open.tif").read_bytes()


@pytest.mark.parametrize(
    ("options", "message"),
    [
        ({"gsd": 1.0}, "crs or like: one of them must be given"),
        ({"crs": "EPSG:32616"}, "gsd, grid or like: one of them must be given"),
        ({"like": "a.tif", "gsd": 1.0}, "like: crs, gsd, extent and grid don't go with it"),
        ({"crs": "EPSG:32616", "grid": ks.Grid((0, 1, 0, 0, 0, -1), 1, 1), "gsd": 1.0},
         "grid: gsd and extent don't go with it"),
    ],
)
def test_places_that_do_not_go_together(
    strip: ks.Strip, surface: ks.Surface, tmp_path: Path, options: dict[str, Any], message: str
) -> None:
    with pytest.raises(TypeError) as caught:
        make(strip, tmp_path / "ortho.tif", surface, **options)
    assert str(caught.value) == message


@pytest.mark.parametrize(
    ("option", "message"),
    [
        ({"resampling": "lanczos"}, 'resampling is "lanczos": it must be nearest, bilinear or cubic'),
        ({"format": "PNG"}, 'format is "PNG": it must be COG or GTiff'),
        ({"type": "int8"}, 'type is "int8": it must be uint8, uint16, int16, uint32, int32, float32 or float64'),
    ],
)
def test_choices_that_are_not_known(
    strip: ks.Strip, surface: ks.Surface, tmp_path: Path, option: dict[str, Any], message: str
) -> None:
    with pytest.raises(ValueError) as caught:
        make(strip, tmp_path / "ortho.tif", surface, **UTM, **option)
    assert str(caught.value) == message


def test_vertical_datum_is_that_of_the_heights(surface: ks.Surface) -> None:
    assert not surface.has_vertical_datum
    on_geoid = ks.Surface(DEM, vertical="EPSG:5773")
    assert on_geoid.has_vertical_datum
    again = pickle.loads(pickle.dumps(on_geoid))
    assert again.has_vertical_datum and again.crs == on_geoid.crs
    with pytest.raises(RuntimeError, match='"EPSG:4326" isn\'t a vertical coordinate system$'):
        ks.Surface(DEM, vertical="EPSG:4326")


def test_footprint_has_lines_on_demand(band: ks.Band, surface: ks.Surface) -> None:
    outline, *lines = ks.footprint(band, surface, every=500)["features"]
    assert outline["geometry"]["type"] == "Polygon"
    assert [line["properties"]["line"] for line in lines] == [0, 500, 1000, 1199]
    for line in lines:
        number = line["properties"]["line"]
        assert line["geometry"]["type"] == "LineString" and line["properties"]["band"] == "PANN00A"
        assert line["properties"]["time"] == band.times(float(number)).time
        points = np.array(line["geometry"]["coordinates"])
        expected = band.to_ground([-0.5, 799.5], number, surface=surface, frame="map")
        assert np.array_equal(points[[0, -1]], np.column_stack(expected[:3]))
    with pytest.raises(ValueError, match="^every is 0: it must be at least 1$"):
        ks.footprint(band, surface, every=0)


def test_footprint_in_another_system(band: ks.Band, surface: ks.Surface) -> None:
    utm = ks.CoordinateSystem("EPSG:32616")
    there = np.array(ks.footprint(band, surface, crs=utm)["features"][0]["geometry"]["coordinates"][0])
    degrees = np.array(ks.footprint(band, surface)["features"][0]["geometry"]["coordinates"][0])
    expected = ks.CoordinateSystem.wgs84_degrees().transform(utm, *degrees.T)
    assert there[:, 0] == pytest.approx(expected.x, abs=2e-3) and there[:, 1] == pytest.approx(expected.y, abs=2e-3)
