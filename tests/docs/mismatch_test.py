#!/usr/bin/python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The mismatch that scripts/examples/mismatch.py measures, against shifts that the orthophotos were made with; and what
it and the demo's painter say when they fail."""

import math
import os
import resource
import subprocess
import tempfile
import unittest
from pathlib import Path

import numpy as np
from osgeo import gdal, osr

gdal.UseExceptions()
ROOT = Path(__file__).parents[2]
SCRIPT = ROOT / "scripts/examples/mismatch.py"
PAINTER = ROOT / "scripts/demo/landscape.py"
GSD = 0.25
SIZE = 400


def waves():
    """A brightness with no period within the reach of a search: amplitudes, wave numbers and phases of 150 waves, none
    shorter than five pixels."""
    random = np.random.default_rng(5)
    length, direction = random.uniform(5, 60, 150), random.uniform(0, np.pi, 150)
    number = 2 * np.pi / length
    amplitude, phase = random.uniform(50, 150, 150), random.uniform(0, 6, 150)
    return amplitude, number * np.cos(direction), number * np.sin(direction), phase


class Mismatch(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def ortho(self, name, east=0.0, north=0.0, gain=1.0, offset=0.0, corner=0, gsd=GSD, noise=0.0):
        """An orthophoto whose contents are moved by so many pixels; `corner` moves its box, not its contents."""
        column, row = np.meshgrid(np.arange(SIZE) + corner - east, np.arange(SIZE) + north)
        values = np.full((SIZE, SIZE), 5000.0)
        for amplitude, along, down, phase in zip(*waves(), strict=True):
            values += amplitude * np.cos(along * column + down * row + phase)
        values = gain * values + offset + noise * np.random.default_rng(len(name)).standard_normal(values.shape)
        raster = gdal.GetDriverByName("GTiff").Create(str(self.folder / name), SIZE, SIZE, 1, gdal.GDT_Float32)
        system = osr.SpatialReference()
        system.ImportFromEPSG(32616)
        raster.SetProjection(system.ExportToWkt())
        raster.SetGeoTransform([700000 + corner * gsd, gsd, 0, 4050000, 0, -gsd])
        raster.GetRasterBand(1).SetNoDataValue(0)
        values[:30] = 0
        raster.GetRasterBand(1).WriteArray(values)
        return name

    def run_script(self, *arguments, **options):
        command = [str(SCRIPT), *map(str, arguments)]
        return subprocess.run(command, cwd=self.folder, capture_output=True, text=True, check=False, **options)

    def places(self, *arguments):
        done = self.run_script("--csv", *arguments)
        self.assertEqual(done.returncode, 0, done.stderr)
        header, *rows = done.stdout.splitlines()
        self.assertEqual(header, "x,y,east,north,correlation")
        return np.array([[float(field) for field in row.split(",")] for row in rows])

    def test_known_shift_is_found_to_a_hundredth_of_a_pixel(self):
        for east, north in ((0.0, 0.0), (7.25, -3.6), (-0.5, 0.5), (-21.4, 17.8)):
            a, b = self.ortho("a.tif"), self.ortho("b.tif", east, north, gain=0.6, offset=900, corner=40)
            places = self.places(a, b)
            self.assertGreater(len(places), 3)
            np.testing.assert_allclose(places[:, 2], east, atol=0.015)
            np.testing.assert_allclose(places[:, 3], north, atol=0.015)
            # Windows and their search end at the box of B, whose contents begin 30 rows down.
            self.assertGreaterEqual(places[:, 0].min(), 700000 + (40 + 55) * GSD)
            self.assertLessEqual(places[:, 0].max(), 700000 + (SIZE - 55) * GSD)
            self.assertLessEqual(places[:, 1].max(), 4050000 - (30 + 55) * GSD)

    def test_noise_costs_precision_and_no_place_is_wrong(self):
        places = self.places(self.ortho("a.tif", noise=100), self.ortho("bb.tif", 3.3, 1.7, noise=100))
        np.testing.assert_allclose(places[:, 2:4], [[3.3, 1.7]] * len(places), atol=0.15)

    def test_summary_has_lengths_in_pixels(self):
        done = self.run_script(self.ortho("a.tif"), self.ortho("b.tif", 3.0, -4.0))
        # The hypotenuse of 3 and 4.
        self.assertRegex(done.stdout, r"^\d+ places, 0 left out; mismatch in pixels: median 5.00, 90 % below 5.00, ")

    def test_shift_beyond_the_reach_is_no_match(self):
        done = self.run_script("--reach", 8, self.ortho("a.tif"), self.ortho("b.tif", 30.0, 0.0))
        self.assertEqual((done.returncode, done.stderr), (1, "mismatch.py: error: the orthophotos match nowhere\n"))

    def test_orthophotos_that_dont_fit_are_refused(self):
        done = self.run_script(self.ortho("a.tif"), self.ortho("b.tif", gsd=0.5))
        message = "pixels of a.tif and b.tif don't lie on one another: make both with one --crs and --gsd"
        self.assertEqual((done.returncode, done.stderr), (1, f"mismatch.py: error: {message}\n"))

    def test_missing_file_is_named(self):
        done = self.run_script(self.ortho("a.tif"), "none.tif")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"^mismatch.py: error: .*none.tif.*\n$")

    def test_full_disk_is_reported(self):
        with open("/dev/full", "w") as full:
            command = [str(SCRIPT), self.ortho("a.tif"), self.ortho("b.tif")]
            done = subprocess.run(command, cwd=self.folder, stdout=full, stderr=subprocess.PIPE, text=True, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"^mismatch.py: error: .*No space left on device\n")


class Painter(unittest.TestCase):
    def test_failed_write_leaves_no_landscape_and_the_next_run_makes_it(self):
        with tempfile.TemporaryDirectory() as folder:
            output = Path(folder) / "landscape.tif"
            command = [str(PAINTER), str(output), "EPSG:32616", "745700", "4052100", "745900", "4052300"]

            def limit():
                resource.setrlimit(resource.RLIMIT_FSIZE, (100000, 100000))

            done = subprocess.run(command, capture_output=True, text=True, check=False, preexec_fn=limit)
            self.assertEqual(done.returncode, 1)
            self.assertIn("landscape.py: error: ", done.stderr)
            self.assertEqual(os.listdir(folder), [])
            subprocess.run(command, check=True)
            raster = gdal.Open(str(output))
            self.assertEqual((raster.RasterXSize, raster.RasterYSize), (500, 500))
            self.assertGreater(raster.ReadAsArray().min(), 0)
            self.assertTrue(math.isclose(raster.GetGeoTransform()[3], 4052300))


if __name__ == "__main__":
    unittest.main()
