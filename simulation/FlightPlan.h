#pragma once

#include <cstdint>
#include <string>

namespace simulation {

/// What is flown. Everything else about a flight follows from the seed.
struct FlightPlan {
  static constexpr int minLines = 200;
  static constexpr int maxLines = 200000;
  static constexpr int minSamples = 64;
  static constexpr int maxSamples = 60000;

  /// Elevation model under the flight, any raster that GDAL reads. The middle of the strip is over its middle.
  std::string dem;
  int lines = 4000;
  int samples = 12000;
  std::uint64_t seed = 1;
  /// Flying height above the mean terrain, metres.
  double height = 2000.0;
  /// Direction of flight, degrees clockwise from north.
  double heading = 237.0;
  std::string name = "Line1";

  /// Throws std::runtime_error with the first value that can't be flown and its range.
  void validate() const;
};

}  // namespace simulation
