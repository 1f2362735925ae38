// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "StripAFlight.h"
#include "support/Matchers.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <sensor/CameraFactory.h>
#include <sensor/EOP.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using sensor::EOP;
using sensor::KESStripModel;
using test::farImagePoints;
using test::groundPoint;
using test::imagePoint;
using test::realOf;
using test::SameBits;
using test::Table;
using test::WithinUlps;

constexpr double metres = 1e-3;

// Both choices of the orientation of the strip with a CAM calibration, the second with fewer tables, and the strip with
// an XML calibration.
class StripAProjection : public testing::TestWithParam<int> {
protected:
  json const& strip() const { return test::stripA::expected().at("strips").at(static_cast<std::size_t>(GetParam())); }

  // The strip, loaded.
  std::unique_ptr<KESStripModel> model() const { return test::stripAModel(strip()); }
};

void expectAttitude(Table const& table, std::size_t row, EOP const& eop) {
  EXPECT_THAT(eop.q0, WithinUlps(table.real(row, "q0"), 2));
  EXPECT_THAT(eop.q1, WithinUlps(table.real(row, "q1"), 2));
  EXPECT_THAT(eop.q2, WithinUlps(table.real(row, "q2"), 2));
  EXPECT_THAT(eop.q3, WithinUlps(table.real(row, "q3"), 2));
}

void expectOrientation(Table const& table, std::size_t row, EOP const& eop, float correction) {
  SCOPED_TRACE("line " + std::to_string(table.number(row, "line")));
  EXPECT_THAT(correction, SameBits(table.real(row, "correction")));
  EXPECT_EQ(eop.gpsTime, table.number(row, "gpsTime"));
  EXPECT_EQ(eop.status, table.real(row, "status"));
  expectAttitude(table, row, eop);
  EXPECT_EQ(eop.x, table.number(row, "x"));
  EXPECT_EQ(eop.y, table.number(row, "y"));
  EXPECT_EQ(eop.z, table.number(row, "z"));
}

void expectGround(Table const& table, std::size_t row, geo::XYZPoint const& ground) {
  SCOPED_TRACE("row " + std::to_string(row));
  EXPECT_NEAR(ground.x, table.number(row, "x"), metres);
  EXPECT_NEAR(ground.y, table.number(row, "y"), metres);
  EXPECT_EQ(ground.z, table.number(row, "z"));
}

TEST_P(StripAProjection, HasTheExpectedHeightsAzimuthScalesAndSamplingDistances) {
  auto const strip = model();
  EXPECT_EQ(strip->meanTerrainHeight(), static_cast<double>(realOf(this->strip().at("meanTerrainHeight"))));
  EXPECT_EQ(strip->meanFlyingHeight(), static_cast<double>(realOf(this->strip().at("meanFlyingHeight"))));
  EXPECT_THAT(strip->flightAzimuth(), WithinUlps(realOf(this->strip().at("flightAzimuth")), 1));
  for (json const& band : this->strip().at("bands")) {
    SCOPED_TRACE(band.at("band").get<std::string>());
    int const index = strip->bandIndex(band.at("band").get<std::string>());
    ASSERT_EQ(index, band.at("index").get<int>());
    EXPECT_EQ(strip->imageWidth(index), band.at("numSamples").get<unsigned>());
    EXPECT_EQ(strip->img(index)->sampleOffsetFromCalib(), band.at("sampleOffsetFromCalib").get<int>());
    if (band.contains("timing")) {
      EXPECT_EQ(strip->imageHeight(index), band.at("timing").at("count").get<unsigned>());
    }
    EXPECT_THAT(strip->gsd(index), SameBits(realOf(band.at("gsd"))));
    EXPECT_NEAR(strip->scale(index), realOf(band.at("scale")), 2e-6F);
    EXPECT_THAT(strip->lookAngle(index), WithinUlps(realOf(band.at("lookAngle")), 1));
  }
}

TEST_P(StripAProjection, HasTheExpectedBaseHeightRatiosAndNominalHeights) {
  auto const strip = model();
  Table const ratios(this->strip().at("baseHeightRatio"));
  for (std::size_t row = 0; row < ratios.size(); ++row) {
    auto const index = [&](char const* column) {
      json const& cell = ratios.at(row, column);
      return cell.is_string() ? strip->bandIndex(cell.get<std::string>()) : cell.get<int>();
    };
    EXPECT_NEAR(strip->baseHeightRatio(*strip, index("a"), index("b")), ratios.number(row, "baseHeightRatio"), 1e-7);
  }
  Table const heights(this->strip().at("nominalHeight"));
  for (std::size_t row = 0; row < heights.size(); ++row) {
    EXPECT_THAT(strip->modelData()->computeNominalHeight(heights.real(row, "gsd")),
                SameBits(heights.real(row, "height")));
  }
}

TEST_P(StripAProjection, OrientsLinesAsExpected) {
  auto const strip = model();
  for (json const& band : this->strip().at("bands")) {
    SCOPED_TRACE(band.at("band").get<std::string>());
    int const index = band.at("index").get<int>();
    Table const table(band.at("computeOrientation"));
    for (std::size_t row = 0; row < table.size(); ++row) {
      EOP eop;
      float correction = 0.0F;
      strip->computeOrientation(table.real(row, "line"), index, eop, correction);
      expectOrientation(table, row, eop, correction);
    }
    Table const given(band.at("computeOrientation_given_tdi"));
    for (std::size_t row = 0; row < given.size(); ++row) {
      EOP eop;
      float correction = 0.0F;
      strip->computeOrientation(given.real(row, "line"), index, given.real(row, "tdi"), eop, correction);
      expectOrientation(given, row, eop, correction);
    }
  }
}

TEST_P(StripAProjection, ProjectsImagePointsToTheGround) {
  auto const strip = model();
  for (json const& band : this->strip().at("bands")) {
    SCOPED_TRACE(band.at("band").get<std::string>());
    int const index = band.at("index").get<int>();
    geo::XYZPoint ground;
    Table const table(band.at("imageToLsr"));
    for (std::size_t row = 0; row < table.size(); ++row) {
      strip->imageToLsr(imagePoint(table, row), table.real(row, "height"), index, ground);
      expectGround(table, row, ground);
    }
    Table const given(band.at("imageToLsr_given_tdi"));
    for (std::size_t row = 0; row < given.size(); ++row) {
      strip->imageToLsr(imagePoint(given, row), given.real(row, "height"), index, given.real(row, "tdi"), ground);
      expectGround(given, row, ground);
    }
  }
}

TEST_P(StripAProjection, HasTheExpectedDirectionsOfView) {
  auto const strip = model();
  for (json const& band : this->strip().at("bands")) {
    int const index = band.at("index").get<int>();
    if (!band.contains("angles")) {
      continue;
    }
    Table const table(band.at("angles"));
    for (std::size_t row = 0; row < table.size(); ++row) {
      EXPECT_THAT(strip->azimuth(imagePoint(table, row), index), WithinUlps(table.real(row, "azimuth"), 2));
      EXPECT_THAT(strip->zenith(imagePoint(table, row), index), WithinUlps(table.real(row, "zenith"), 1));
    }
  }
}

TEST_P(StripAProjection, SolvesForSinglePointsInTheExpectedPasses) {
  auto const strip = model();
  for (json const& band : this->strip().at("bands")) {
    SCOPED_TRACE(band.at("band").get<std::string>());
    int const index = band.at("index").get<int>();
    Table const table(band.at("lsrToImage"));
    std::vector<geo::XYPoint> image(table.size());
    std::size_t otherPasses = 0;
    for (std::size_t row = 0; row < table.size(); ++row) {
      int const passes = solveImage(*strip, groundPoint(table, row), index, image[row]);
      otherPasses += passes != table.at(row, "passes").get<int>();
    }
    EXPECT_LE(farImagePoints(table, image), table.size() / 50);
    EXPECT_LE(otherPasses, table.size() / 50);
  }
}

TEST_P(StripAProjection, SolvesForRunsOfPoints) {
  auto const strip = model();
  for (json const& band : this->strip().at("bands")) {
    int const index = band.at("index").get<int>();
    for (json const& run : band.value("lsrToImage_runs", json::array())) {
      SCOPED_TRACE(band.at("band").get<std::string>() + " " + run.at("run").get<std::string>());
      Table const table(run.at("points"));
      std::vector<geo::XYZPoint> const ground = test::groundPoints(table);
      std::vector<geo::XYPoint> image(ground.size());
      strip->lsrToImage(ground, index, image);
      EXPECT_LE(farImagePoints(table, image), table.size() / 20);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Strips, StripAProjection, testing::Values(0, 1, 2), [](auto const& choice) {
  return choice.param == 0 ? "Adjusted" : choice.param == 1 ? "Original" : "XmlCalibration";
});

}  // namespace
