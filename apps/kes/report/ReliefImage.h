// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"

#include <string>

namespace tool {

/// A shaded relief (sun in the north-west, 45 degrees high) as a PNG image; transparent where there are no heights.
/// `cellSize` is that of the grid in metres.
std::string shadedRelief(ReliefGrid const& grid, double cellSize);

}  // namespace tool
