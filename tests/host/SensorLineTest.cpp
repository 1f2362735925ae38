// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SensorLine.h"

#include <sensor/CalibrationGeometryKes.h>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

using kes::detail::SensorLine;

constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();

// A sensor line whose y turns back has several samples at a y; which one is found depends on where the search begins.
TEST(SensorLine, AscendsWhereYRunsOneWay) {
  sensor::CalibrationGeometryKes calibration;
  auto const ascends = [&](std::vector<double> const& y) {
    calibration.setPixelData(1e-5F, static_cast<int>(y.size()), static_cast<int>(y.size()),
                             std::vector<double>(y.size()), y);
    return SensorLine(calibration, 0).ascends();
  };
  EXPECT_TRUE(ascends({-1e-5, 0.0, 1e-5, 2e-5}));
  EXPECT_TRUE(ascends({2e-5, 1e-5, 0.0, -1e-5}));
  EXPECT_FALSE(ascends({-1e-5, 1e-5, 0.0, 2e-5}));
  EXPECT_FALSE(ascends({-1e-5, 0.0, 0.0, 2e-5}));
  EXPECT_FALSE(ascends({-1e-5, NAN_VALUE, 1e-5, 2e-5}));
}

}  // namespace
