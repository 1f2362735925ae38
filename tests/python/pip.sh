#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# pip.sh PYTHON SOURCE WORK: installs the package with pip into a new virtual environment, from a copy of what the
# checkout has, and uses it away from the checkout.
set -euo pipefail
python=$1
source=$2
work=$3/pip
rm -rf "$work"
mkdir -p "$work/source"
tar -C "$source" -c --exclude=./build --exclude=./install --exclude=.git . | tar -C "$work/source" -x
"$python" -m venv --system-site-packages "$work/venv"
cd "$work"
# With the flags of the other builds, whose objects the compiler cache has.
CMAKE_ARGS=-DKESSENSOR_WERROR=ON "$work/venv/bin/pip" install -q --no-build-isolation --no-deps "$work/source"
rm -rf "$work/source"
"$work/venv/bin/python" - "$source/data/terrain/jacksboro_dem.tif" <<'PYTHON'
import sys
from pathlib import Path

import kessensor as ks

assert Path(ks.__file__).is_relative_to(sys.prefix), ks.__file__
strip = ks.Strip(ks.simulate("flight", sys.argv[1], lines=200, samples=64))
ground = strip["PANN00A"].to_ground(10.0, 20.0, surface=ks.Surface(sys.argv[1]), crs="EPSG:32616")
assert ground.status == ks.Status.OK, ground
block = ks.simulate("block", sys.argv[1], strips=2, lines=1000, samples=64, control=4, ties=4.0, navigation="tactical")
assert ks.adjust(block, plan=True).planned
PYTHON
