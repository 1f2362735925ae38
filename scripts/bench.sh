#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# bench.sh [--quick] [OPTION of the benchmark program...]: builds and runs the benchmarks. Prints
# - their times as a table in yardsticks, with the errors of the projections against a reference in long double; a
#   yardstick is the time that PROJ takes, in the same run, to convert a point from geographic to geocentric coordinates;
# - processor seconds, seconds and peak memory of orthophotos beside gdalwarp's;
# - the Python package beside C++;
# - points a second of tables that are projected, beside a plain copy of their bytes;
# - the number of instructions per point of each projection, which doesn't depend on the machine's load.
# --quick takes a few minutes: short runs, and an orthophoto of a short strip.
set -euo pipefail
cd "$(dirname "$0")/.."
lines=4000
points=1000000
runs=3
if [ "${1:-}" = --quick ]; then
  shift
  lines=1000
  points=300000
  runs=1
  set -- --benchmark_min_time=0.02 "$@"
fi
scripts/deps.sh
scripts/build.sh release kessensor_bench kessensor_kernels kessensor_python_peer kessensor_python kes
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
build/release/bench/kessensor_bench --benchmark_out="$work/times.json" --benchmark_out_format=json "$@" >/dev/null
/usr/bin/env python3 bench/table.py "$work/times.json"
kes=build/release/apps/kes/kes
terrain=data/terrain/jacksboro_dem.tif
echo
/usr/bin/env python3 bench/ortho.py "$kes" "$terrain" "$work/ortho" "$lines" "$runs"
PYTHONPATH=build/release/python /usr/bin/python3 bench/python.py build/release/bench/kessensor_python_peer "$terrain" \
  "$work/python" "$runs"
echo
/usr/bin/env python3 bench/tables.py "$kes" "$terrain" "$work/tables" "$points" 3
"$kes" simulate "$work/flight" --dem "$terrain" --lines 2000 --samples 2000 >/dev/null
echo
/usr/bin/env python3 bench/instructions.py build/release/bench/kessensor_kernels "$work/flight/strip.stp" \
  "$work/flight/calibration"
