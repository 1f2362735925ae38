#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# abi.sh ROOT: shows that scripts/abi.sh finds a virtual slot that moved, a function that is gone and a member that
# moved, and accepts what didn't change, on the records of the tree.
set -euo pipefail
cd "$1"
work=$(mktemp -d "${TMPDIR:-/tmp}/kessensor-abi-test-XXXXXX")
trap 'rm -rf "$work"' EXIT

# compares EDIT LIBRARY: the record of a library with itself after an edit by sed, as the check does; its status.
compares() {
  xz -dc "abi/$2.abi.xz" >"$work/plain.abi"
  sed -E "$1" "$work/plain.abi" | xz -c >"$work/edited.abi.xz"
  scripts/abi.sh compare "abi/$2.abi.xz" "$work/edited.abi.xz" >"$work/report"
}

# refused EDIT LIBRARY WORDS: fails unless the check refuses the edited record with these words.
refused() {
  if compares "$1" "$2" || ! grep -q "$3" "$work/report"; then
    echo "Accepted, or for another reason: $1"
    cat "$work/report"
    exit 1
  fi
}

for library in libkesfiles libkesplatform libkessensor libkeshost libkesadjust libkesgdal; do
  compares "" $library
done
system="/<class-decl name='coordSys'/,/<\/class-decl>/"
refused "$system {s/vtable-offset='2'/vtable-offset='@'/; s/vtable-offset='3'/vtable-offset='2'/; s/='@'/='3'/}" \
  libkesplatform "the vtable offset of method .* changed from 2 to 3"
refused "s/_ZN3geo8coordSys9transform/_ZN3geo8coordSys7convert/g" libkesplatform "2 Removed functions"
point="/<class-decl name='XYZPoint'/,/<\/class-decl>/"
refused "$point {s/layout-offset-in-bits='64'/layout-offset-in-bits='128'/}" libkesplatform "offset changed from 64 to 128"
