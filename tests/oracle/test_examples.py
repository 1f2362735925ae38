# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The example files of docs/files.md and the pages below it are a flight that the library reads, with the values that the
pages state; and damaged examples are refused, or silently taken, as the pages say."""

import json
import math
import os
import re
import subprocess
from pathlib import Path

import numpy as np
import pytest
from comparison import library_values
from examples import BLOCK, examples, write_examples

ROOT = Path(__file__).parents[2]
PAGES = ROOT / "docs" / "files"
PROGRAM = os.environ["KESSENSOR_VALUES"]
TOOL = os.environ.get("KESSENSOR_TOOL")
needs_tool = pytest.mark.skipif(TOOL is None, reason="without the tool")

GEOMETRY = "calibration/HDB00_90214/v001/HDB00_Geometry_SensorHead-90214-A-70455_DateTime-20100312-141530.xml"
SENSOR = "calibration/HDB00_90214/v001/HDB00_SensorData.xml"
CAM = "calibration/KESA0_30512/v003/PANN00A.cam"


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


@pytest.fixture
def flight(tmp_path: Path) -> Flight:
    return Flight(tmp_path)


def doubles(digits: object) -> np.ndarray:
    return np.frombuffer(bytes.fromhex(str(digits)), "<f8")


def floats(digits: object) -> np.ndarray:
    return np.frombuffer(bytes.fromhex(str(digits)), "<f4")


# What the pages have.


def test_each_format_has_an_example():
    suffixes = {Path(name).suffix for name in examples(PAGES)}
    assert suffixes == {
        *(".stp", ".blf", ".gpt", ".ipt", ".flt", ".stat", ".eop", ".odf", ".sup", ".ctg", ".ctgl", ".it", ".tdi"),
        *(".cam", ".xml", ".dat", ".txt"),
    }


def test_each_block_in_the_notation_is_an_example():
    for page in PAGES.glob("*.md"):
        text = page.read_text()
        assert len(re.findall("^<!-- file: ", text, re.MULTILINE)) == len(BLOCK.findall(text)), page


def test_all_names_that_files_have_are_on_the_pages():
    pages = "".join(page.read_text() for page in PAGES.glob("*.md"))
    words = set(re.findall(r"[\w.]+", pages))
    for header in ("CalibrationXml.h", "CamFile.h", "EopFile.h", "ProjectFiles.h"):
        text = (ROOT / "files" / "include" / "files" / "formats" / header).read_text()
        names = set(re.findall(r'[={] ?"([A-Za-z]\w+)"', text))
        assert len(names) > 5
        assert names - words == set(), header


def test_links_between_the_pages_lead_to_a_heading():
    pages = {page.resolve(): page.read_text() for page in [ROOT / "docs" / "files.md", *PAGES.glob("*.md")]}
    for page, text in pages.items():
        for target, anchor in re.findall(r"\]\(([\w./]*)#([\w-]+)\)", text):
            other = (page.parent / target).resolve() if target else page
            headings = re.findall(r"^#+ (.+)$", pages[other], re.MULTILINE)
            slugs = {re.sub(r"[^\w -]", "", heading).lower().replace(" ", "-") for heading in headings}
            assert anchor in slugs, f"{page}: {target}#{anchor}"


# What the library reads from them.


def test_the_versions_of_an_orientation_file_hold_the_same_record(flight):
    versions = [flight.values("eop", name) for name in ("version1.eop", "version2.eop", "flight.eop")]
    assert [values["version"] for values in versions] == [1, 2, 3]
    for values in versions:
        assert doubles(values["places"])[:4].tolist() == [316389.0, -70.0, 0.5, 1800.0]
        assert doubles(values["anchor"]).tolist() == [0.272, 0.8393, 421.0]
        assert values["attitudes"][:40] == versions[0]["attitudes"][:40]
    assert floats(versions[2]["deviations"]) == pytest.approx(
        [0.02, 0.02, 0.04, 5e-6, 5e-6, 1e-5, 0.03, 0.03, 0.05, 5e-6, 5e-6, 1.5e-5], rel=1e-6
    )


def test_tables_of_lines_hold_what_is_beside_their_bytes(flight):
    times = flight.values("ctg", "line1.ctg")
    assert doubles(times["times"]).tolist() == [316389.25, 316389.5, 316389.625, 316389.75]
    changes = [[*doubles(time), *doubles(cycle), line] for time, cycle, line in times["changes"]]
    assert changes == [[316389.25, 250000 * 1e-6, 0], [316389.5, 125000 * 1e-6, 1]]
    smallest, largest = floats(flight.values("it", "line1.it")["values"])[:2]
    assert (smallest, largest) == (np.float32(0.002), np.float32(0.0025))
    assert floats(flight.values("tdi", "line1.tdi")["values"])[:2].tolist() == [1.0, 4.0]


def test_statistics_hold_what_the_example_shows(flight):
    values = flight.values("stat", "images/line1.stat")
    assert (values["minimum"], values["maximum"], values["mean"]) == (100, 103, 101.25)
    assert (values["ends"], values["counts"]) == ([99.5, 103.5], [2, 9, 4, 1])
    grey = np.repeat([100, 101, 102, 103], [2, 9, 4, 1])
    assert values["mean"] == grey.mean()
    assert values["deviation"] == pytest.approx(grey.std(), abs=1e-12)


def test_points_hold_what_the_examples_show(flight):
    first, second = flight.values("gpt", "control/controls.gpt")["points"]
    assert bytes.fromhex(first[0]) == b"GCP 1"
    assert doubles(first[1]).tolist() == [543521.2523, 5326305.6242, 436.0, 0.05, 0.05, 0.08]
    assert (first[2], bytes.fromhex(second[0]), second[2]) == (1, b"CHK3", 0)
    [[point_id, values, active]] = flight.values("ipt", "line1.ipt")["points"]
    assert (bytes.fromhex(point_id), doubles(values).tolist(), active) == (b"GCP 1", [1.25, 1.0, 0.25, 0.25], True)


@needs_tool
def test_an_orientation_file_of_a_sensor_line_unpacks_to_what_is_beside_its_bytes(flight):
    flight.run("odf", "convert", "odf/PANN00A.odf", "records.csv", "--to", "csv")
    assert (flight.folder / "records.csv").read_text().splitlines()[1] == (
        "316389.5,-70,0.5,1800,0.01,-0.02,0.03,0.02,0.02,0.04,5e-06,5e-06,1e-05"
    )


@needs_tool
def test_the_listing_on_the_page_is_that_of_the_orientation_file(flight):
    flight.run("eop", "convert", "flight.eop", "listing.txt", "--to", "ascii")
    page = (PAGES / "orientation.md").read_text()
    assert f"```\n{(flight.folder / 'listing.txt').read_text()}```\n" in page


@needs_tool
def test_both_cameras_are_read(flight):
    cam = flight.json("camera", "info", "KESA0", "30512", "3", "--calibrations", "calibration")
    xml = flight.json("camera", "info", "HDB00", "90214", "1", "--calibrations", "calibration")
    assert cam["versionInfo"] == "Laboratory calibration of March 2010.\n"
    assert xml["versionInfo"] == "Made in Works, Test bench (first)"
    for camera, focal_length, gain, source in ((cam, 62.7, 1.0, "Laboratory"), (xml, 62.6432, 0.85, "Works")):
        [band] = camera["bands"]
        assert (band["id"], band["samples"], band["imagingSamples"], band["source"]) == ("PANN00A", 4, 4, source)
        assert band["focalLength"] == pytest.approx(focal_length * 1e-3, rel=1e-6)
        assert band["radiometricGain"] == pytest.approx(gain, rel=1e-6)
        # The spectral values of the first are those of radiocal.xml.
        assert (band["centerWavelength"], band["bandWidth"]) == pytest.approx((580.5e-9, 250e-9), rel=1e-6)
        assert band["calibrated"] == "2010-03-12T14:15:30Z"
    assert cam["misalignment"]["kappa"] == pytest.approx(math.degrees(0.0006032), abs=1e-12)
    assert xml["misalignment"]["stdDevPhi"] == pytest.approx(0.0002, abs=1e-12)


@needs_tool
def test_the_block_opens_and_its_points_fit(flight):
    block = flight.json("block", "info", "valley.blf")
    assert (block["name"], block["description"]) == ("Valley", "Two flights of one day")
    assert (block["coordinateSystem"], block["groundPoints"]["points"]) == ("EPSG:32633", 2)
    assert block["elevationModels"] + block["referenceImages"] == ["/data/terrain.tif", "/data/ortho.tif"]
    largest = flight.json("points", "residuals", "valley.blf")["statistics"]["largest"]
    assert largest["sample"] < 0.01
    assert largest["line"] < 0.01


@needs_tool
def test_the_legacy_file_names_its_folders(flight):
    paths = flight.json("legacy", "flight.flt")
    parent = flight.folder.parent
    assert (paths["positions"]["folder"], paths["raw"]["folder"]) == (str(parent / "pos"), str(parent / "raw"))
    assert (paths["mm"]["folder"], paths["images"]) == ("/data/mm", None)


def elementary(axis: int, angle: float) -> np.ndarray:
    """The matrices of the page."""
    c, s = math.cos(angle), math.sin(angle)
    return np.array(
        [
            [[1, 0, 0], [0, c, -s], [0, s, c]],
            [[c, 0, s], [0, 1, 0], [-s, 0, c]],
            [[c, -s, 0], [s, c, 0], [0, 0, 1]],
        ][axis]
    )


@needs_tool
def test_a_ray_goes_where_the_rotation_on_the_page_turns_it(flight):
    # Line 1 is exposed at 316389.5, halfway between the records, which are so alike that their angles mix.
    omega, phi, kappa = 0.01125, -0.01875, 0.0325
    rotation = elementary(0, omega) @ elementary(1, phi) @ elementary(2, kappa)
    ray = rotation @ [0.00012, 0.00975, -62.7]
    camera = np.array([-35.0, 0.625, 1800.125])
    expected = camera + ray * (15 - camera[2]) / ray[2]
    (flight.folder / "points.csv").write_text("sample,line,height\n3,1,15\n")
    done = flight.run("project", "line1.stp", "points.csv", "--band", "PANN00A", "--to", "ground", "--frame", "lsr")
    assert done.returncode == 0, done.stderr
    x, y, z = map(float, done.stdout.splitlines()[1].split(",")[3:6])
    assert (x, y, z) == pytest.approx(expected, abs=0.005)


@needs_tool
def test_the_support_file_describes_the_flight(flight):
    flight.run("support", "export", "line1.stp", "exported.sup", "--band", "PANN00A", "--original", "odf/PANN00A.odf",
               "--adjusted", "odf/PANN00A.adj.odf")  # fmt: skip
    shown = (flight.folder / "odf/PANN00A.sup").read_text().splitlines()
    exported = (flight.folder / "exported.sup").read_text().splitlines()
    own = ("IMAGE_FILE_NAME", "PHOTO_DATE", "IMAGE_DATE", "ORIGINAL_CALIBRATION")
    assert [line for line in exported if not line.startswith(own)] == [line for line in shown if not line.startswith(own)]
    assert [line.split()[0] for line in exported] == [line.split()[0] for line in shown]
    entries = flight.json("support", "info", "odf/PANN00A.sup")
    longitude, latitude = 0.272, 0.8393
    east = [-math.sin(longitude), math.cos(longitude), 0]
    up = [math.cos(longitude) * math.cos(latitude), math.sin(longitude) * math.cos(latitude), math.sin(latitude)]
    assert entries["basis"] == pytest.approx([*east, *np.cross(up, east), *up], abs=1e-12)


@needs_tool
def test_a_support_file_leads_a_merge_to_its_orientation_file(flight):
    one = (flight.folder / "odf/PANN00A.odf").read_bytes()
    assert one[176:178] == b"1\0"
    record = np.array([10000, -69000, 500, 0, 0, 0, 0], "<i4").tobytes() + bytes(12)
    (flight.folder / "odf/two.odf").write_bytes(one[:176] + b"2" + one[177:] + record)
    flight.replace("odf/PANN00A.sup", "ORIGINAL_ORIENTATION odf/PANN00A.odf", "ORIGINAL_ORIENTATION odf/two.odf")
    done = flight.run("odf", "merge", "merged.eop", "--support", "odf/PANN00A.sup")
    assert done.returncode == 0, done.stderr
    values = flight.values("eop", "merged.eop")
    assert doubles(values["places"]).tolist() == [316389.5, -70, 0.5, 1800, 316390, -69, 0.5, 1800]
    assert doubles(values["anchor"]) == pytest.approx([0.272, 0.8393, 0])


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
    (flight.folder / GEOMETRY).write_text(table.replace('Channel="PANN00A" Columns="4"', 'Channel="PANN00A" Columns="2"'))
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
