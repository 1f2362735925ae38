#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# fuzz.sh [--seed N] SECONDS [KIND...]: gives damaged files to the readers, for SECONDS in all and an equal share for
# each kind, on all cores; without any, all kinds of tests/fuzz/corpus. Prints a table. Inputs that must not be are left
# in build/fuzz/findings/KIND, and the result is then 1; inputs that reach new code, in build/fuzz/corpus/KIND, where
# the next run goes on. With a seed other than 0, a run keeps none of these and meets the same inputs each time, as far
# as it gets.
set -euo pipefail
cd "$(dirname "$0")/.."
export SEED=0
if [ "${1:-}" = --seed ]; then
  SEED=${2:?usage: fuzz.sh [--seed N] SECONDS [KIND...]}
  shift 2
fi
seconds=${1:?usage: fuzz.sh [--seed N] SECONDS [KIND...]}
shift
kinds=("$@")
[ $# -gt 0 ] || mapfile -t kinds < <(ls tests/fuzz/corpus)

scripts/deps.sh
scripts/build.sh fuzz kessensor_fuzz

export SHARE=$((seconds * $(nproc) / ${#kinds[@]}))
[ "$SHARE" -gt 0 ] || SHARE=1
export PROGRAM=$PWD/build/fuzz/tests/fuzz/kessensor_fuzz
# Memory that is freed stays poisoned; less of it leaves the limit to the readers.
export ASAN_OPTIONS=quarantine_size_mb=64 UBSAN_OPTIONS=print_stacktrace=1 QT_LOGGING_RULES='*=false'
shm=/dev/shm
[ -w "$shm" ] || shm=${TMPDIR:-/tmp}
TMPDIR=$(mktemp -d "$shm/kessensor-fuzz-XXXXXX")
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT

run() {
  local kind=$1 log=build/fuzz/logs/$1.log findings=$PWD/build/fuzz/findings/$1 status=0
  local scratch=$TMPDIR/$1 corpus=build/fuzz/corpus/$1
  [ "$SEED" = 0 ] || corpus=$scratch.corpus
  mkdir -p build/fuzz/logs "$corpus" "$findings" "$scratch"
  cat tests/fuzz/dictionaries/common.dict > "$scratch.dict"
  [ ! -e "tests/fuzz/dictionaries/$kind.dict" ] || cat "tests/fuzz/dictionaries/$kind.dict" >> "$scratch.dict"
  touch "$scratch.start"
  TMPDIR=$scratch "$PROGRAM" "--kind=$kind" "-seed=$SEED" "-max_total_time=$SHARE" -timeout=5 -rss_limit_mb=1024 \
    -malloc_limit_mb=16 -max_len=8192 "-dict=$scratch.dict" "-artifact_prefix=$findings/" -print_final_stats=1 \
    "$corpus" "tests/fuzz/corpus/$kind" > "$log" 2>&1 || status=$?
  local executions coverage new
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  coverage=$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)
  new=$(find "$findings" -type f -newer "$scratch.start" | wc -l)
  [ "$status" -eq 0 ] || new=$((new > 0 ? new : 1))
  printf '%-18s %12s %14s %9s %9s\n' "$kind" "${executions:-?}" \
    "$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")" "${coverage:-?}" "$new"
}
export -f run

printf '%-18s %12s %14s %9s %9s\n' kind executions executions/s edges findings
printf '%s\0' "${kinds[@]}" | xargs -0 -n 1 -P "$(nproc)" bash -euo pipefail -c 'run "$1"' run | tee "$TMPDIR/table"
if awk '$NF > 0 { found = 1 } END { exit !found }' "$TMPDIR/table"; then
  awk '$NF > 0 { print $1 }' "$TMPDIR/table" | while read -r kind; do
    printf '\n--- %s\n' "$kind"
    tail -n 40 "build/fuzz/logs/$kind.log" | cut -c 1-400
  done
  echo "See build/fuzz/findings and build/fuzz/logs."
  exit 1
fi
