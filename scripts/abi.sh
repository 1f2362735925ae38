#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# abi.sh check|record [BUILD]: compares the binary interfaces of the shared libraries in a build with debug information
# (build/tsan) with those in abi/, or records them there. A change that hosts' programs can see fails the check: names,
# sizes, layouts and virtual slots. Additions pass. Record after an addition, and for a new major version.
set -euo pipefail
cd "$(dirname "$0")/.."
task=${1:?usage: abi.sh check|record [BUILD]}
build=${2:-build/tsan}

# Types of others change with them, and what no public header declares is nobody's business.
headers=()
for folder in files/include platform include host/include adjust/include gdal/include; do
  headers+=("$folder")
done
failed=0
for library in files platform kessensor host adjust gdal; do
  name=libkes${library#kes}
  file=$(find "$build" -path "$build/_deps" -prune -o -type f -name "$name.so.*" -print | head -1)
  [ -n "$file" ] || { echo "$build has no $name: build its target first"; exit 1; }
  case $task in
    record)
      mkdir -p abi
      abidw "${headers[@]/#/--headers-dir=}" --out-file "abi/$name.abi" "$file"
      ;;
    check)
      abidiff "abi/$name.abi" "$file" || failed=1
      ;;
  esac
done
exit $failed
