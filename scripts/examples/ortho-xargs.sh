#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# ortho-xargs.sh PLAN OUTPUT [PROCESSES]: makes the tiles of a plan in so many processes (one for each processor) and
# the orthophoto of them. Run it again after a failure: tiles that are there are left as they are. The plan:
#   kes ortho plan block.blf --band PANN00A --dem terrain.tif --crs EPSG:32616 --gsd 0.25 -o ortho.json
# KES is the tool, if it isn't in the path.
set -euo pipefail
plan=$1
output=$2
processes=${3:-$(nproc)}
kes=${KES:-kes}

# More parts than processes, so that all end at much the same time; each part opens its strips once.
parts=$((8 * processes))
seq 1 "$parts" | xargs -P "$processes" -I{} "$kes" ortho tile "$plan" --part "{}/$parts" --threads 1
"$kes" ortho finish "$plan" -o "$output"
