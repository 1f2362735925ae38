// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "points/PointTable.h"
#include "shared/MapOptions.h"
#include "shared/Strip.h"

#include <dsm/ProjectedElevationSource.h>

#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tool {

struct ProjectOptions {
  StripOptions strip;
  MapOptions map;
  std::string band;
  std::string to;
  std::string frame = "lsr";
  std::string solver = "point";
  std::string orientation = "adjusted";
  std::string dem;
  std::optional<float> tdi;
  bool verify = false;
  std::string points;
};

/// Projects the points of a table and prints it with the results.
class PointProjection {
public:
  /// `name` stands for the table in messages.
  PointProjection(ProjectOptions const& options, std::istream& in, std::string const& name);
  void run();

private:
  void readPoints();
  void projectToGround();
  void projectOnSurface();
  void projectToImage();
  void convertToLsr();
  void checkConversion() const;
  std::vector<std::string> results(std::size_t i) const;
  double closureOf(std::size_t i) const;
  std::string status(geo::XYPoint const& image, double closure) const;

  ProjectOptions const& mOptions;
  bool mToGround;
  bool mToMap;
  sensor::KESStripModel mStrip;
  int mBand;
  std::unique_ptr<geo::coordSys> mMapSystem;
  std::unique_ptr<dsm::ProjectedElevationSource> mSurface;
  PointTable mTable;
  // Of the block at hand. Ground positions are in the frame that was asked for, and in the strip's own one.
  std::vector<geo::XYPoint> mImage;
  std::vector<geo::XYZPoint> mGround;
  std::vector<geo::XYZPoint> mLsr;
};

}  // namespace tool
