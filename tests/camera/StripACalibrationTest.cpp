// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/StripA.h"

#include <geo/XYPoint.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKes.h>
#include <sensor/CalibrationRadiometryKesV2.h>
#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKesV1Cam.h>
#include <sensor/SerializerCameraKesV2Xml.h>

#include <QDateTime>

#include <memory>

namespace {

using nlohmann::json;
using sensor::CalibrationGeometryKes;
using sensor::CameraKes;
using test::realOf;
using test::SameBits;
using test::Table;
using test::WithinUlps;

std::unique_ptr<sensor::SerializerCameraKes> serializerOf(json const& camera) {
  std::string const folder = test::stripA::path(camera.at("folder").get<std::string>());
  if (camera.at("kind") == "xml") {
    return std::make_unique<sensor::SerializerCameraKesV2Xml>(folder);
  }
  return std::make_unique<sensor::SerializerCameraKesV1Cam>(folder);
}

// Calls `check` with each camera, and what is expected of it.
template <class Check>
void forEachCamera(Check check) {
  int cameras = 0;
  for (json const& expected : test::stripA::expected().at("cameras")) {
    SCOPED_TRACE(expected.at("folder").get<std::string>());
    check(expected, CameraKes("T", "30107", 3, *serializerOf(expected)));
    ++cameras;
  }
  EXPECT_EQ(cameras, 3);
}

template <class Check>
void forEachBand(Check check) {
  forEachCamera([&](json const& expected, CameraKes const& camera) {
    for (auto const& [bandId, band] : expected.at("bands").items()) {
      SCOPED_TRACE(bandId);
      ASSERT_NE(camera.calibrationGeometry(bandId), nullptr);
      check(band, *camera.calibrationGeometry(bandId));
    }
  });
}

TEST(StripACalibration, CamerasHaveTheExpectedNotesAndMisalignments) {
  forEachCamera([](json const& expected, CameraKes const& camera) {
    EXPECT_EQ(camera.versionInfo(), expected.at("versionInfo").get<std::string>());
    json const& m = expected.at("misalignment_rad");
    EXPECT_EQ(camera.misalignment()->omega(), m[0].get<double>());
    EXPECT_EQ(camera.misalignment()->phi(), m[1].get<double>());
    EXPECT_EQ(camera.misalignment()->kappa(), m[2].get<double>());
    EXPECT_EQ(camera.misalignment()->stdDevOmega(), m[3].get<double>());
    EXPECT_EQ(camera.misalignment()->stdDevPhi(), m[4].get<double>());
    EXPECT_EQ(camera.misalignment()->stdDevKappa(), m[5].get<double>());
    EXPECT_EQ(camera.mntOffset().z, expected.at("mntOffset")[2].get<double>());
    std::vector<std::string> ids;
    camera.bandIds(ids);
    EXPECT_EQ(ids, expected.at("bandIds").get<std::vector<std::string>>());
  });
}

TEST(StripACalibration, LinesHaveTheExpectedNumbersAndTables) {
  forEachBand([](json const& expected, CalibrationGeometryKes const& line) {
    EXPECT_THAT(line.focalLength(), SameBits(realOf(expected.at("focalLength"))));
    EXPECT_THAT(line.pixelSize(), SameBits(realOf(expected.at("pixelSize"))));
    EXPECT_EQ(line.numSamples(), expected.at("numSamples").get<unsigned>());
    EXPECT_EQ(line.numImagingSamples(), expected.at("numImagingSamples").get<unsigned>());
    EXPECT_EQ(line.isReverse(), expected.at("reverse").get<bool>());
    EXPECT_THAT(line.lookAngle(), WithinUlps(realOf(expected.at("lookAngle")), 1));
    EXPECT_EQ(line.calibDateTime().toUTC().toString(Qt::ISODate).toStdString(),
              expected.at("calibDateTime").get<std::string>());
    Table const entries(expected.at("entries"));
    for (std::size_t row = 0; row < entries.size(); ++row) {
      auto const index = entries.at(row, "index").get<unsigned>();
      EXPECT_THAT(line.coordX(index), SameBits(entries.real(row, "coordX")));
      EXPECT_THAT(line.coordY(index), SameBits(entries.real(row, "coordY")));
    }
  });
}

TEST(StripACalibration, SamplesHaveTheExpectedFocalPositions) {
  forEachBand([](json const& expected, CalibrationGeometryKes const& line) {
    Table const table(expected.at("imageToFocal"));
    for (std::size_t row = 0; row < table.size(); ++row) {
      geo::XYPoint const image(table.number(row, "sample"), 0.0);
      geo::XYPoint const offset(table.number(row, "offset"), 0.0);
      geo::XYPoint focal;
      line.imageToFocal(image, offset, focal);
      EXPECT_EQ(focal.x, table.number(row, "focal_x"));
      EXPECT_EQ(focal.y, table.number(row, "focal_y"));
      EXPECT_THAT(line.azimuth(image, offset), WithinUlps(table.real(row, "azimuth"), 1));
      EXPECT_THAT(line.zenith(image, offset), WithinUlps(table.real(row, "zenith"), 1));
      auto const sample = static_cast<float>(image.x);
      auto const first = static_cast<float>(offset.x);
      EXPECT_THAT(line.x(sample, 0, first, 0), SameBits(table.real(row, "x_float")));
      EXPECT_THAT(line.y(sample, 0, first, 0), SameBits(table.real(row, "y_float")));
    }
  });
}

TEST(StripACalibration, FocalPositionsHaveTheExpectedSamples) {
  forEachBand([](json const& expected, CalibrationGeometryKes const& line) {
    Table const table(expected.at("focalToImage"));
    for (std::size_t row = 0; row < table.size(); ++row) {
      geo::XYPoint image;
      line.focalToImage({0.0, table.number(row, "focal_y")}, {table.number(row, "offset"), 0.0}, image);
      EXPECT_EQ(image.x, table.number(row, "sample"));
      auto const first = static_cast<float>(table.number(row, "offset"));
      EXPECT_THAT(line.sample(0, table.real(row, "focal_y_float"), first, 0),
                  SameBits(table.real(row, "sample_float")));
    }
  });
}

TEST(StripACalibration, BandsHaveTheExpectedRadiometry) {
  forEachCamera([](json const& expected, CameraKes const& camera) {
    for (auto const& [bandId, band] : expected.at("bands").items()) {
      SCOPED_TRACE(bandId);
      json const& radiometry = band.at("radiometry");
      sensor::CalibrationRadiometryKes const& line = *camera.calibrationRadiometry(bandId);
      EXPECT_THAT(line.radiometricGain(), SameBits(realOf(radiometry.at("radiometricGain"))));
      EXPECT_THAT(line.centerWavelength(), SameBits(realOf(radiometry.at("centerWavelength"))));
      EXPECT_THAT(line.bandWidth(), SameBits(realOf(radiometry.at("bandWidth"))));
      EXPECT_EQ(line.calibSource(), radiometry.at("source").get<std::string>());
      EXPECT_EQ(line.calibDateTime().toUTC().toString(Qt::ISODate).toStdString(),
                radiometry.at("calibDateTime").get<std::string>());
    }
  });
}

// Holds the sets and curves of a band with XML files against what is expected of it.
void checkTables(json const& expected, sensor::CalibrationRadiometryKesV2 const& line) {
  EXPECT_EQ(line.prnuFactors().size(), expected.at("tdiRows").get<std::size_t>());
  EXPECT_EQ(line.dsnuOffsets().size(), expected.at("tdiRows").get<std::size_t>());
  for (json const& entry : expected.at("prnu")) {
    auto const bits = static_cast<std::uint32_t>(std::stoul(entry[2].get<std::string>(), nullptr, 16));
    float const factor = line.prnuFactors().at(entry[0].get<std::size_t>()).at(entry[1].get<std::size_t>());
    EXPECT_EQ(test::bitsOf(factor), bits);
  }
  for (json const& entry : expected.at("dsnu")) {
    EXPECT_EQ(line.dsnuOffsets().at(entry[0].get<std::size_t>()).at(entry[1].get<std::size_t>()),
              entry[2].get<unsigned>());
  }
}

sensor::CalibrationRadiometryKesV2::Curve curveOf(json const& lookup) {
  sensor::CalibrationRadiometryKesV2::Curve curve;
  for (std::size_t i = 0; i < lookup.at("in").size(); ++i) {
    curve.emplace_back(lookup.at("in")[i].get<double>(), lookup.at("out")[i].get<double>());
  }
  return curve;
}

TEST(StripACalibration, BandsOfXmlFilesHaveTheExpectedSetsAndCurves) {
  int bands = 0;
  forEachCamera([&](json const& expected, CameraKes const& camera) {
    if (expected.at("kind") != "xml") {
      return;
    }
    for (auto const& [bandId, band] : expected.at("bands").items()) {
      SCOPED_TRACE(bandId);
      auto const* line = dynamic_cast<sensor::CalibrationRadiometryKesV2*>(camera.calibrationRadiometry(bandId));
      ASSERT_NE(line, nullptr);
      checkTables(band.at("radiometry"), *line);
      json const& lookups = band.at("radiometry").at("lookups");
      EXPECT_EQ(line->leftNonLinearity(), curveOf(lookups[0]));
      EXPECT_EQ(line->rightNonLinearity(), curveOf(lookups[1]));
      ++bands;
    }
  });
  EXPECT_EQ(bands, 5);
}

TEST(StripACalibration, CutOutsHaveTheExpectedEntries) {
  forEachBand([](json const& expected, CalibrationGeometryKes const& line) {
    for (json const& cut : expected.at("cut_outs")) {
      CalibrationGeometryKes const part(line, cut.at("firstSample").get<int>(), cut.at("sampleCount").get<int>());
      EXPECT_EQ(part.numSamples(), cut.at("numSamples").get<unsigned>());
      EXPECT_EQ(part.numImagingSamples(), cut.at("numImagingSamples").get<unsigned>());
      Table const entries(cut.at("entries"));
      for (std::size_t row = 0; row < entries.size(); ++row) {
        auto const index = entries.at(row, "index").get<unsigned>();
        EXPECT_THAT(part.coordX(index), SameBits(entries.real(row, "coordX")));
        EXPECT_THAT(part.coordY(index), SameBits(entries.real(row, "coordY")));
      }
    }
  });
}

}  // namespace
