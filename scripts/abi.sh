#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# abi.sh check|record [BUILD]: compares the binary interfaces of the shared libraries in a build with debug information
# (build/tsan) with those recorded in abi/, or records them. Whatever a host's program could trip over fails the check:
# names that are gone, sizes, layouts, virtual slots. Additions pass; record after them, and for a new major version.
#
# abi.sh compare OLD NEW: compares two records.
set -euo pipefail
cd "$(dirname "$0")/.."

work=$(mktemp -d "${TMPDIR:-/tmp}/kessensor-abi-XXXXXX")
trap 'rm -rf "$work"' EXIT

# record LIBRARY: its interface as far as public headers declare it, without places in sources.
record() {
  local headers=()
  for folder in files/include platform/include include host/include adjust/include gdal/include; do
    headers+=(--hd "$PWD/$folder")
  done
  abidw --suppressions abi/others.ini "${headers[@]}" --drop-private-types --exported-interfaces-only --no-show-locs \
    --no-comp-dir-path --no-corpus-path --no-elf-needed --no-parameter-names "$1"
}

# compare OLD NEW
compare() {
  xz -dc "$1" >"$work/old.abi"
  xz -dc "$2" >"$work/new.abi"
  abidiff --no-added-syms "$work/old.abi" "$work/new.abi"
}

task=${1:?usage: abi.sh check|record [BUILD], abi.sh compare OLD NEW}
if [ "$task" = compare ]; then
  compare "$2" "$3"
  exit
fi
build=${2:-build/tsan}
failed=0
for library in files/kesfiles platform/kesplatform src/kessensor host/keshost adjust/kesadjust gdal/kesgdal; do
  name=lib${library#*/}
  file=$(realpath -e "$build/${library%/*}/$name.so")
  record "$file" | xz -9 --threads=1 >"$work/$name.abi.xz"
  if [ "$task" = record ]; then
    mv "$work/$name.abi.xz" abi
  elif ! compare "abi/$name.abi.xz" "$work/$name.abi.xz"; then
    echo "Programs built with $name before wouldn't go on working with this one."
    failed=1
  fi
done
exit $failed
