#!/usr/bin/env bash
# build.sh PRESET [TARGET...]: configures and builds a preset of CMakePresets.json. For the other scripts.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1
shift
# Equal sources of another checkout or build folder are found in the compiler cache.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
cmake --preset "$preset" >/dev/null
targets=()
[ $# -gt 0 ] && targets=(--target "$@")
cmake --build --preset "$preset" "${targets[@]}"
