#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# deps.sh [packages|docs]: installs the Debian packages that the build, the tests, the benchmarks and the demo need, as
# far as they are missing; also what makes packages of our own, or the manual, if asked. On a system without apt, prints
# the list and succeeds.
set -euo pipefail

packages=(
  g++ clang libclang-rt-14-dev clang-format clang-tidy libomp-dev cmake ninja-build ccache git pkg-config
  qt6-base-dev qtbase5-dev libboost-dev libeigen3-dev libhwy-dev
  libproj-dev proj-data proj-bin libgdal-dev gdal-bin
  libcli11-dev nlohmann-json3-dev libgtest-dev libgmock-dev libbenchmark-dev valgrind python3 jq
  abigail-tools xz-utils man-db zsh fish
  python3-dev pybind11-dev python3-numpy python3-pytest python3-hypothesis python3-matplotlib python3-jsonschema mypy
  python3-dask python3-distributed
)
docs=(python3-sphinx python3-myst-parser furo libjs-mathjax doxygen)
case "${1:-}" in
  packages) packages+=(debhelper dh-python dpkg-dev lintian mmdebstrap "${docs[@]}") ;;
  docs) packages+=("${docs[@]}") ;;
esac

if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
  echo "This system has no apt. Please see to these packages (Debian's names):"
  printf '  %s\n' "${packages[@]}"
  exit 0
fi

missing=()
for package in "${packages[@]}"; do
  if [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
    missing+=("$package")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
  "${missing[@]}" >/dev/null
