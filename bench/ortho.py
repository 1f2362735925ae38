#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Orthophotos of `kes ortho` beside those of gdalwarp: processor seconds, seconds and peak memory.

ortho.py KES DEM FOLDER LINES [RUNS]: simulates a flight of so many lines over the terrain into FOLDER, orthorectifies
its nadir image at 0.25 m with one thread and with two, and with gdalwarp and rational polynomials that are fitted to
the strip: approximated, as is its default (an eighth of a pixel), and pixel by pixel. All write a compressed Cloud
Optimized GeoTIFF with the same pixels, by cubic convolution as wide as the ratio of the pixels' sizes. Of several runs
the least counts.

Polynomials can't follow the flight's jitter: they are off by pixels, which the first lines state. So gdalwarp's work is
that of an orthophoto, but its result isn't one."""

import json
import os
import subprocess
import sys
import time

BAND = "PANN00A"
MAP = "EPSG:32616"
GSD = 0.25
HEIGHTS = ("200", "1100")  # of the terrain, and a bit more


def output_of(*command):
    return subprocess.run(command, check=True, text=True, capture_output=True).stdout


def measured(command):
    """Processor seconds, seconds, and peak memory in MB."""
    start = time.monotonic()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    if status != 0:
        sys.exit(f"{command[0]} failed")
    return usage.ru_utime + usage.ru_stime, time.monotonic() - start, usage.ru_maxrss / 1024


def corners(raster):
    place = json.loads(output_of("gdalinfo", "-json", raster))["cornerCoordinates"]
    return [str(value) for value in place["lowerLeft"] + place["upperRight"]]


def main():
    kes, dem, folder, lines = sys.argv[1:5]
    runs = int(sys.argv[5]) if len(sys.argv) > 5 else 1
    strip, calibrations = f"{folder}/strip.stp", f"{folder}/calibration"
    output_of(kes, "simulate", folder, "--dem", dem, "--lines", lines, "--render", BAND)
    info = json.loads(output_of(kes, "info", strip, "--calibrations", calibrations, "--json"))
    band = next(b for b in info["bands"] if b["id"] == BAND)
    image = f"{folder}/images/{band['image']}"
    fit = os.path.join(os.path.dirname(__file__), "fit_rpc.py")
    print(output_of(sys.executable, fit, kes, strip, calibrations, BAND, *HEIGHTS, image.removesuffix(".tif")), end="")

    ortho = f"{folder}/ortho.tif"

    def ours(threads):
        return [kes, "ortho", strip, "--calibrations", calibrations, "--band", BAND, "--dem", dem, "--crs", MAP,
                "--gsd", str(GSD), "-o", ortho, "--threads", str(threads)]

    def theirs(tolerance):
        scales = [band["gsd"] / GSD, band["gsd"] / GSD / band["scale"]]
        return ["gdalwarp", "-q", "-overwrite", "-rpc", "-to", f"RPC_DEM={dem}", "-et", tolerance, "-r", "cubic",
                "-t_srs", MAP, "-tr", str(GSD), str(GSD), "-te", *extent, "-wo", f"XSCALE={scales[0]}",
                "-wo", f"YSCALE={scales[1]}", "-of", "COG", "-co", "COMPRESS=DEFLATE", "-co", "PREDICTOR=YES",
                "-co", "OVERVIEW_RESAMPLING=AVERAGE", image, f"{folder}/warped.tif"]

    measured(ours(1))  # for the extent
    extent = corners(ortho)
    works = [("kes ortho, one thread", ours(1)), ("kes ortho, two threads", ours(2)),
             ("gdalwarp, approximated", theirs("0.125")), ("gdalwarp, each pixel", theirs("0"))]
    results = {name: (float("inf"),) * 3 for name, _ in works}
    for _ in range(runs):
        for name, command in works:
            results[name] = tuple(map(min, results[name], measured(command)))
    reference = results["gdalwarp, approximated"][0]
    print(f"{'':28}{'CPU s':>10}{'ratio':>10}{'s':>10}{'MB':>10}")
    for name, (cpu, wall, memory) in results.items():
        print(f"{name:28}{cpu:10.1f}{cpu / reference:10.2f}{wall:10.1f}{memory:10.0f}")


if __name__ == "__main__":
    main()
