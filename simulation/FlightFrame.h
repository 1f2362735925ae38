// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <simulation/FlightPlan.h>

#include <cstdint>
#include <memory>

namespace geo {
class coordSys;
}

namespace simulation {

class Terrain;

/// The ground of a flight as planned: a rectangle about the strip's middle, along the heading, that a line looking
/// straight down sweeps. Lengths in metres.
class FlightFrame {
public:
  FlightFrame(FlightPlan const& plan, Terrain const& terrain);
  ~FlightFrame();
  FlightFrame(FlightFrame const&) = delete;
  FlightFrame& operator=(FlightFrame const&) = delete;

  /// From a line to the next: as long on the ground as a pixel is wide.
  static std::uint32_t cycleMicroseconds(FlightPlan const& plan);
  /// Seconds from the first line to the end of the last, at that rate.
  static double duration(FlightPlan const& plan);

  double halfLength() const { return mHalfLength; }
  double halfWidth() const { return mHalfWidth; }
  /// Longitude and latitude of the strip's middle, radians; z is 0.
  geo::XYZPoint const& middle() const { return mMiddle; }
  /// Longitude and latitude (radians) of a place so far ahead of the middle and to its left.
  geo::XYZPoint lonLat(double ahead, double left) const;

private:
  double mYaw;
  double mHalfLength;
  double mHalfWidth;
  std::unique_ptr<geo::coordSys> mGeographic;
  geo::XYZPoint mMiddle;
  std::unique_ptr<geo::coordSys> mLocal;
};

}  // namespace simulation
