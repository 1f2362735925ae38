#!/usr/bin/env bash
# test.sh [PRESET [OPTION of ctest...]]: installs what is missing, builds all, and runs the tests; of the release build without
# an argument.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}
[ $# -eq 0 ] || shift
scripts/deps.sh
scripts/build.sh "$preset"
ctest --preset "$preset" -j "$(nproc)" "$@"
