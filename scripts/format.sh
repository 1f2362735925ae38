#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# format.sh [--check]: formats all sources; with --check, fails instead and names those that aren't formatted, and those
# that don't state their licence.
set -euo pipefail
cd "$(dirname "$0")/.."
list() { git ls-files -z --cached --others --exclude-standard "$@"; }
mode=(-i)
if [ "${1:-}" = --check ]; then
  mode=(--dry-run -Werror)
  sources=('*.h' '*.cpp' '*.py' '*.sh' '*.cmake' '*CMakeLists.txt' .ci/run ':!tests/structure/wrong')
  unlicensed=$(list "${sources[@]}" | xargs -0 grep -L '^[/#]* SPDX-License-Identifier: MIT$' || true)
  if [ -n "$unlicensed" ]; then
    printf 'Without a licence:\n%s\n' "$unlicensed" >&2
    exit 1
  fi
fi
list '*.h' '*.cpp' | xargs -0 clang-format "${mode[@]}"
