#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# bench.sh [OPTION of the benchmark program...]: builds and runs the benchmarks, and prints their times as a table in
# yardsticks; a yardstick is the time that PROJ takes, in the same run, to convert a point from geographic to geocentric
# coordinates.
# Then prints the number of instructions per point of each projection, which doesn't depend on the machine's load.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
scripts/build.sh release kessensor_bench kessensor_kernels kes
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
build/release/bench/kessensor_bench --benchmark_out="$work/times.json" --benchmark_out_format=json "$@" >/dev/null
/usr/bin/env python3 bench/table.py "$work/times.json"
build/release/apps/kes/kes simulate "$work/flight" --dem data/terrain/jacksboro_dem.tif --lines 2000 --samples 2000 \
  >/dev/null
echo
/usr/bin/env python3 bench/instructions.py build/release/bench/kessensor_kernels "$work/flight/strip.stp" \
  "$work/flight/calibration"
