// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "StripReach.h"

#include <geo/XYZPoint.h>
#include <kes/Band.h>
#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>

#include <cstddef>
#include <vector>

namespace sensor {
class KESStripModel;
}

namespace kesgdal {

/// Puts positions of the map onto a surface: the position of the surface's system that lies at the x and y of the map.
///
/// Between two systems of one datum that doesn't depend on the height. Between others the height moves a position
/// sideways, by some millimetres in hundreds of metres; it is then found in passes, from the mean terrain of a strip
/// on.
///
/// Along a row of a raster the way from the map to the surface's system, and from there to the local one, is known at
/// nodes 30 m apart and linear between them. On an Earth of radius R that departs by 30² / 8R = 0.02 mm at the most,
/// and where a grid of heights bends, by as much as a tenth of a millimetre: far less than a float resolves in a local
/// position. Heights are those at each position itself.
class SurfacePositions {
public:
  /// What a row needs on the way; each thread has one.
  struct Buffers {
    std::vector<geo::XYZPoint> nodes;  // of the surface's system
    std::vector<geo::XYZPoint> low;    // their local positions at two heights
    std::vector<geo::XYZPoint> high;
    std::vector<geo::XYZPoint> map;
    std::vector<double> places;  // along a row, in nodes from the first one
    std::vector<double> heights;
    std::vector<char> isExcluded;  // for each pair of neighbouring nodes; or empty
  };
  /// From the first pixel of a row to the last one, on the map.
  struct Row {
    geo::XYZPoint first;
    geo::XYZPoint last;
  };

  SurfacePositions(kes::Band const& band, kes::CoordinateSystem const& map, kes::Surface const& surface);

  /// Replaces positions of the map, whose z doesn't count, by those of the strip's local system on the surface; NaN
  /// where there is none. Throws what the surface throws when it can't be read.
  void toLocal(std::vector<geo::XYZPoint>& points, Buffers& buffers) const;
  /// The same for a row of a raster, whose positions are linear in its columns. Between nodes that
  /// `Buffers::isExcluded` has, there are none.
  void rowToLocal(double const* columns, std::vector<geo::XYZPoint>& points, Buffers& buffers) const;

  /// Finds out between which nodes of the rows from one to another, whose nodes lie side by side, nothing is within
  /// reach on a surface between two heights. Returns whether anything may be.
  bool exclude(Row const& top, Row const& bottom, StripReach const& reach, kes::Surface::HeightRange const& heights,
               Buffers& buffers) const;

private:
  std::size_t nodeCount(Row const& row) const;
  bool dependOnHeight(sensor::KESStripModel const& strip) const;
  geo::XYZPoint startOfLine(sensor::KESStripModel const& strip, double line) const;
  void toSurface(std::vector<geo::XYZPoint>& points, Buffers& buffers) const;
  bool makeNodes(geo::XYZPoint const& first, geo::XYZPoint const& last, std::size_t count, Buffers& buffers) const;
  template <class Work>
  static void forEachSegment(Buffers const& buffers, Work const& work);
  void putSegmentOnSurface(std::size_t k, std::size_t begin, std::size_t end, std::vector<geo::XYZPoint>& points,
                           Buffers& buffers) const;

  kes::CoordinateSystem mMap;
  kes::CoordinateSystem mLocal;
  kes::Surface mSurface;
  bool mIsMapOfSurface;
  bool mDependOnHeight = false;
  double mMeanHeight = 0.0;  // of the map
  double mMapUnit;           // metres
  double mSurfaceUnit;
  double mHeightUnit;  // of the surface
};

}  // namespace kesgdal
