// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"

#include <xmlFileData/KesBGeoCalibData.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using xmlFileData::DistortionGrid;
using xmlFileData::GeoMisalignment;
using xmlFileData::GeoSensor;
using xmlFileData::KesBGeoCalibData;
using xmlFileData::Version;

// A sensor of one pixel, at x in the focal plane.
GeoSensor sensorAt(double x, std::string const& channel) {
  DistortionGrid grid(channel);
  grid.addRow({{x}, {0.5}, {0.0}, {0.0}});
  return {{"Line", "Mono", 0.0065, 1, 1}, std::move(grid)};
}

KesBGeoCalibData smallData() {
  KesBGeoCalibData data;
  data.setSystem({"HDB00", {}});
  data.setCreation({"n", "l", "e", "r", "20100312", "141530", "UTC"});
  data.setLensSystem({62.6432, 0.0005});
  data.setMisalignmentValues({1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
  data.setSensors({{7, sensorAt(7.0, "RED")}, {-2, sensorAt(-2.0, "PAN")}});
  return data;
}

TEST(KesBGeoCalibData, BeginsEmpty) {
  KesBGeoCalibData const data;
  EXPECT_FALSE(data.hasSensors());
  EXPECT_FALSE(data.hasLensSystem());
  EXPECT_TRUE(data.misalignmentValues() == GeoMisalignment{});
  EXPECT_EQ(data.misalignmentValues().Kappa, 0.0);
  EXPECT_EQ(data.lensSystem().principalDistance, 0.0);
  EXPECT_EQ(data.lensSystem().sigmaPrincipalDistance, 0.0);
  EXPECT_THAT(data.sensors(), IsEmpty());
}

TEST(KesBGeoCalibData, KeepsTheLens) {
  KesBGeoCalibData data;
  data.setLensSystem({62.6432, 0.0005});
  EXPECT_TRUE(data.hasLensSystem());
  EXPECT_FALSE(data.hasSensors());
  EXPECT_EQ(data.lensSystem().principalDistance, 62.6432);
  EXPECT_EQ(data.lensSystem().sigmaPrincipalDistance, 0.0005);
}

TEST(KesBGeoCalibData, KeepsAllSixValuesOfTheMisalignment) {
  KesBGeoCalibData data;
  data.setMisalignmentValues({1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
  EXPECT_EQ(data.misalignmentValues().Omega, 1.0);
  EXPECT_EQ(data.misalignmentValues().SigmaOmega, 2.0);
  EXPECT_EQ(data.misalignmentValues().Phi, 3.0);
  EXPECT_EQ(data.misalignmentValues().SigmaPhi, 4.0);
  EXPECT_EQ(data.misalignmentValues().Kappa, 5.0);
  EXPECT_EQ(data.misalignmentValues().SigmaKappa, 6.0);
}

TEST(KesBGeoCalibData, KeepsSensorsInOrderOfTheirIndex) {
  KesBGeoCalibData const data = smallData();
  EXPECT_TRUE(data.hasSensors());
  std::vector<int> indices;
  for (auto const& [index, sensor] : data.sensors()) {
    indices.push_back(index);
  }
  EXPECT_THAT(indices, ElementsAre(-2, 7));
}

TEST(KesBGeoCalibData, FindsABandWithoutRegardToCase) {
  KesBGeoCalibData const data = smallData();
  EXPECT_EQ(data.sensorData("pan").gridView().channel(), "PAN");
  EXPECT_EQ(data.sensorData("Red").gridView().channel(), "RED");
}

TEST(KesBGeoCalibData, FindsLettersBeyondAsciiWithoutRegardToCase) {
  KesBGeoCalibData data;
  data.setSensors({{0, sensorAt(0.0, "GR\xc3\x9cN")}});
  EXPECT_EQ(data.sensorData("gr\xc3\xbcn").gridView().onlyRow().row[0], 0.0);
}

TEST(KesBGeoCalibData, FindsNoBandByAPartOfItsName) {
  KesBGeoCalibData const data = smallData();
  EXPECT_MESSAGE(data.sensorData("PA"), "Sensor data not found (PA)");
  EXPECT_MESSAGE(data.sensorData("PANF"), "Sensor data not found (PANF)");
  EXPECT_MESSAGE(data.sensorData(""), "Sensor data not found ()");
  EXPECT_MESSAGE(KesBGeoCalibData().sensorData("Pan"), "Sensor data not found (Pan)");
}

TEST(KesBGeoCalibData, FindsTheFirstOfTwoSensorsOfABand) {
  KesBGeoCalibData data;
  data.setSensors({{5, sensorAt(5.0, "PAN")}, {3, sensorAt(3.0, "Pan")}, {4, sensorAt(4.0, "pan")}});
  EXPECT_THAT(std::as_const(data).sensorData("PAN").gridView().onlyRow().row, ElementsAre(3.0));
}

TEST(KesBGeoCalibData, HasItsSensorsChangedInPlace) {
  KesBGeoCalibData data = smallData();
  data.sensorData("red").setPositions({8.0}, {9.0});
  EXPECT_THAT(data.sensors().at(7).gridView().onlyRow().row, ElementsAre(8.0));
  EXPECT_THAT(data.sensors().at(7).gridView().onlyRow().column, ElementsAre(9.0));
  EXPECT_THAT(data.sensors().at(-2).gridView().onlyRow().row, ElementsAre(-2.0));
  EXPECT_MESSAGE(data.sensorData("NIR"), "Sensor data not found (NIR)");
}

TEST(KesBGeoCalibDataComparison, EqualsWhatRoundsToTheSameFile) {
  KesBGeoCalibData other = smallData();
  EXPECT_TRUE(smallData() == other);
  other.setLensSystem({62.64323, 0.0005});
  other.setMisalignmentValues({1.0, 2.0, 3.0, 4.0, 5.0, 6.000003});
  other.setSensors({{7, sensorAt(7.000003, "RED")}, {-2, sensorAt(-2.0, "PAN")}});
  EXPECT_TRUE(smallData() == other);
  EXPECT_FALSE(smallData() != other);
}

TEST(KesBGeoCalibDataComparison, DiffersInAnyPart) {
  std::vector<std::function<void(KesBGeoCalibData&)>> const changes{
      [](KesBGeoCalibData& data) {
        data.setSystem({"HDB01", {}});
      },
      [](KesBGeoCalibData& data) {
        data.setCreation({"n", "l", "e", "r", "20100312", "141531", "UTC"});
      },
      [](KesBGeoCalibData& data) {
        data.setVersion(Version{1, 0, 1});
      },
      [](KesBGeoCalibData& data) { data.setCommented(true); },
      [](KesBGeoCalibData& data) {
        data.setLensSystem({62.6433, 0.0005});
      },
      [](KesBGeoCalibData& data) {
        data.setMisalignmentValues({1.0, 2.0, 3.0, 4.0, 5.0, 6.00001});
      },
      [](KesBGeoCalibData& data) { data.sensorData("RED").setPositions({7.00001}, {0.5}); },
      [](KesBGeoCalibData& data) {
        data.setSensors({{7, sensorAt(7.0, "RED")}});
      },
      [](KesBGeoCalibData& data) {
        data.setSensors({{7, sensorAt(7.0, "RED")}, {-3, sensorAt(-2.0, "PAN")}});
      },
  };
  for (std::size_t i = 0; i < changes.size(); ++i) {
    SCOPED_TRACE(i);
    KesBGeoCalibData other = smallData();
    changes[i](other);
    EXPECT_FALSE(smallData() == other);
    EXPECT_FALSE(other == smallData());
    EXPECT_TRUE(smallData() != other);
  }
}

}  // namespace
