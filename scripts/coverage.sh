#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# coverage.sh [--no-run]: builds everything with counters, runs all tests, and prints which share of lines and branches
# of each folder they ran; fails below the marks in coverage.py, or when a test fails. With --no-run, evaluates the
# counts of the last run.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/coverage
tests=
if [ "${1:-}" != --no-run ]; then
  scripts/deps.sh
  scripts/build.sh coverage
  find "$build" -name '*.gcda' -delete
  ctest --preset coverage -j2 || tests=failed
fi
scripts/coverage.py "$build"
[ -z "$tests" ]
