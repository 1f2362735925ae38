# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Damaged examples are refused, or silently taken, as docs/files.md and the pages below it say."""

import json
import re
from pathlib import Path

import pytest
from flight import needs_tool

GEOMETRY = "calibration/HDB00_90214/v001/HDB00_Geometry_SensorHead-90214-A-70455_DateTime-20100312-141530.xml"
SENSOR = "calibration/HDB00_90214/v001/HDB00_SensorData.xml"
CAM = "calibration/KESA0_30512/v003/PANN00A.cam"

# What is refused.


@needs_tool
@pytest.mark.parametrize(
    ("name", "old", "new", "message"),
    [
        ("line1.stp", '<Strip version="1.0"', '<Strip version="1.00"',
         'Wrong file version: expected "1.0" but saw "1.00"'),
        ("line1.stp", '    <RawData location="raw"/>\n', "", 'Missing element: "RawData"'),
        ("line1.stp", 'sensor_id="30512" ', "", 'Missing attribute "sensor_id" for element "Calibration"!'),
        ("line1.stp", '    <EOP filename="flight.eop"/>\n', "", "failed to open EOP file: "),
        ("line1.stp", 'it="line1.it"', 'it="2,5"', "Can't open file: FOLDER/2,5"),
        ("line1.stp", 'tdi="line1.tdi"', 'tdi="4"', "Can't open file: FOLDER/4"),
    ],
)  # fmt: skip
def test_a_strip_is_refused_as_the_page_says(flight, name, old, new, message):
    flight.replace(name, old, new)
    assert flight.error("info", "line1.stp") == message.replace("FOLDER", str(flight.folder))


@needs_tool
@pytest.mark.parametrize(
    ("old", "new", "message"),
    [
        ('<Block version="1.0"', '<Block version="2"',
         'BlockModelData::readFromFile : wrong file version: expected "1.0" but saw "2"'),
        ('    <CoordinateSystem definition="EPSG:32633"/>\n', "",
         'Error parsing "valley.blf": no element "CoordinateSystem" found.'),
        ('<Strip filename="line1.stp"/>', "<Strip/>",
         'Error parsing "valley.blf": filename attribute must not be empty.'),
    ],
)  # fmt: skip
def test_a_block_is_refused_as_the_page_says(flight, old, new, message):
    flight.replace("valley.blf", old, new)
    assert flight.error("block", "info", "valley.blf") == message


# What is silently taken as what.


@needs_tool
def test_numbers_of_a_strip_file_that_arent_any_are_0(flight):
    flight.replace("line1.stp", 'swath="4"', 'swath="4 0"')
    flight.replace("line1.stp", 'mean_terrain_height="15"', 'mean_terrain_height="35,1"')
    strip = flight.json("info", "line1.stp")
    assert (strip["meanTerrainHeight"], strip["bands"][0]["samples"]) == (0, 0)


@needs_tool
@pytest.mark.parametrize("version", ["3", "3rd", "v 3", "rev3"])
def test_a_version_is_the_number_after_the_first_v(flight, version):
    flight.replace("line1.stp", 'version="v003"', f'version="{version}"')
    assert flight.json("info", "line1.stp")["camera"]["version"] == 3


@needs_tool
@pytest.mark.parametrize("version", ["rev 12 v3", "A3", ""])
def test_other_numbers_of_a_version_dont_count(flight, version):
    flight.replace("line1.stp", 'version="v003"', f'version="{version}"')
    assert flight.run("info", "line1.stp").returncode == 1


@needs_tool
def test_a_decimal_comma_in_an_xml_calibration_is_a_focal_length_of_0(flight):
    flight.replace(GEOMETRY, "62.6432", "62,6432")
    camera = flight.json("camera", "info", "HDB00", "90214", "1", "--calibrations", "calibration")
    assert camera["bands"][0]["focalLength"] == 0


@needs_tool
def test_a_cam_file_that_is_refused_leaves_its_band_out(flight):
    (flight.folder / Path(CAM).with_name("other.cam")).write_bytes(
        (flight.folder / CAM).read_bytes().replace(b"PANN00A", b"PANB14A")
    )
    flight.replace(CAM, "62.70000", "62,70000")
    camera = flight.json("camera", "info", "KESA0", "30512", "3", "--calibrations", "calibration")
    assert [band["id"] for band in camera["bands"]] == ["PANB14A"]


@needs_tool
def test_a_wavelength_of_a_cam_file_wins_over_the_table(flight):
    flight.replace(CAM, "START_XY\n", "CENTER_WAVELENGTH_NM 600\nSTART_XY\n")
    camera = flight.json("camera", "info", "KESA0", "30512", "3", "--calibrations", "calibration")
    assert camera["bands"][0]["centerWavelength"] == pytest.approx(600e-9, rel=1e-6)
    assert camera["bands"][0]["bandWidth"] == pytest.approx(250e-9, rel=1e-6)


@needs_tool
def test_the_mount_offset_of_a_cam_file_changes_no_projection(flight):
    (flight.folder / "points.csv").write_text("sample,line,height\n3,1,15\n")
    project = ("project", "line1.stp", "points.csv", "--band", "PANN00A", "--to", "ground", "--frame", "lsr")
    before = flight.run(*project).stdout
    flight.replace(CAM, "MNT_Z_OFFSET\t0.17100", "MNT_Z_OFFSET\t9.00000")
    flight.replace(str(Path(CAM).with_name("misalignment.dat")), "0.0002154000", "0.5000000000")
    assert flight.run(*project).stdout == before


@needs_tool
@pytest.mark.parametrize(
    ("old", "new"),
    [
        ("<in>0 4000 16383</in>", "<in>0 4000x 16383</in>"),
        ("<in>0 4000 16383</in>", "<in>0 17000 16383</in>"),
        ('<ImagingPixels Value="4"/>', "<ImagingPixels/>"),
        ("<Type>PANN00A</Type>", "<Type>PANN00</Type>"),
        ('<SensorData Version="1.0.0">', '<SensorData Version="1.1.0">'),
        ('<Lookup ColumnStart="2" Columns="2"><in>0 16383</in><out>0 16383</out></Lookup>', ""),
    ],
)
def test_a_fault_of_an_xml_calibration_refuses_the_camera(flight, old, new):
    flight.replace(SENSOR, old, new)
    done = flight.run("camera", "info", "HDB00", "90214", "1", "--calibrations", "calibration")
    assert done.returncode == 1


@needs_tool
@pytest.mark.parametrize(
    ("old", "new"),
    [
        ("<Type>PANN00A</Type>", "<Type>Line_pann00a</Type>"),
        ('Version="1.0.0"', 'Version="1.0.77"'),
        (' Version="1.0.0"', ""),
        ("<in>0 4000 16383</in>", "<in> 0\n4000\t16383 </in>"),
        ('<Sensor i="0">', '<Sensor i="0" Disabled="1">'),
    ],
)
def test_what_an_xml_calibration_may_have_changes_nothing(flight, old, new):
    camera = ("camera", "info", "HDB00", "90214", "1", "--calibrations", "calibration")
    before = flight.json(*camera)
    flight.replace(SENSOR, old, new)
    assert flight.json(*camera) == before


@needs_tool
def test_a_sparse_grid_spreads_over_the_line(flight):
    flight.replace(
        "line1.stp",
        'version="v003" sensor_id="30512" sensor_type="KESA0"',
        'version="v001" sensor_id="90214" sensor_type="HDB00"',
    )
    (flight.folder / "points.csv").write_text("sample,line,height\n1,1,15\n2,1,15\n")
    project = ("project", "line1.stp", "points.csv", "--band", "PANN00A", "--to", "ground", "--frame", "lsr")
    table = (flight.folder / GEOMETRY).read_text()
    before = flight.run(*project).stdout
    # The first and the last of four pixels.
    lists = re.compile(r"(<(?:Sigma)?(?:Row|Column)_mm>\S+) \S+ \S+ (\S+)<")
    table, count = lists.subn(r"\1 \2<", table)
    assert count == 4
    table = table.replace('Channel="PANN00A" Columns="4"', 'Channel="PANN00A" Columns="2"')
    (flight.folder / GEOMETRY).write_text(table)
    after = flight.run(*project).stdout
    assert len(after.splitlines()) == 3
    for dense, sparse in zip(before.splitlines()[1:], after.splitlines()[1:], strict=True):
        # The pixels between lie a hundred-thousandth of a millimetre off the straight line, 0.3 mm on the ground.
        assert [float(x) for x in sparse.split(",")] == pytest.approx([float(x) for x in dense.split(",")], abs=0.001)


@needs_tool
def test_the_time_of_a_quick_look_is_local_and_that_of_a_camera_isnt(flight):
    camera = ("HDB00", "90214", "1", "--calibrations", "calibration", "--json")
    info = json.loads(flight.run("camera", "info", *camera, TZ="XXX-3").stdout)
    quick = json.loads(flight.run("camera", "quick", *camera, TZ="XXX-3").stdout)
    assert info["bands"][0]["calibrated"] == "2010-03-12T14:15:30Z"
    assert quick["created"] == "2010-03-12T11:15:30Z"


@needs_tool
@pytest.mark.parametrize(
    ("camera", "name"),
    [
        (("KESA0", "30512", "3"), "calibration/KESA0_30512/v003/misalignment.dat"),
        (("HDB00", "90214", "1"), SENSOR),
    ],
)
def test_mandatory_files_of_a_calibration_must_be_there(flight, camera, name):
    (flight.folder / name).unlink()
    assert flight.run("camera", "info", *camera, "--calibrations", "calibration").returncode == 1


@needs_tool
def test_a_second_file_with_the_same_word_refuses_an_xml_calibration(flight):
    (flight.folder / SENSOR).with_name("old_sensordata.txt").write_text("")
    done = flight.run("camera", "info", "HDB00", "90214", "1", "--calibrations", "calibration")
    assert done.returncode == 1
