// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <sensor/KESStripModel.h>

namespace tool {

/// The solver stops within 0.05 lines. Where the number of TDI stages changes the image itself steps by as much.
constexpr double closureTolerance = 0.1;

/// Distance in metres between a ground position and what its image position is projected to at the same height.
double groundClosure(sensor::KESStripModel const& strip, int band, geo::XYPoint const& image,
                     geo::XYZPoint const& ground);

/// Whether an image position lies on a pixel of the image.
bool isInside(sensor::KESStripModel const& strip, int band, geo::XYPoint const& image);

/// The largest closure on the ground (metres) of a solution.
double groundTolerance(sensor::KESStripModel const& strip, int band);

}  // namespace tool
