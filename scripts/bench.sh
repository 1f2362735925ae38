#!/usr/bin/env bash
# bench.sh [OPTION of the benchmark program...]: builds and runs the benchmarks, and prints their times as a table in
# yardsticks: how long PROJ takes for one point from geographic to geocentric coordinates, measured in the same run.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
scripts/build.sh release kessensor_bench
json=$(mktemp)
trap 'rm -f "$json"' EXIT
build/release/bench/kessensor_bench --benchmark_out="$json" --benchmark_out_format=json "$@" >/dev/null
/usr/bin/env python3 bench/table.py "$json"
