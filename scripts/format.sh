#!/usr/bin/env bash
# format.sh [--check]: formats all sources, or fails and names those that aren't formatted.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(-i)
[ "${1:-}" = --check ] && mode=(--dry-run -Werror)
git ls-files -z --cached --others --exclude-standard '*.h' '*.cpp' | xargs -0 clang-format "${mode[@]}"
