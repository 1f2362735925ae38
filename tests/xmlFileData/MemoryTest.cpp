// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <xmlFileData/CorrectionSensor.h>
#include <xmlFileData/KesBGeoCalibData.h>
#include <xmlFileData/KesBPrnuData.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <utility>
#include <vector>

// Tables of thousands of pixels go from hand to hand without a copy: the values stay where they are in memory.

namespace {

using xmlFileData::CorrectionSensor;
using xmlFileData::DistortionGrid;
using xmlFileData::GeoSensor;
using xmlFileData::GridRow;
using xmlFileData::KesBGeoCalibData;
using xmlFileData::KesBLookUp;
using xmlFileData::KesBPrnuData;
using xmlFileData::PrnuSensor;

constexpr std::size_t pixels = 12000;

using Numbers = std::vector<double>;

TEST(Memory, GridRowsMoveFromTheReaderIntoTheFile) {
  GridRow gridRow{Numbers(pixels), Numbers(pixels), Numbers(pixels), Numbers(pixels)};
  double const* const row = gridRow.row.data();
  double const* const sigmaColumn = gridRow.sigmaColumn.data();

  DistortionGrid grid("PAN");
  grid.addRow(std::move(gridRow));
  std::map<int, GeoSensor> sensors;
  sensors.emplace(0, GeoSensor({}, std::move(grid)));
  KesBGeoCalibData read;
  read.setSensors(std::move(sensors));
  KesBGeoCalibData const data = std::move(read);

  GridRow const& kept = data.sensorData("PAN").gridView().onlyRow();
  EXPECT_EQ(kept.row.data(), row);
  EXPECT_EQ(kept.sigmaColumn.data(), sigmaColumn);
}

TEST(Memory, NewPlacesMoveIntoTheGrid) {
  DistortionGrid grid("PAN");
  grid.addRow({Numbers(pixels), Numbers(pixels), Numbers(pixels), Numbers(pixels)});
  GeoSensor sensor({}, std::move(grid));
  Numbers xs(pixels);
  Numbers ys(pixels);
  double const* const x = xs.data();
  double const* const y = ys.data();
  sensor.setPositions(std::move(xs), std::move(ys));
  EXPECT_EQ(sensor.gridView().onlyRow().row.data(), x);
  EXPECT_EQ(sensor.gridView().onlyRow().column.data(), y);
}

TEST(Memory, CopiesOfARowAreNoLargerThanTheRow) {
  GridRow gridRow{Numbers(pixels), Numbers(pixels), Numbers(pixels), Numbers(pixels)};
  gridRow.row.reserve(2 * pixels);
  DistortionGrid grid;
  grid.addRow(gridRow);
  EXPECT_EQ(grid.onlyRow().row.capacity(), pixels);
}

TEST(Memory, ImagesMoveIntoTheirFile) {
  std::map<int, PrnuSensor> sensors;
  sensors[0] = {pixels, 12, std::vector<float>(pixels * 12), "PAN"};
  float const* const factors = sensors[0].factors.data();
  KesBPrnuData data;
  data.setSensors(std::move(sensors));
  EXPECT_EQ(data.sensorData("PAN").factors.data(), factors);
  EXPECT_EQ(data.sensorData("PAN").row(11).capacity(), pixels);
}

TEST(Memory, ImagesMoveIntoACorrection) {
  PrnuSensor image{pixels, 12, std::vector<float>(pixels * 12), ""};
  float const* const factors = image.factors.data();
  CorrectionSensor sensor;
  sensor.setPrnu(std::move(image));
  EXPECT_EQ(sensor.prnu.data(), factors);
}

TEST(Memory, CurvesMoveIntoTheirLookUp) {
  Numbers from(16384);
  Numbers to(16384);
  double const* const in = from.data();
  double const* const out = to.data();
  KesBLookUp lookUp(0, 6000, std::move(from), std::move(to));
  KesBLookUp const moved = std::move(lookUp);
  EXPECT_EQ(moved.from().data(), in);
  EXPECT_EQ(moved.to().data(), out);
}

}  // namespace
