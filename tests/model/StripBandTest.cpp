// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "model/StripBand.h"

#include "SmallModel.h"
#include "support/Bytes.h"
#include "support/Matchers.h"

#include <geo/coordSys.h>
#include <sensor/CalibrationGeometryKes.h>

// The formulae of one band, in the precision of each of their parts.

namespace {

using test::Bytes;

class StripBand : public test::SmallModel {
protected:
  static sensor::CalibrationGeometryKes& sensorLine(sensor::KESStripModel const& strip) {
    return dynamic_cast<sensor::CalibrationGeometryKes&>(*strip.calibrationGeometry(0));
  }
  static std::vector<float> sameValue(float value) { return std::vector<float>(101, value); }
};

// With no rotation, as high above the plane as the camera is long: the ground's x is that of the focal plane.
TEST_F(StripBand, LineCorrectionTimesPixelSizeIsRoundedBeforeItIsAdded) {
  auto const strip = model();
  sensor::StripBand const band(*strip->modelData(), 0);
  float const correction = 0.3F;
  ASSERT_NE(static_cast<double>(band.pixelSize * correction),
            static_cast<double>(band.pixelSize) * static_cast<double>(correction));
  sensor::EOP eop;
  eop.q0 = 1.0F;
  eop.z = static_cast<double>(band.focalLength);
  geo::XYZPoint ground;
  band.focalLineOfSight({0.0, 0.0}, eop, correction).cut(0.0F, ground);
  EXPECT_EQ(ground.x, static_cast<double>(band.pixelSize * correction));
}

// Straight below the perspective centre there is nothing but the correction.
TEST_F(StripBand, LineCorrectionTimesPixelSizeIsRoundedBeforeItIsTakenOff) {
  mStrip.bands = {{"PANN00A", 0.0, false, "swath=\"101\" it=\"4\" tdi=\"a.tdi\""}};
  mFolder.file("a.tdi", (Bytes() << std::uint32_t{0} << std::uint8_t{2}).str());
  auto const strip = model();
  sensor::StripBand const band(*strip->modelData(), 0);
  sensor::EOP eop;
  float correction = 0.0F;
  strip->computeOrientation(12.0F, 0, eop, correction);
  ASSERT_NE(static_cast<double>(band.pixelSize * correction),
            static_cast<double>(band.pixelSize) * static_cast<double>(correction));
  geo::XYPoint focal;
  band.lsrToFocal({eop.x, eop.y, 0.0}, 12.0F, focal, false);
  EXPECT_EQ(focal.x, -static_cast<double>(band.pixelSize * correction));
}

TEST_F(StripBand, TdiBelowOneCountsAsNone) {
  mStrip.bands = {{"PANN00A", 0.0, false, "swath=\"101\" it=\"4\" tdi=\"a.tdi\""}};
  mFolder.file("a.tdi", (Bytes() << std::uint32_t{0} << std::uint8_t{0}).str());
  auto const strip = model();
  ASSERT_EQ(strip->tdi(0, 12.0F), 0.0F);
  sensor::EOP eop;
  float correction = 9.0F;
  strip->computeOrientation(12.5F, 0, eop, correction);
  EXPECT_EQ(correction, 0.0F);
  EXPECT_NEAR(eop.gpsTime, 100.125, 1e-9);
}

TEST_F(StripBand, ScaleIsOneWhereTheCornersCoincide) {
  auto const strip = model();
  // All samples in one place, with lines that go on: no width.
  sensorLine(*strip).setPixelData(1e-4F, 101, 101, sameValue(0.0F), sameValue(0.0F));
  strip->loadData(false, false);
  EXPECT_EQ(strip->scale(0), 1.0F);
}

TEST_F(StripBand, ScaleIsOneWhereAllFourCornersCoincide) {
  mStrip.speed = 0.0;
  auto const strip = model();
  sensorLine(*strip).setPixelData(1e-4F, 101, 101, sameValue(0.0F), sameValue(0.0F));
  strip->loadData(false, false);
  EXPECT_EQ(strip->scale(0), 1.0F);
}

TEST_F(StripBand, LocalSystemStaysThatOfTheFirstOrientation) {
  auto const strip = model();
  geo::coordSys const* const system = strip->lsrSystem();
  mStrip.anchorLongitude = "-1.3";
  mStrip.writeEop(mFolder, "flight.eop");
  strip->loadData(false, false);
  EXPECT_EQ(strip->lsrSystem(), system);
  geo::XYZPoint map;
  ASSERT_EQ(geo::coordSys::transform(strip->lsrSystem(), strip->mappingSystem(), {0.0, 0.0, 0.0}, map), 0);
  EXPECT_NEAR(map.x, -1.4, 1e-12);
}

TEST_F(StripBand, CopyIsntTheModelItselfForStereo) {
  auto const strip = model();
  // Never destroyed: it shares the data of its source.
  static sensor::KESStripModel const* copy = nullptr;
  copy = new sensor::KESStripModel(*strip);
  std::string const message = "KES stereo between different strips is not supported.";
  EXPECT_MESSAGE(copy->stereoAzimuth(*strip), message);
  EXPECT_MESSAGE(strip->stereoAzimuth(*copy), message);
  EXPECT_MESSAGE(copy->baseHeightRatio(*strip, 0, 0), message);
  EXPECT_EQ(copy->stereoAzimuth(*copy), strip->flightAzimuth());
}

}  // namespace
