#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Counts the instructions that a point takes in each projection, with valgrind's callgrind: that of a run with many
points less that of a run with few, and less what making the points takes."""

import os
import re
import subprocess
import sys
import tempfile

KERNELS = ("imageToLsr", "lsrToImage", "lsrToImage-run", "lsrToImageSSE", "precise-toGround-run", "precise-toImage",
           "precise-toImage-run")
FEW, MANY = 4000, 12000


def instructions(program, strip, calibrations, kernel, count):
    with tempfile.NamedTemporaryFile() as out:
        command = ["valgrind", "--tool=callgrind", f"--callgrind-out-file={out.name}", program, strip, calibrations,
                   kernel, str(count)]
        # Files are read in parallel, and threads that wait count instructions, too.
        run = subprocess.run(command, capture_output=True, text=True, check=True,
                             env={**os.environ, "OMP_NUM_THREADS": "1"})
    return int(re.search(r"Collected : (\d+)", run.stderr).group(1))


def per_point(arguments, kernel):
    return (instructions(*arguments, kernel, MANY) - instructions(*arguments, kernel, FEW)) / (MANY - FEW)


def main():
    arguments = sys.argv[1:4]
    making = per_point(arguments, "none")
    print(f"{'':48}{'instructions an item':>26}")
    for kernel in KERNELS:
        print(f"{kernel:48}{per_point(arguments, kernel) - making:26.0f}")


if __name__ == "__main__":
    main()
