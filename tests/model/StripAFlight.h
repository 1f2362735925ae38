// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/StripA.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <sensor/CameraFactory.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace test {

// Of a solver: its own tolerance, and where the last bit decides on one pass more.
inline constexpr double solverLines = 0.01;
inline constexpr double onePassMore = 0.2;

/// A strip of the independent flight, of `expected().at("strips")`, loaded.
inline std::unique_ptr<sensor::KESStripModel> stripAModel(nlohmann::json const& strip) {
  sensor::CameraFactory::instance()->addSearchPath(stripA::path("calibration"));
  return std::make_unique<sensor::KESStripModel>(stripA::path(strip.at("file").get<std::string>()), true,
                                                 strip.at("useOriginalEOP").get<bool>(), false);
}

inline geo::XYPoint imagePoint(Table const& table, std::size_t row) {
  return {table.number(row, "sample"), table.number(row, "line")};
}

inline geo::XYZPoint groundPoint(Table const& table, std::size_t row) {
  return {table.number(row, "x"), table.number(row, "y"), table.number(row, "z")};
}

inline std::vector<geo::XYZPoint> groundPoints(Table const& table) {
  std::vector<geo::XYZPoint> points;
  for (std::size_t row = 0; row < table.size(); ++row) {
    points.push_back(groundPoint(table, row));
  }
  return points;
}

/// How many image points of a table lie further from the expected ones than the solver's own tolerance, after having
/// held all of them against the tolerance of one pass more.
inline std::size_t farImagePoints(Table const& table, std::vector<geo::XYPoint> const& image) {
  std::size_t far = 0;
  for (std::size_t row = 0; row < table.size(); ++row) {
    SCOPED_TRACE("row " + std::to_string(row));
    geo::XYPoint const expected = imagePoint(table, row);
    EXPECT_NEAR(image[row].x, expected.x, onePassMore);
    EXPECT_NEAR(image[row].y, expected.y, onePassMore);
    far += std::fabs(image[row].x - expected.x) > solverLines || std::fabs(image[row].y - expected.y) > solverLines;
  }
  return far;
}

}  // namespace test
