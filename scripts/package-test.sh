#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# package-test.sh [--folder FOLDER] [TEST...]: installs the packages that scripts/package.sh left in FOLDER
# (build/packages) on a Debian of nothing but the base system, in a folder of its own, and runs their tests there: those
# of debian/tests that are named, or all. Needs root.
set -euo pipefail
cd "$(dirname "$0")/.."

folder=build/packages
if [ "${1:-}" = --folder ]; then
  folder=$2
  shift 2
fi
tests=("$@")
[ $# -gt 0 ] || mapfile -t tests < <(sed -n 's/^Tests: //p' debian/tests/control)

scripts/deps.sh packages
work=$(mktemp -d "${TMPDIR:-/tmp}/kessensor-root-XXXXXX")
root=$work/root
trap 'umount "$root/proc" 2>/dev/null || true; rm -rf --one-file-system "$work"' EXIT

# inside COMMAND...: runs it in the root, as a system without any settings.
inside() {
  chroot "$root" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
}

echo "== make a root"
sources=/etc/apt/sources.list.d/debian.sources
[ -s "$sources" ] || sources=/etc/apt/sources.list
apt-config dump Acquire >"$work/acquire"
mmdebstrap --quiet --variant=apt --mode=root --setup-hook="cp '$work/acquire' \"\$1/etc/apt/apt.conf.d/90acquire\"" \
  bookworm "$root" "$sources"
mount -t proc proc "$root/proc"

echo "== install"
mkdir "$root/packages"
cp "$folder"/*.deb "$root/packages"
inside apt-get update -qq
mkdir "$root/source"
git archive HEAD debian/tests data/terrain tests/data/strip-a tests/postinstall/consumer | tar -x -C "$root/source"
for test in "${tests[@]}"; do
  depends=$(sed -n "/^Tests: $test\$/,/^\$/s/^Depends: //p" debian/tests/control | tr -d ,)
  packages=()
  for package in $depends; do
    deb=$(cd "$root" && ls packages/"${package}"_*.deb 2>/dev/null || true)
    packages+=("${deb:+./}${deb:-$package}")
  done
  # Those that the wanted ones depend on.
  mapfile -t own < <(cd "$root" && ls packages/libkes*[a-z]1_*.deb)
  started=$SECONDS
  inside apt-get install -y -qq --no-install-recommends "${own[@]/#/./}" "${packages[@]}" >"$work/install.log" 2>&1 || {
    tail -20 "$work/install.log"
    exit 1
  }
  echo "== run $test, after $((SECONDS - started)) s of installing"
  started=$SECONDS
  inside sh -c "cd /source && debian/tests/$test" || {
    echo "debian/tests/$test failed"
    exit 1
  }
  echo "== $test passed in $((SECONDS - started)) s"
done
