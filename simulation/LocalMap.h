// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>

#include <cstddef>
#include <vector>

namespace geo {
class coordSys;
}

namespace simulation {

/// A change of coordinates out of a local system, for very many positions within a box: computed at the nodes of a
/// grid, on the box's bottom and top, and linear between them along each axis.
///
/// Between nodes a distance `s` apart a curved Earth of radius R departs by at most s²/8R along each axis: 0.2 mm at
/// 100 m. A vertical grid's undulations, which bend by less, are followed likewise. Positions outside the box are
/// extrapolated.
class LocalMap {
public:
  struct Box {
    geo::XYZPoint low;
    geo::XYZPoint high;
  };

  /// The distance between nodes, metres, at which a map departs by at most `error` metres along each axis.
  static double spacingFor(double error);

  /// Lengths in metres; the box may be flat. Nodes where the target system has no positions give positions that are
  /// NaN.
  LocalMap(geo::coordSys const& local, geo::coordSys const& target, Box const& box, double spacing);

  /// The target system's position of a local one. Longitudes run on across the date line.
  geo::XYZPoint at(geo::XYZPoint const& local) const;

private:
  // The target's position at the bottom, and its change per metre upward.
  struct Node {
    geo::XYZPoint foot;
    geo::XYZPoint rise;
  };
  static geo::XYZPoint between(geo::XYZPoint const& a, geo::XYZPoint const& b, double w);
  static Node between(Node const& a, Node const& b, double w);
  std::vector<geo::XYZPoint> layer(geo::coordSys const& local, geo::coordSys const& target, double height) const;

  geo::XYZPoint mLow;
  double mSpacing;
  std::size_t mColumns;
  std::size_t mRows;
  std::vector<Node> mNodes;
};

}  // namespace simulation
