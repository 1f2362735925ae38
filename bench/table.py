#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Prints the results of the benchmark program: nanoseconds an item, yardsticks an item, and, where a benchmark states
them, its greatest errors in lines and samples."""

import json
import sys


def nanoseconds(benchmark):
    return 1e9 / benchmark["items_per_second"]


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        rows = [b for b in json.load(file)["benchmarks"] if "items_per_second" in b]
    yardsticks = [nanoseconds(b) for b in rows if b["name"].startswith("yardstick")]
    print(f"{'':48}{'ns an item':>14}{'yardsticks':>12}{'lines':>10}{'samples':>10}")
    for row in rows:
        ratio = f"{nanoseconds(row) / yardsticks[0]:12.2f}" if yardsticks else ""
        errors = "".join(f"{row[name]:10.1e}" for name in ("lines", "samples") if name in row)
        print(f"{row['name'].removesuffix('/real_time'):48}{nanoseconds(row):14.1f}{ratio:>12}{errors}")


if __name__ == "__main__":
    main()
