#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# run.sh BUILD_DIR: installs a finished build into a temporary folder, builds hosts against it, and runs them. The
# hosts' build also compiles every installed header alone. Compares the names that each library exports with the
# reviewed lists beside this script. Unpacks the archive elsewhere, and flies the flight of the packages' tests there.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(cd "${1:?usage: run.sh BUILD_DIR}" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/kessensor-postinstall-XXXXXX")
trap 'rm -rf "$work"' EXIT
prefix=$(cd "$work" && pwd -P)/prefix

# cached NAME: a value of the build's cache.
cached() {
  sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"
}

# exported LIBRARY: the classes and functions that a library defines for others, one name per line. Weak copies of other
# libraries' templates are left out. A template's instance has its result type in front of its name.
exported() {
  nm -DC --defined-only "$1" | cut -d' ' -f3- |
    sed -E -e 's/^(vtable|typeinfo|typeinfo name|VTT|guard variable|construction vtable) for //' \
      -e 's/^(non-virtual|virtual) thunk to //' -e 's/^[a-z][a-z ]* ((sensor|xmlFileData|kes|kesadjust|kesgdal|geo|dsm|raster|util|files)::)/\1/' |
    grep -vE '^([a-z][a-z_ ]*[*&]* )?(std|__gnu_cxx|boost|Qt[A-Za-z]*|Q[A-Z][A-Za-z]*)(::|<|\()|^(decltype|operator)' |
    grep -vE '^(_init|_fini|_edata|_end|__bss_start|\.gomp_critical_user_.*|__(a|t|ub)san.*|__odr_asan.*|__covrec.*)$' |
    sed -E 's/^([A-Za-z_]+::[A-Za-z_0-9]+).*/\1/' | LC_ALL=C sort -u
}

echo "== install"
cmake --install "$build" --prefix "$prefix" >"$work/install.log"
library=$(find "$prefix" -name libkessensor.so)

echo "== exported names"
for list in "$here"/exported/*.txt; do
  name=$(basename "$list" .txt)
  exported "${library/libkessensor/lib$name}" | diff -u --label reviewed --label exported "$list" - || {
    echo "The library $name exports other names than the reviewed ones in exported/$name.txt."
    exit 1
  }
done
[ "$(find "$prefix" -name 'libkes*.so' | wc -l)" -eq "$(find "$here/exported" -name '*.txt' | wc -l)" ] || {
  echo "A library has no reviewed list of exported names."
  exit 1
}
if [ "$(ls "$prefix/include")" != kessensor ]; then
  echo "Headers lie outside include/kessensor: $(ls "$prefix/include")"
  exit 1
fi

echo "== build a host"
cmake -S "$here/consumer" -B "$work/consumer" -G "$(cached CMAKE_GENERATOR)" \
  -DCMAKE_CXX_COMPILER="$(cached CMAKE_CXX_COMPILER)" \
  -DCMAKE_CXX_COMPILER_LAUNCHER="$(cached KESSENSOR_CCACHE | grep -v NOTFOUND || true)" \
  -DCMAKE_CXX_FLAGS="$(cached CMAKE_CXX_FLAGS)" \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE= >"$work/configure.log"
cmake --build "$work/consumer" --parallel 2 >"$work/build.log" || {
  cat "$work/build.log"
  exit 1
}

echo "== run it"
"$work/consumer/platform_consumer" "$prefix"
"$work/consumer/consumer" "$here/../data/strip-a"
"$work/consumer/host_consumer" "$here/../data/strip-a"
"$work/consumer/gdal_consumer" "$here/../data/strip-a"
"$work/consumer/adjust_consumer"

"$work/consumer/shadowing_consumer"

echo "== build the projects of the documentation"
python3 "$here/../docs/snippets.py" projects "$here"/../../{README,docs/guide,docs/start,docs/tutorial}.md --root "$here/../.." \
  --work "$work/projects" --configure="-DCMAKE_PREFIX_PATH=$prefix -DCMAKE_CXX_COMPILER=$(cached CMAKE_CXX_COMPILER) \
  -DCMAKE_CXX_COMPILER_LAUNCHER=$(cached KESSENSOR_CCACHE | grep -v NOTFOUND || true) \
  -DKESSENSOR_QT_VERSION=$(cached KESSENSOR_QT_VERSION)"

echo "== build a host without CMake"
compiler=$(cached CMAKE_CXX_COMPILER)
read -ra flags < <(cached CMAKE_CXX_FLAGS)
libraries=$(dirname "$library")
"$compiler" "${flags[@]}" -std=c++17 -I "$prefix/include/kessensor" "$here/consumer/main.cpp" -o "$work/plain" \
  -L "$libraries" -lkessensor -lkesplatform -Wl,-rpath,"$libraries"
"$work/plain" "$here/../data/strip-a"

# compiles OPTION...: whether everything of namespace sensor compiles with these options; the errors go to a file.
compiles() {
  echo '#include <sensor/kessensor.h>' |
    "$compiler" -std=c++17 -fsyntax-only -I "$prefix/include/kessensor" "$@" -x c++ - 2>"$work/errors"
}

# refused OPTION...: fails unless they are refused as options of another version of Qt.
refused() {
  if compiles "$@" || ! grep -q "error.*This kessensor was built with Qt $qt, and a host must use the same" "$work/errors"
  then
    echo "Headers of another version of Qt aren't refused: $*"
    cat "$work/errors"
    exit 1
  fi
}

if [ -n "$(find "$prefix" -name kesgdal.pc)" ]; then
  echo "== build a host with pkg-config"
  export PKG_CONFIG_PATH="$libraries/pkgconfig"
  [ "$(pkg-config --modversion kessensor keshost kesadjust kesgdal | sort -u)" = "$(cached CMAKE_PROJECT_VERSION)" ]
  for host in main:kessensor host:keshost gdal:kesgdal; do
    read -ra options < <(pkg-config --cflags --libs "${host#*:}")
    "$compiler" "${flags[@]}" -std=c++20 "$here/consumer/${host%:*}.cpp" -o "$work/plain" "${options[@]}" \
      -Wl,-rpath,"$libraries"
    "$work/plain" "$here/../data/strip-a"
  done
fi

qt=$(cached KESSENSOR_QT_VERSION)
for version in 5 6; do
  mkdir -p "$work/qt$version/QtCore"
  echo "#define QTCORE_VERSION 0x0${version}0F08" >"$work/qt$version/QtCore/qtcoreversion.h"
done
compiles
compiles -I "$work/qt$qt"
compiles -DQT_VERSION_MAJOR="$qt"
refused -I "$work/qt$((11 - qt))"
refused -I "$work/qt$((11 - qt))/QtCore"
refused -DQT_VERSION_MAJOR=$((11 - qt))

echo "== run the tool from where it is installed"
if [ -x "$prefix/bin/kes" ]; then
  "$prefix/bin/kes" --version
  for file in man/man1/kes.1 man/man1/kes-eop-info.1 bash-completion/completions/kes zsh/site-functions/_kes \
    fish/vendor_completions.d/kes.fish; do
    [ -s "$prefix/share/$file" ] || {
      echo "The tool is installed without $file."
      exit 1
    }
  done
fi

echo "== pack it, and run it elsewhere"
(cd "$build" && cpack -G TGZ -B "$work/archive" >"$work/pack.log") || {
  cat "$work/pack.log"
  exit 1
}
mkdir "$work/elsewhere"
tar -xzf "$work"/archive/*.tar.gz -C "$work/elsewhere" --strip-components=1
diff <(cd "$prefix" && find . -type f -o -type l | LC_ALL=C sort) \
  <(cd "$work/elsewhere" && find . -type f -o -type l | LC_ALL=C sort)
mv "$prefix" "$work/gone"
modules=$(find "$work/elsewhere" -path '*/kessensor/__init__.py' -printf '%h/..')
if [ -n "$modules" ]; then
  (cd "$here/../.." && env PATH="$work/elsewhere/bin:$(dirname "$(cached Python3_EXECUTABLE)"):$PATH" \
    PYTHONPATH="$modules" AUTOPKGTEST_TMP="$(mktemp -d -p "$work")" debian/tests/flight)
fi
