#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# trust.sh [STEP...]: measures what docs/trust.md says of the tests, and writes the figures there: tests, coverage,
# fuzzing (KESSENSOR_FUZZ_SECONDS, 1800) and mutation; by default all, which takes hours. Figures of steps that are left
# out stay. The tables are kept in build/trust.
set -euo pipefail
cd "$(dirname "$0")/.."
steps=("$@")
[ $# -gt 0 ] || steps=(tests coverage fuzzing mutation)
mkdir -p build/trust

measure_tests() {
  scripts/build.sh release
  echo "label           tests"
  ctest --preset release -N --print-labels | sed -n 's/^  //p' | while read -r label; do
    printf '%-15s %5d\n' "$label" "$(ctest --preset release -N -L "^$label\$" | sed -n 's/^Total Tests: //p')"
  done
}

measure_coverage() {
  scripts/coverage.sh | sed -n '/^folder/,$p'
}

measure_fuzzing() {
  scripts/fuzz.sh "${KESSENSOR_FUZZ_SECONDS:-1800}" | sed -n '/^kind/,$p'
}

measure_mutation() {
  local folder
  for folder in timing camera model; do
    scripts/mutate.py "src/$folder" | tail -1
  done
}

for step in "${steps[@]}"; do
  "measure_$step" >"build/trust/$step.txt"
  python3 - "$step" "build/trust/$step.txt" <<'END'
import re
import sys
from pathlib import Path

step, table = sys.argv[1], Path(sys.argv[2]).read_text().rstrip()
page = Path("docs/trust.md")
pattern = rf"(<!-- {step} -->\n```text\n).*?(\n```)"
text, count = re.subn(pattern, lambda found: found[1] + table + found[2], page.read_text(), flags=re.DOTALL)
assert count == 1, f"docs/trust.md has no place for {step}"
page.write_text(text)
END
done
