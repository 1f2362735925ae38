#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# release-check.sh [STEP...]: what must hold before a version is tagged; by default all steps, of which each says in the
# end whether it passed. Works on the committed state.
#
#   version    the build's version is that of CHANGELOG.md, which has nothing unreleased, and of debian/changelog
#   ci         all that every change has to pass
#   qt5        the build with Qt 5.15 without sanitizers, and all its tests
#   abi        programs built with the version before go on working, but for a new major version
#   packages   two builds are equal to the byte, lintian has nothing to say, and their tests pass on a bare system
#   docs       the manual builds without a warning
#   demo       the demo runs in a fresh clone
#   coverage   the tests reach the marks
set -euo pipefail
cd "$(dirname "$0")/.."

check_version() {
  local version heading
  version=$(sed -n 's/^project(kessensor VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
  heading=$(grep -m1 '^## ' CHANGELOG.md)
  [[ $heading =~ ^"## $version - "[0-9]{4}-[0-9]{2}-[0-9]{2}$ ]] || {
    echo "CHANGELOG.md begins with \"$heading\", and not with version $version and its date"
    return 1
  }
  [ "$(sed -n '1s/^kessensor (\(.*\)) .*/\1/p' debian/changelog)" = "$version" ] || {
    echo "debian/changelog doesn't begin with version $version"
    return 1
  }
}

check_ci() {
  .ci/run
}

check_qt5() {
  scripts/test.sh qt5
}

check_abi() {
  scripts/build.sh tsan kesgdal kesadjust
  scripts/abi.sh check
}

check_packages() {
  scripts/package.sh build/packages
  CCACHE_DISABLE=1 scripts/package.sh build/packages-again  # compiled anew
  (cd build/packages && sha256sum ./*.deb) | (cd build/packages-again && sha256sum --check --quiet)
  scripts/package-test.sh
}

check_docs() {
  scripts/docs.sh
}

check_demo() {
  local work
  work=$(mktemp -d "${TMPDIR:-/tmp}/kessensor-demo-XXXXXX")
  git clone --quiet . "$work/kessensor"
  "$work/kessensor/scripts/demo.sh"
  rm -rf "$work"
}

check_coverage() {
  scripts/coverage.sh
}

steps=("$@")
[ $# -gt 0 ] || steps=(version ci qt5 abi packages docs demo coverage)
results=()
failed=0
for step in "${steps[@]}"; do
  declare -F "check_$step" >/dev/null || { echo "There is no step $step" >&2; exit 2; }
  printf '\n=== %s\n' "$step"
  # A shell of its own: errexit doesn't hold in a condition.
  status=0
  bash -euo pipefail -c "$(declare -f "check_$step"); check_$step" || status=$?
  [ $status -eq 0 ] || failed=1
  results+=("$step: $([ $status -eq 0 ] && echo passed || echo FAILED)")
done
printf '\n'
printf '%s\n' "${results[@]}"
exit $failed
