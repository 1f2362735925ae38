// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/StripA.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraFactory.h>
#include <sensor/CameraTime.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModelData.h>

#include <cmath>
#include <memory>
#include <string>

namespace {

using nlohmann::json;
using sensor::KESImage;
using sensor::KESStripModelData;
using test::realOf;
using test::SameBits;

// Both choices of the orientation of the strip with a CAM calibration, and the strip with an XML calibration.
class StripAData : public testing::TestWithParam<int> {
protected:
  static void SetUpTestSuite() { sensor::CameraFactory::instance()->addSearchPath(test::stripA::path("calibration")); }

  json const& expected() const {
    return test::stripA::expected().at("strips").at(static_cast<std::size_t>(GetParam()));
  }
  std::unique_ptr<KESStripModelData> data(bool load = true) const {
    return std::make_unique<KESStripModelData>(test::stripA::path(expected().at("file").get<std::string>()), nullptr,
                                               load, expected().at("useOriginalEOP").get<bool>(), false);
  }
};

TEST_P(StripAData, HasTheExpectedOrientationAndHeights) {
  auto const strip = data();
  EXPECT_EQ(strip->eopFileName(), test::stripA::path("project/" + expected().at("eopFile").get<std::string>()));
  // The strip with an XML calibration has no adjusted one.
  EXPECT_EQ(strip->isUseOriginalEOP(), GetParam() != 0);
  EXPECT_THAT(strip->meanTerrainHeight(), SameBits(realOf(expected().at("meanTerrainHeight"))));
  EXPECT_THAT(strip->meanFlyingHeight(), SameBits(realOf(expected().at("meanFlyingHeight"))));
}

TEST_P(StripAData, HasTheExpectedBands) {
  auto const strip = data();
  json const& bands = expected().at("bands");
  ASSERT_EQ(strip->numBands(), static_cast<int>(bands.size()));
  for (json const& band : bands) {
    auto const id = band.at("band").get<std::string>();
    SCOPED_TRACE(id);
    int const index = strip->bandIndex(id);
    ASSERT_EQ(index, band.at("index").get<int>());
    KESImage& image = *strip->img(index);
    EXPECT_EQ(image.numSamples(), band.at("numSamples").get<int>());
    EXPECT_EQ(image.sampleOffsetFromCalib(), band.at("sampleOffsetFromCalib").get<int>());
    EXPECT_THAT(image.gsd(), SameBits(realOf(band.at("gsd"))));
    EXPECT_EQ(image.numImagingSamples(), GetParam() < 2 ? 12000 : 11976);
    EXPECT_EQ(strip->calib(index)->bandId(), id);
  }
}

TEST_P(StripAData, HasTheExpectedNominalHeights) {
  auto const strip = data();
  test::Table const heights(expected().at("nominalHeight"));
  for (std::size_t row = 0; row < heights.size(); ++row) {
    EXPECT_THAT(strip->computeNominalHeight(heights.real(row, "gsd")), SameBits(heights.real(row, "height")));
  }
}

// The line times don't depend on the orientation; of the strip with a CAM calibration they stand with the adjusted one
// alone.
TEST_P(StripAData, HasTheExpectedLineTimes) {
  auto const strip = data();
  for (json const& band : test::stripA::expected().at("strips").at(GetParam() < 2 ? 0 : 2).at("bands")) {
    SCOPED_TRACE(band.at("band").get<std::string>());
    KESImage const& image = *strip->img(band.at("band").get<std::string>());
    json const& timing = band.at("timing");
    EXPECT_EQ(image.numScanlines(), timing.at("count").get<int>());
    EXPECT_EQ(image.cameraTime()->isNonUniformCT(), timing.at("nonUniform").get<bool>());
    test::Table const lines(timing.at("lines"));
    for (std::size_t row = 0; row < lines.size(); ++row) {
      float const line = lines.real(row, "line");
      EXPECT_EQ(image.gpsTime(line).value(), lines.number(row, "gpsTime")) << line;
      EXPECT_EQ(image.cycleTime(line).value(), lines.number(row, "cycleTime")) << line;
      EXPECT_THAT(image.line(sensor::seconds(lines.number(row, "gpsTime"))), SameBits(lines.real(row, "line_back")))
          << line;
      EXPECT_THAT(image.integrationTime(line), SameBits(lines.real(row, "integrationTime"))) << line;
      EXPECT_THAT(image.tdi(line), SameBits(lines.real(row, "tdi"))) << line;
    }
  }
}

TEST_P(StripAData, FindsItsFiles) {
  auto const strip = data(false);
  std::string message;
  EXPECT_TRUE(strip->isDataValid(message, true)) << message;
  EXPECT_EQ(message, "");
}

TEST_P(StripAData, KnowsItsNameAndItsImagePoints) {
  if (GetParam() == 2) {
    EXPECT_EQ(data(false)->name(), "Line7_xml");
    return;
  }
  auto const strip = data(false);
  EXPECT_TRUE(strip->isAdjustedEOPFile());
  EXPECT_EQ(strip->name(), "Line7_cam");
  EXPECT_EQ(strip->img("PANF27A")->iptFileName(), test::stripA::path("project/cam_PANF27A.ipt"));
  EXPECT_EQ(strip->img("PANN00A")->iptFileName(), "");
}

INSTANTIATE_TEST_SUITE_P(Strips, StripAData, testing::Values(0, 1, 2), [](auto const& choice) {
  return choice.param == 0 ? "Adjusted" : choice.param == 1 ? "Original" : "XmlCalibration";
});

}  // namespace
