#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT
#
# tutorial.sh PROGRAM FLIGHT: runs the tutorial's program, which projects the middle of an image of 12000 samples and
# 200 lines to the mean terrain height of 18.43 m, and back to the same pixel.
set -euo pipefail
output=$("$1" "$2/project/strip_cam.stp" "$2/calibration")
echo "$output"
[[ $output =~ ^[-0-9.]+\ [-0-9.]+\ 18\.430\ ok$'\n'6000\.000\ 100\.000\ ok$ ]]
