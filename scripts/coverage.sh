#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# coverage.sh [--no-run] [FOLDER...]: builds everything with counters, runs all tests, and prints which share of lines
# and branches of each folder they ran; fails below the marks in coverage.py, or when a test fails. With --no-run,
# evaluates the counts of earlier runs.
#
# With folders as the table names them (src/model, apps/kes; platform is all its parts), builds and runs their own tests
# alone and judges these folders. The counts add to those of earlier runs, so that the folders can be measured one
# after the other; objects that were built anew start again.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/coverage
run=yes
if [ "${1:-}" = --no-run ]; then
  run=
  shift
fi

tests=(.)
targets=()
if [ $# -gt 0 ]; then
  tests=()
  for folder; do
    case $folder in
      platform/*) name=tests/platform ;;
      *) name=tests/$(basename "$folder") ;;
    esac
    [ -d "$name" ] || { echo "$folder has no tests in $name" >&2; exit 2; }
    tests+=("$name")
    targets+=("$name/all")
    # The tests of the Python package link nothing: it is what they load.
    [ "$name" != tests/python ] || targets+=(kessensor_python kes)
  done
fi

failed=
if [ -n "$run" ]; then
  scripts/deps.sh
  scripts/build.sh coverage "${targets[@]}"
  [ $# -gt 0 ] || find "$build" -name '*.gcda' -delete
  for folder in "${tests[@]}"; do
    ctest --test-dir "$build/$folder" --output-on-failure -j2 || failed+=" $folder"
  done
fi
scripts/coverage.py "$build" "$@"
[ -z "$failed" ] || { echo "tests failed in:$failed" >&2; exit 1; }
