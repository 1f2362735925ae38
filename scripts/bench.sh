#!/usr/bin/env bash
# bench.sh [OPTION of the benchmark program...]: builds and runs the benchmarks, and prints their times as a table in
# yardsticks: how long PROJ takes for one point from geographic to geocentric coordinates, measured in the same run. Then
# the instructions that a point takes in each projection, which no other work on the machine changes.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
scripts/build.sh release kessensor_bench kessensor_kernels kes
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
build/release/bench/kessensor_bench --benchmark_out="$work/times.json" --benchmark_out_format=json "$@" >/dev/null
/usr/bin/env python3 bench/table.py "$work/times.json"
build/release/apps/kes/kes simulate "$work/flight" --dem data/terrain/jacksboro_dem.tif --lines 2000 --samples 2000 >/dev/null
echo
/usr/bin/env python3 bench/instructions.py build/release/bench/kessensor_kernels "$work/flight/strip.stp" \
  "$work/flight/calibration"
