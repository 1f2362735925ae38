#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# build.sh PRESET [TARGET...]: configures and builds a preset of CMakePresets.json. The other scripts call it.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1
shift
# Lets the compiler cache serve the same sources in another checkout or build folder.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
cmake --preset "$preset" >/dev/null
targets=()
[ $# -gt 0 ] && targets=(--target "$@")
cmake --build --preset "$preset" "${targets[@]}"
