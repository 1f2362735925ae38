#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# docs.sh [BUILD [OUT]]: builds the manual as a site of static pages, OUT/html/index.html; OUT is build/docs by default.
# Installs what is missing, and builds the tool and the Python package, whose help is a part of the site. With a folder
# BUILD, it takes those that were built there, and installs nothing. A warning of Sphinx or Doxygen is an error. No page
# needs the network, and the same sources lead to the same bytes.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
if [ $# -eq 0 ]; then
  scripts/deps.sh docs
  scripts/build.sh release kes kessensor_python
fi
build=$(realpath "${1:-build/release}")
mkdir -p "${2:-build/docs}"
out=$(realpath "${2:-build/docs}")

rm -rf "$out"/{man,doxygen,static,source,doctrees,html}
"$build/apps/kes/kes" manual "$out/man"

mkdir -p "$out/doxygen"
doxygen - <<EOF
@INCLUDE = docs/Doxyfile
OUTPUT_DIRECTORY = $out/doxygen
EOF

# The parts of MathJax that pages of TeX formulas ask for.
mathjax=/usr/share/javascript/mathjax
mkdir -p "$out/static/mathjax"
(cd "$mathjax" && cp -RL --parents MathJax.js config/TeX-AMS_CHTML.js extensions/*.js extensions/TeX \
  extensions/HTML-CSS jax/element jax/input/TeX jax/output/CommonHTML fonts/HTML-CSS/TeX/woff "$out/static/mathjax")

python=${PYTHON:-/usr/bin/python3}
export PYTHONDONTWRITEBYTECODE=1 PYTHONHASHSEED=0 PYTHONPATH=$build/python
export KESSENSOR_DOCS_STATIC=$out/static
KESSENSOR_VERSION=$("$build/apps/kes/kes" --version | grep -o '[0-9.]*' | head -n 1)
export KESSENSOR_VERSION
"$python" docs/site/assemble.py "$out/source" --root "$root" --manual "$out/man" --xml "$out/doxygen/xml"
"$python" -m sphinx -q -W --keep-going -b html -c docs/site -d "$out/doctrees" "$out/source" "$out/html"
rm -f "$out/html/.buildinfo" "$out/html/objects.inv"
# Debian's style sheet of the theme asks the web server for this one.
cp /usr/share/javascript/normalize.css/normalize.css "$out/html/_static/styles/"
sed -i 's#/javascript/normalize.css/normalize.css#normalize.css#' "$out/html/_static/styles/furo.css"
echo "$out/html/index.html"
