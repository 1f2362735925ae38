// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "xmlFileData/Image.h"

#include <xmlFileData/KesBDsnuData.h>
#include <xmlFileData/KesBPrnuData.h>

#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

// The images of response and of dark signal, which obey the same rules.

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using xmlFileData::DsnuSensor;
using xmlFileData::KesBDsnuData;
using xmlFileData::KesBPrnuData;
using xmlFileData::PrnuSensor;

char const* const badIndex = "Internal error due to bad TDI index.";
char const* const badSize = "Invalid width or height";

TEST(PrnuSensor, HasAFloatForEachPixelOfARow) {
  PrnuSensor const sensor{2, 3, {0.5F, 1.5F, 2.5F, 3.5F, 4.5F, 5.5F}, "PAN"};
  EXPECT_THAT(sensor.row(0), ElementsAre(0.5F, 1.5F));
  EXPECT_THAT(sensor.row(1), ElementsAre(2.5F, 3.5F));
  EXPECT_THAT(sensor.row(2), ElementsAre(4.5F, 5.5F));
}

TEST(DsnuSensor, HasAWholeNumberForEachPixelOfARow) {
  DsnuSensor const sensor{3, 2, {1, 2, 65535, 4, 5, 6}, "PAN"};
  EXPECT_THAT(sensor.row(0), ElementsAre(1, 2, 65535));
  EXPECT_THAT(sensor.row(1), ElementsAre(4, 5, 6));
}

TEST(PrnuSensor, RefusesRowsThatItHasNot) {
  PrnuSensor const sensor{2, 3, std::vector<float>(6), "PAN"};
  EXPECT_MESSAGE(sensor.row(3), badIndex);
  EXPECT_MESSAGE(sensor.row(-1), badIndex);
  EXPECT_MESSAGE(sensor.row(std::numeric_limits<int>::max()), badIndex);
  EXPECT_MESSAGE(PrnuSensor().row(0), badIndex);
}

TEST(DsnuSensor, RefusesRowsThatItHasNot) {
  DsnuSensor const sensor{12000, 1, std::vector<std::uint16_t>(12000), "PAN"};
  EXPECT_EQ(sensor.row(0).size(), 12000U);
  EXPECT_MESSAGE(sensor.row(1), badIndex);
  EXPECT_MESSAGE(sensor.row(-1), badIndex);
}

TEST(PrnuSensor, OfWidthZeroHasEmptyRows) {
  PrnuSensor const sensor{0, 2, {}, "PAN"};
  EXPECT_THAT(sensor.row(1), IsEmpty());
  EXPECT_MESSAGE(sensor.row(2), badIndex);
}

TEST(PrnuSensor, NeverReadsBehindItsSamples) {
  EXPECT_MESSAGE((PrnuSensor{2, 3, std::vector<float>(5), ""}.row(2)), badSize);
  EXPECT_MESSAGE((PrnuSensor{-2, 3, std::vector<float>(6), ""}.row(0)), badSize);
  std::int64_t const most = std::numeric_limits<std::int64_t>::max();
  EXPECT_MESSAGE((PrnuSensor{most, most, std::vector<float>(6), ""}.row(1)), badSize);
  // The product of these is 0 in 64 bits.
  EXPECT_MESSAGE((PrnuSensor{std::int64_t{1} << 32, std::int64_t{1} << 32, std::vector<float>(6), ""}.row(0)), badSize);
}

TEST(Image, SizeIsTheProductWhereMemoryCouldHoldIt) {
  EXPECT_EQ(xmlFileData::imageSize(12000, 96), 1152000U);
  EXPECT_EQ(xmlFileData::imageSize(0, 7), 0U);
  EXPECT_EQ(xmlFileData::imageSize(7, 0), 0U);
  EXPECT_MESSAGE(xmlFileData::imageSize(0, -1), badSize);
  EXPECT_MESSAGE(xmlFileData::imageSize(-1, 0), badSize);
  EXPECT_MESSAGE(xmlFileData::imageSize(std::int64_t{1} << 32, std::int64_t{1} << 31), badSize);
}

// Both files find a band in the same way.
template <class Data>
class FileOfImages : public testing::Test {};

using Files = testing::Types<KesBPrnuData, KesBDsnuData>;

class FileNames {
public:
  template <class Data>
  static std::string GetName(int /*index*/) {
    return std::is_same_v<Data, KesBPrnuData> ? "Prnu" : "Dsnu";
  }
};

TYPED_TEST_SUITE(FileOfImages, Files, FileNames);

// A file of images without samples: the height is the index of the sensor.
template <class Data>
Data fileOf(std::map<int, std::string> const& types) {
  Data data;
  std::decay_t<decltype(data.sensors())> sensors;
  for (auto const& [index, type] : types) {
    sensors[index].type = type;
    sensors[index].height = index;
  }
  data.setSensors(std::move(sensors));
  return data;
}

TYPED_TEST(FileOfImages, BeginsWithoutSensors) {
  TypeParam const data;
  EXPECT_FALSE(data.hasSensors());
  EXPECT_THAT(data.sensors(), IsEmpty());
  EXPECT_MESSAGE(data.sensorData("PAN"), "Sensor data not found (PAN)");
}

TYPED_TEST(FileOfImages, HasSensorsOnceTheyAreSet) {
  EXPECT_TRUE(fileOf<TypeParam>({{4, "PAN"}}).hasSensors());
  EXPECT_EQ(fileOf<TypeParam>({{4, "PAN"}}).sensors().at(4).type, "PAN");
}

TYPED_TEST(FileOfImages, FindsABandByItsWholeNameInAnyCase) {
  TypeParam const data = fileOf<TypeParam>({{1, "PAN_A"}, {2, "Red"}});
  EXPECT_EQ(data.sensorData("rED").height, 2);
  EXPECT_EQ(data.sensorData("pan_a").height, 1);
  EXPECT_MESSAGE(data.sensorData("PAN"), "Sensor data not found (PAN)");
  EXPECT_MESSAGE(data.sensorData("PAN_AB"), "Sensor data not found (PAN_AB)");
}

TYPED_TEST(FileOfImages, FindsTheFirstOfTwoSensorsOfABand) {
  EXPECT_EQ(fileOf<TypeParam>({{9, "PAN"}, {3, "pan"}}).sensorData("PAN").height, 3);
}

}  // namespace
