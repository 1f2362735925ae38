// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <kes/Band.h>

#include <limits>
#include <span>

namespace kesgdal {

/// Where the lines of sight of a band can come: a quick test that saves the solver the ground it would search in vain.
///
/// In the strip's local system, all lines of sight of the image's outer edges lie, at each height, between two limits
/// across the flight, and between two others across its first line and across its last one, which a camera that is
/// turned against its flight has askew. A line of sight is straight, so the least of all positions along an axis is a
/// concave function of the height: the chord between two heights lies on the safe side of it between these.
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
    return mAcross.contains(local, part) && mAlongFirst.contains(local, part) && mAlongLast.contains(local, part);
  }
  /// Whether nothing comes to the hull of some positions: all of them lie beyond the same limit.
  bool excludes(std::span<geo::XYZPoint const> corners) const;
  /// Whether a position is so deep that nothing is known of it: as far below the mean terrain as the flight is above
  /// it.
  bool isBelow(geo::XYZPoint const& local) const { return local.z < mBottom; }

private:
  struct Span {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();
    void add(double value) {
      low = value < low ? value : low;
      high = value > high ? value : high;
    }
  };
  /// Along a horizontal direction.
  struct Limits {
    double x = 0.0;
    double y = 0.0;
    Span bottom;
    Span top;
    double at(geo::XYZPoint const& local) const { return x * local.x + y * local.y; }
    bool isBefore(geo::XYZPoint const& local, double part) const {
      return at(local) < bottom.low + part * (top.low - bottom.low);
    }
    bool isAfter(geo::XYZPoint const& local, double part) const {
      return at(local) > bottom.high + part * (top.high - bottom.high);
    }
    bool contains(geo::XYZPoint const& local, double part) const {
      double const value = at(local);
      return value >= bottom.low + part * (top.low - bottom.low) &&
             value <= bottom.high + part * (top.high - bottom.high);
    }
  };
  Limits acrossLine(kes::Band const& band, double line) const;
  void add(kes::Band const& band, double sample, double line);

  double mBottom;
  double mHeight;
  Limits mAcross;
  Limits mAlongFirst;
  Limits mAlongLast;
};

}  // namespace kesgdal
