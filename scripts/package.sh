#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# package.sh [FOLDER]: builds the Debian packages of the committed state into FOLDER (build/packages), and checks them
# with lintian. Equal states make equal packages.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh packages
version=$(dpkg-parsechangelog -S Version)
folder=$(mkdir -p "${1:-build/packages}" && cd "${1:-build/packages}" && pwd)
# Always the same place, so that the compiler cache serves the next build, too.
work=$PWD/build/packages-work
rm -rf "$work"
trap 'rm -rf "$work"' EXIT

source=$work/kessensor-$version
mkdir -p "$source"
git archive HEAD | tar -x -C "$source"
export CCACHE_DIR=${CCACHE_DIR:-$HOME/.cache/ccache}  # debhelper gives the build another home
(cd "$source" && dpkg-buildpackage --no-sign --build=full >"$work/build.log" 2>&1) || {
  tail -60 "$work/build.log"
  exit 1
}
lintian --pedantic --fail-on error,warning,pedantic "$work"/*.changes
rm -f "$folder"/*
mv "$work"/*.deb "$work"/*.dsc "$work"/*.tar.* "$work"/*.buildinfo "$work"/*.changes "$folder"
ls "$folder"
