// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <geo/coordSys.h>
#include <sensor/kessensor.h>

#include <string>
#include <vector>

namespace bench {

/// A loaded strip of 20000 lines through turbulent air, made once for the run.
sensor::KESStripModel const& strip();
/// The same, to set its mapping system.
sensor::KESStripModel& mutableStrip();
/// The folder of that flight.
std::string const& flightFolder();

/// A million points of a grid on the terrain plane, row by row along the sensor line of PANN00A, and their image
/// positions. The grid is spread over the whole strip: neighbours in a row are twelve pixels apart, rows twenty lines.
std::vector<geo::XYZPoint> const& groundGrid();
std::vector<geo::XYPoint> const& imageGrid();
/// As many points with neighbours a pixel apart, and rows a line, as an orthophoto has them.
std::vector<geo::XYZPoint> const& pixelGrid();

/// A grid's positions in a coordinate system.
std::vector<geo::XYZPoint> inSystem(std::vector<geo::XYZPoint> const& grid, geo::coordSys const& system);

}  // namespace bench
