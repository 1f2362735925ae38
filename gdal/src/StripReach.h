// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <kes/Band.h>

#include <limits>

namespace kesgdal {

/// Where the lines of sight of a band can come: a quick test that saves the solver the ground it would search in vain.
///
/// In the strip's local system, along the flight and across it, all lines of sight of the image's outer edges lie
/// within a box at each height. A line of sight is straight, so the least of all positions along an axis is a concave
/// function of the height: the chord between two heights lies on the safe side of it between these.
class StripReach {
public:
  /// Of the image and `margin` pixels around it.
  StripReach(kes::Band const& band, double margin);

  /// False where no line of sight comes, and at positions that aren't finite.
  bool contains(geo::XYZPoint const& local) const {
    double const part = (local.z - mBottom) / mHeight;
    if (part < 0.0 || part > 1.0) {
      return true;  // nothing is known
    }
    double const along = mCosine * local.x + mSine * local.y;
    double const across = mCosine * local.y - mSine * local.x;
    return mAlong.contains(along, part) && mAcross.contains(across, part);
  }

private:
  struct Span {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();
    void add(double value) {
      low = value < low ? value : low;
      high = value > high ? value : high;
    }
  };
  struct Chord {
    Span bottom;
    Span top;
    bool contains(double value, double part) const {
      return value >= bottom.low + part * (top.low - bottom.low) &&
             value <= bottom.high + part * (top.high - bottom.high);
    }
  };
  void add(kes::Band const& band, double sample, double line);

  double mBottom;
  double mHeight;
  double mCosine;
  double mSine;
  Chord mAlong;
  Chord mAcross;
};

}  // namespace kesgdal
