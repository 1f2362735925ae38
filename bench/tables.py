#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Tables of points through `kes project`, to the ground and back to the image: million points a second and core, beside
a plain copy of both tables.

tables.py KES DEM FOLDER COUNT RUNS: simulates a flight into FOLDER and projects so many random points of its nadir
image. Processor seconds count, of several runs the least, without those of a table of one point."""

import os
import random
import subprocess
import sys

BAND = "PANN00A"
SIZE = 4000


def seconds(command, output):
    """Processor seconds."""
    with open(output, "wb") as file:
        process = subprocess.Popen(command, stdout=file, env={**os.environ, "OMP_NUM_THREADS": "1"})
        _, status, usage = os.wait4(process.pid, 0)
    if status != 0:
        sys.exit(f"{command[0]} failed")
    return usage.ru_utime + usage.ru_stime


def write_table(name, count):
    numbers = random.Random(1)
    last = SIZE - 1
    with open(name, "w", encoding="ascii") as file:
        file.write("sample,line,height\n")
        for _ in range(count):
            sample, line, height = numbers.uniform(0, last), numbers.uniform(0, last), numbers.uniform(200, 300)
            file.write(f"{sample:.3f},{line:.3f},{height:.2f}\n")


def without_first_columns(table, name):
    with open(table, encoding="ascii") as rows, open(name, "w", encoding="ascii") as file:
        file.writelines(row.split(",", 3)[3] for row in rows)


def main():
    kes, dem, folder = sys.argv[1:4]
    count, runs = map(int, sys.argv[4:6])
    subprocess.run([kes, "simulate", folder, "--dem", dem, "--lines", str(SIZE), "--samples", str(SIZE)], check=True,
                   stdout=subprocess.DEVNULL)
    image, ground, both, back, copy, one = (f"{folder}/{name}.csv"
                                            for name in ("image", "ground", "both", "back", "copy", "one"))

    def project(to, table):
        return [kes, "project", f"{folder}/strip.stp", "--calibrations", f"{folder}/calibration", "--band", BAND,
                "--to", to, table]

    write_table(image, count)
    write_table(one, 1)
    seconds(project("ground", image), both)
    without_first_columns(both, ground)
    start = min(seconds(project("ground", one), copy) for _ in range(runs))
    print(f"{'':28}{'million/s':>12}{'of a copy':>12}")
    for name, to, table in (("CSV to the ground", "ground", image), ("CSV to the image", "image", ground)):
        work = min(seconds(project(to, table), back) for _ in range(runs)) - start
        plain = min(seconds(["cat", table, back], copy) for _ in range(runs))
        print(f"{name:28}{count / work / 1e6:12.2f}{work / plain:12.1f}")


if __name__ == "__main__":
    main()
