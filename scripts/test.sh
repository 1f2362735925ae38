#!/usr/bin/env bash
# test.sh [PRESET]: installs what is missing, builds, and runs all tests; of the release build without an argument.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}
scripts/deps.sh
scripts/build.sh "$preset"
ctest --preset "$preset" -j "$(nproc)"
