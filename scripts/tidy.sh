#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# tidy.sh [FILE...]: runs clang-tidy over these sources; without any, over all sources of the libraries. A header is
# checked with the sources that include it. A source that passed is skipped until its preprocessed text or the checks
# change.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset tidy >/dev/null
export PASSED=${XDG_CACHE_HOME:-$HOME/.cache}/kessensor-tidy
mkdir -p "$PASSED"

# Comments belong to the text because they can switch a check off, and definitions because macros are checked, too.
fingerprint() {
  local command
  command=$(jq -r --arg file "$PWD/$1" 'first(.[] | select(.file == $file)).command' build/tidy/compile_commands.json)
  [ -n "$command" ] || {
    printf '%s is no source of the build\n' "$1" >&2
    return 1
  }
  {
    clang-tidy --version
    clang-tidy -p build/tidy --dump-config "$1"
    echo "$1"
    eval "$command -E -C -P -dD -o -"
  } | sha256sum | cut -d ' ' -f 1
}

check() {
  local mark report
  mark=$PASSED/$(fingerprint "$1")
  [ ! -e "$mark" ] || return 0
  if ! report=$(clang-tidy --quiet -p build/tidy "$1" 2>&1); then
    printf '%s\n' "$report"
    return 1
  fi
  touch "$mark"
}
export -f check fingerprint

sources=("$@")
if [ $# -eq 0 ]; then
  mapfile -t sources < <(git ls-files --cached --others --exclude-standard \
    'files/*.cpp' 'platform/*.cpp' 'src/*.cpp' 'host/*.cpp' 'adjust/*.cpp' 'gdal/*.cpp')
fi
printf '%s\0' "${sources[@]}" | xargs -0 -n 1 -P "$(nproc)" bash -euo pipefail -c 'check "$1"' check
