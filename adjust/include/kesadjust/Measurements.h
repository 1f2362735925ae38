// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/Block.h>
#include <kes/CoordinateSystem.h>
#include <kes/Strip.h>
#include <kesadjust/kesadjust_export.h>

#include <span>
#include <string>
#include <vector>

namespace kesadjust {

/// A point measured in an image: sample and line, and their standard deviations; pixels.
struct ImageMeasurement {
  std::string strip;
  std::string band;
  std::string point;
  geo::XYPoint position;
  geo::XYPoint sigma;
};

/// A point measured on the ground, in the units of its system.
struct GroundMeasurement {
  std::string id;
  geo::XYZPoint position;
  geo::XYZPoint sigma;
  bool isCheck = false;  ///< Takes no part in the adjustment, but is compared with it.
};

/// What an adjustment starts from. A point of the images that isn't on the list of ground points is a tie point.
struct Measurements {
  kes::CoordinateSystem system;  ///< Of the ground points.
  std::vector<ImageMeasurement> image;
  std::vector<GroundMeasurement> ground;
};

/// What stands in for standard deviations that a list doesn't have, or has as 0.
struct DefaultSigmas {
  double image = 0.3;    ///< Pixels, of sample and line.
  double ground = 0.03;  ///< Metres, of each coordinate.
};

/// Which ground points are control and which are check points. Points of `control` are control points, those of `check`
/// check points. All others are check points if `control` names any; otherwise those of type 2 are check points and the
/// rest control points.
struct GroundRoles {
  std::vector<std::string> control;
  std::vector<std::string> check;
};

/// Reads the ground points of a block, the image points that belong to its images (`*.ipt`), and further lists of image
/// points, each named after the image it belongs to. Points that aren't in use are left out. Throws std::runtime_error
/// "no ground point has the id ID" for a role, "ID is a control and a check point", "can't read FILE",
/// "FILE isn't named after an image of the block", "FILE is named after images of several strips".
[[nodiscard]] KESADJUST_EXPORT Measurements readMeasurements(kes::Block const& block,
                                                             std::span<kes::Strip const> strips,
                                                             GroundRoles const& roles, DefaultSigmas const& sigmas,
                                                             std::span<std::string const> tieFiles = {});

/// How image points of a block that isn't flown yet are planned.
struct PlannedTies {
  double interval = 1.0;  ///< Between rows of points along a strip, seconds; positive.
  int across = 3;         ///< Points in a row; positive.
};

/// The image points that a block will have: a grid of tie points on the mean terrain height below each strip, and the
/// given ground points, wherever an image has them. What `given` has in its images isn't used. Throws
/// std::invalid_argument "a plan needs a positive interval and number of points".
[[nodiscard]] KESADJUST_EXPORT Measurements plannedMeasurements(Measurements const& given,
                                                                std::span<kes::Strip const> strips,
                                                                PlannedTies const& ties, DefaultSigmas const& sigmas);

}  // namespace kesadjust
