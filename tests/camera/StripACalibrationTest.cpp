#include "support/Matchers.h"
#include "support/StripA.h"

#include <geo/XYPoint.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKes.h>
#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKesV1Cam.h>

#include <QDateTime>

namespace {

using nlohmann::json;
using sensor::CalibrationGeometryKes;
using sensor::CameraKes;
using test::realOf;
using test::SameBits;
using test::Table;
using test::WithinUlps;

// Calls `check` with each camera that has CAM files, and what is expected of it.
template <class Check>
void forEachCamera(Check check) {
  int cameras = 0;
  for (json const& expected : test::stripA::expected().at("cameras")) {
    if (expected.at("kind") == "cam") {
      SCOPED_TRACE(expected.at("folder").get<std::string>());
      sensor::SerializerCameraKesV1Cam const serializer(test::stripA::path(expected.at("folder").get<std::string>()));
      check(expected, CameraKes("KESA0", "30107", 3, serializer));
      ++cameras;
    }
  }
  EXPECT_EQ(cameras, 2);
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
    }
  });
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
