// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/SmallStrip.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <sensor/CameraFactory.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace test {

/// A test with small strips of its own. The factory keeps cameras for the life of the process, so that each test has a
/// sensor id of its own.
class SmallModel : public testing::Test {
protected:
  SmallModel() {
    mStrip.sensorId = testing::UnitTest::GetInstance()->current_test_info()->name();
    std::replace(mStrip.sensorId.begin(), mStrip.sensorId.end(), '/', '_');
    sensor::CameraFactory::instance()->addSearchPath(mFolder / "calibration");
  }

  std::unique_ptr<sensor::KESStripModel> model(bool load = true) {
    return std::make_unique<sensor::KESStripModel>(mStrip.write(mFolder), load, false, false);
  }

  static geo::XYZPoint ground(sensor::KESStripModel const& model, double sample, double line, float height,
                              int band = 0) {
    geo::XYZPoint point;
    model.imageToLsr({sample, line}, height, band, point);
    return point;
  }

  TempFolder mFolder;
  SmallStrip mStrip;
};

}  // namespace test
