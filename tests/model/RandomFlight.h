// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "model/FourLaneSolver.h"
#include "timing/Attitude.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>

#include <random>
#include <vector>

namespace test {

/// A flight through turbulence with a bent sensor line, all from a seed, as the search in lanes sees it: tables, and
/// orientations by formulae. A pixel of 0.1 mm at 50 mm from 1000 m, so 2 m on the ground; lines of 1 m.
class RandomFlight {
public:
  explicit RandomFlight(unsigned seed);

  /// The orientation of a line into a lane.
  void operator()(float line, bool headingOnly, unsigned lane, sensor::FourLaneOrientation& lanes) const;

  sensor::FourLaneConstants constants() const;
  double lastSample() const { return static_cast<double>(mX.size()) - 1.0; }
  double lines() const { return 200.0; }
  /// Where an image position lies on a level of height 0 (the rotation in double precision).
  geo::XYZPoint groundOf(geo::XYPoint const& image) const;

  /// Ground positions: a grid over the image and beyond its edges, positions anywhere, and such as nobody would ask
  /// for.
  std::vector<geo::XYZPoint> grid() const;
  std::vector<geo::XYZPoint> scatter() const;
  std::vector<geo::XYZPoint> hostilePoints() const;

private:
  sensor::EOP orientation(double line) const;

  struct Wave {
    double amplitude;
    double frequency;
    double phase;
    double at(double line) const;
  };

  unsigned mSeed;
  double mHeading = 0.0;
  float mTdi = 0.0F;
  std::vector<Wave> mRoll;
  std::vector<Wave> mPitch;
  std::vector<Wave> mYaw;
  std::vector<float> mX;
  std::vector<float> mY;
};

}  // namespace test
