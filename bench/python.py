#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""python.py PEER TERRAIN FOLDER [RUNS]: the Python package beside C++ (the program PEER) on the same million positions,
in turns: nanoseconds a point, and what a call of one point costs. Both write into arrays that are there. PYTHONPATH has
the package."""

import json
import subprocess
import sys
import time

import numpy as np

import kessensor as ks

COUNT = 1_000_000
BAND = "PANN00A"


def least(runs, work, count=COUNT):
    """The least time of some runs, nanoseconds an item."""
    times = []
    for _ in range(runs):
        start = time.perf_counter_ns()
        work()
        times.append((time.perf_counter_ns() - start) / count)
    return min(times)


def python_times(band, runs):
    i = np.arange(COUNT)
    samples, lines = 100.25 + i % 1000, 100.25 + i // 1000
    ground = band.to_ground(samples, lines)
    image = band.to_image(*ground[:3])
    times = {}
    for threads in (1, 2):
        times[f"to_ground {threads}"] = least(runs, lambda: band.to_ground(samples, lines, threads=threads, out=ground))
        times[f"to_image {threads}"] = least(
            runs, lambda: band.to_image(*ground[:3], threads=threads, out=image))
    return times


def call_overhead(band, runs):
    """Microseconds of a call beyond what a point costs."""
    calls = 10_000

    def one_by_one():
        for _ in range(calls):
            band.to_ground(5.0, 6.0, 30.0)

    return least(runs, one_by_one, calls) / 1000


def main():
    peer, terrain, folder = sys.argv[1:4]
    runs = int(sys.argv[4]) if len(sys.argv) > 4 else 10
    file = ks.simulate(folder, terrain, lines=2000, samples=2000)
    band = ks.Strip(file)[BAND]
    python, cpp = {}, {}
    for _ in range(runs):  # in turns, so that both meet the same load
        python = {name: min(t, python.get(name, t)) for name, t in python_times(band, 3).items()}
        output = subprocess.run([peer, file, BAND, str(COUNT), "3"], check=True, capture_output=True).stdout
        cpp = {name: min(t, cpp.get(name, t)) for name, t in json.loads(output).items()}
    print(f"{'a million positions, ns a point':40}{'C++':>8}{'Python':>8}{'speed':>8}")
    for name, there in cpp.items():
        print(f"{name + ' thread(s)':40}{there:8.1f}{python[name]:8.1f}{there / python[name]:8.2f}")
    print(f"{'a call of one point, microseconds':48}{call_overhead(band, runs):8.1f}")


if __name__ == "__main__":
    main()
