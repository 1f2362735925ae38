# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The example files of docs/files.md and the pages below it are a flight that the library reads, with the values that
the pages state."""

import math
import re
from pathlib import Path

import numpy as np
import pytest
from examples import BLOCK, examples
from flight import PAGES, ROOT, needs_tool


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
    others = [[line for line in lines if not line.startswith(own)] for lines in (exported, shown)]
    assert others[0] == others[1]
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
