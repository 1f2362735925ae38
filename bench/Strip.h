#pragma once

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <sensor/kessensor.h>

#include <string>
#include <vector>

namespace bench {

/// A loaded strip of 20000 lines through turbulent air, made once for the run.
sensor::KESStripModel const& strip();
/// The folder of that flight.
std::string const& flightFolder();

/// A million points of a grid on the terrain plane, row by row along the sensor line of PANN00A, and their image positions.
std::vector<geo::XYZPoint> const& groundGrid();
std::vector<geo::XYPoint> const& imageGrid();

}  // namespace bench
