#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# test.sh [PRESET [OPTION of ctest...]]: installs missing packages, builds a preset (default: release), and runs its
# tests.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}
[ $# -eq 0 ] || shift
scripts/deps.sh
scripts/build.sh "$preset"
ctest --preset "$preset" -j "$(nproc)" "$@"
