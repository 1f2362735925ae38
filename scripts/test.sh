#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# test.sh [PRESET [OPTION of ctest...]]: installs missing packages, builds a preset (default: release), and runs its
# tests. Where some fail, the ends of what they printed are the last thing on the screen.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}
[ $# -eq 0 ] || shift
scripts/deps.sh
scripts/build.sh "$preset"
results=$PWD/build/$preset/tests.xml
ctest --preset "$preset" -j "$(nproc)" --output-junit "$results" "$@" || {
  status=$?
  python3 - "$results" <<'END'
import sys
from xml.etree import ElementTree

for test in ElementTree.parse(sys.argv[1]).iter("testcase"):
    if test.get("status") == "fail":
        lines = test.findtext("system-out", "").splitlines()
        print(f"\n--- {test.get('name')} failed:", *lines[-12:], sep="\n")
END
  exit $status
}
