// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "RandomStrips.h"
#include "platform/ElevationSupport.h"
#include "support/SmallStrip.h"
#include "support/TempFolder.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/kes.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

namespace test {

/// A strip at 0.6 radians north on the central meridian of zone 33; pixels of 2 m, lines of 1 m, from 1000 m. A band
/// that looks ahead by 12 in 50.
class SurfaceHit : public testing::Test {
protected:
  static constexpr double DEGREE = 0.017453292519943295;

  SurfaceHit() {
    mSmall.sensorId = testing::UnitTest::GetInstance()->current_test_info()->name();
    mSmall.bands = {{"PANF27A", 12.0}, {"PANN00A", 0.0}};
    mSmall.anchorLongitude = std::to_string(15.0 * DEGREE);
    kes::StripOptions options;
    options.calibrations = {mFolder / "calibration"};
    mStrip = std::make_unique<kes::Strip>(mSmall.write(mFolder), options);
    geo::XYZPoint origin(0.0, 0.0, 0.0);
    mStrip->localSystem().transform(mMap, {&origin, 1}, {&mOrigin, 1});
    // Cells of 4 m around the image's ground, with the local origin at a corner of cells.
    mRaster.columns = 120;
    mRaster.rows = 120;
    mRaster.geoTransform = {mOrigin.x - 120.0, 4.0, 0.0, mOrigin.y + 240.0, 0.0, -4.0};
    mRaster.system = "EPSG:32633";
  }

  double groundHeight() const { return mOrigin.z; }
  kes::Surface surface() { return kes::Surface::raster(mRaster.write(mFolder)); }

  kes::Band::OnGround hit(char const* band, geo::XYPoint const& image, kes::Surface const& surface) const {
    kes::ToGroundOptions options;
    options.heights = surface;
    options.system = mMap;
    return mStrip->band(band).toGround(image, options);
  }

  /// How far a position of the map is above the surface.
  static double above(geo::XYZPoint const& position, kes::Surface const& surface) {
    double height = 0.0;
    surface.heights({&position, 1}, {&height, 1});
    return position.z - height;
  }

  /// The ray of an image position in small steps from the camera down to the first place below the surface: its local
  /// height; NaN where it isn't above the surface before.
  double firstByWalking(char const* id, geo::XYPoint const& image, kes::Surface const& surface) const {
    kes::Band const band = mStrip->band(id);
    bool wasAbove = false;
    for (double z = 400.0; z > -50.0; z -= 0.05) {
      auto const local = band.toGround(image, atHeight(z));
      geo::XYZPoint map;
      mStrip->localSystem().transform(mMap, {&local.position, 1}, {&map, 1});
      double const here = above(map, surface);
      if (here <= 0.0) {
        return wasAbove ? z : std::numeric_limits<double>::quiet_NaN();
      }
      wasAbove = here > 0.0;
    }
    return std::numeric_limits<double>::quiet_NaN();
  }

  TempFolder mFolder;
  SmallStrip mSmall;
  ElevationRaster mRaster;
  kes::CoordinateSystem mMap{"EPSG:32633"};
  std::unique_ptr<kes::Strip> mStrip;
  geo::XYZPoint mOrigin;
};

}  // namespace test
