#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# ortho-slurm.sh PLAN OUTPUT [PARTS [OPTION of sbatch...]]: makes the tiles of a plan as an array of so many Slurm jobs
# (16), and the orthophoto by one more, and waits for it. The plan, its inputs and the output lie on a file system that
# all nodes share. Run it again after a failure: tiles that are there are left as they are. The plan:
#   kes ortho plan block.blf --band PANN00A --dem terrain.tif --crs EPSG:32616 --gsd 0.25 -o ortho.json
# Options such as --cpus-per-task=4 --mem=2G go to the array; a job works with as many threads as it has processors.
# KES is the tool, if it isn't in the path of the nodes.
set -euo pipefail
plan=$(realpath "$1")
output=$(realpath "$2")
parts=${3:-16}
shift $(($# < 3 ? $# : 3))
kes=${KES:-kes}

# Messages of the jobs lie beside the plan.
log=${plan%.json}
quoted() {
  printf '%q ' "$@"
}
tiles="$(quoted "$kes" ortho tile "$plan") --part \$SLURM_ARRAY_TASK_ID/$parts --threads \${SLURM_CPUS_PER_TASK:-1}"
array=$(sbatch --parsable --job-name=ortho-tiles --array="1-$parts" --output="$log-tiles-%a.log" --requeue "$@" \
  --wrap="exec $tiles")
# The cluster's name may follow the number.
sbatch --wait --job-name=ortho-finish --dependency="afterok:${array%%;*}" --kill-on-invalid-dep=yes \
  --output="$log-finish.log" --wrap="exec $(quoted "$kes" ortho finish "$plan" -o "$output")"
