// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"

#include <xmlFileData/KesBSensorCorrectionData.h>

#include <cstdint>
#include <limits>
#include <map>
#include <string>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using xmlFileData::CorrectionSensor;
using xmlFileData::KesBSensorCorrectionData;
using xmlFileData::Voltages;

TEST(KesBSensorCorrectionData, BeginsWithAClampAndGainsOfOne) {
  KesBSensorCorrectionData const data;
  EXPECT_FALSE(data.hasAdc());
  EXPECT_TRUE(data.clampEnable());
  EXPECT_EQ(data.clampLevel(), 250);
  EXPECT_EQ(data.ccdType(), 0);
  EXPECT_FALSE(data.hasSensors());
  EXPECT_THAT(data.sensors(), IsEmpty());
  EXPECT_THAT(data.voltages(), IsEmpty());
  EXPECT_THAT(data.boardIds(), IsEmpty());
  EXPECT_EQ(data.colorGainRed(), 1.0);
  EXPECT_EQ(data.colorGainGreen(), 1.0);
  EXPECT_EQ(data.colorGainBlue(), 1.0);
  EXPECT_EQ(data.colorGainNir(), 1.0);
  EXPECT_EQ(data.colorGainNin(), 1.0);
}

TEST(KesBSensorCorrectionData, BeginsWithThreeDirectionsWithoutVoltages) {
  KesBSensorCorrectionData const data;
  ASSERT_EQ(data.multiTdi().size(), 3U);
  EXPECT_EQ(data.multiTdi().at(0).name, "Nadir");
  EXPECT_EQ(data.multiTdi().at(1).name, "Backward");
  EXPECT_EQ(data.multiTdi().at(2).name, "Forward");
  for (auto const& [key, entry] : data.multiTdi()) {
    EXPECT_THAT(entry.voltages, IsEmpty());
  }
}

TEST(KesBSensorCorrectionData, KeepsTheSettingsThatItIsGiven) {
  KesBSensorCorrectionData data;
  data.setHasAdc(true);
  data.setClampEnable(false);
  data.setClampLevel(65535);
  data.setCcdType(-3);
  EXPECT_TRUE(data.hasAdc());
  EXPECT_FALSE(data.clampEnable());
  EXPECT_EQ(data.clampLevel(), 65535);
  EXPECT_EQ(data.ccdType(), -3);
}

TEST(KesBSensorCorrectionData, KeepsEachColorGainApart) {
  KesBSensorCorrectionData data;
  data.setColorGainRed(2.0);
  data.setColorGainGreen(3.0);
  data.setColorGainBlue(4.0);
  data.setColorGainNir(5.0);
  data.setColorGainNin(6.0);
  EXPECT_EQ(data.colorGainRed(), 2.0);
  EXPECT_EQ(data.colorGainGreen(), 3.0);
  EXPECT_EQ(data.colorGainBlue(), 4.0);
  EXPECT_EQ(data.colorGainNir(), 5.0);
  EXPECT_EQ(data.colorGainNin(), 6.0);
}

TEST(KesBSensorCorrectionData, ReplacesAVoltageOfTheSameName) {
  KesBSensorCorrectionData data;
  data.setVoltage("VOD", 15.5);
  data.setVoltage("VNS", -4.25);
  data.setVoltage("VOD", 15.75);
  data.setVoltage("vod", 1.0);
  EXPECT_THAT(data.voltages(), ElementsAre(Pair("VNS", Pair("VNS", -4.25)), Pair("VOD", Pair("VOD", 15.75)),
                                           Pair("vod", Pair("vod", 1.0))));
}

TEST(KesBSensorCorrectionData, ReplacesABoardIdOfTheSameName) {
  std::uint64_t const most = std::numeric_limits<std::uint64_t>::max();
  KesBSensorCorrectionData data;
  data.setBoardId("FPM", 1);
  data.setBoardId("ADC", 2);
  data.setBoardId("FPM", most);
  EXPECT_THAT(data.boardIds(), ElementsAre(Pair("ADC", 2U), Pair("FPM", most)));
}

TEST(KesBSensorCorrectionData, FillsTheDirectionOfThatNameInAnyCase) {
  Voltages const nadir{{"VNS", {"VNS", -4.25}}};
  Voltages const forward{{"VNS", {"VNS", -4.0}}, {"VPS", {"VPS", 3.5}}};
  KesBSensorCorrectionData data;
  data.setMultiTdiVoltages("nadir", nadir);
  data.setMultiTdiVoltages("FORWARD", forward);
  EXPECT_EQ(data.multiTdi().at(0).voltages, nadir);
  EXPECT_EQ(data.multiTdi().at(0).name, "Nadir");
  EXPECT_THAT(data.multiTdi().at(1).voltages, IsEmpty());
  EXPECT_EQ(data.multiTdi().at(2).voltages, forward);
}

TEST(KesBSensorCorrectionData, ReplacesAllVoltagesOfADirection) {
  Voltages const later{{"VPS", {"VPS", 3.5}}};
  KesBSensorCorrectionData data;
  data.setMultiTdiVoltages("Backward", {{"VNS", {"VNS", -4.25}}});
  data.setMultiTdiVoltages("Backward", later);
  EXPECT_EQ(data.multiTdi().at(1).voltages, later);
}

TEST(KesBSensorCorrectionData, RefusesOtherDirections) {
  KesBSensorCorrectionData data;
  EXPECT_MESSAGE(data.setMultiTdiVoltages("Nadi", {}), "MultTDI type not found (Nadi)");
  EXPECT_MESSAGE(data.setMultiTdiVoltages("Nadir ", {}), "MultTDI type not found (Nadir )");
  EXPECT_MESSAGE(data.setMultiTdiVoltages("", {}), "MultTDI type not found ()");
  EXPECT_EQ(data.multiTdi().size(), 3U);
}

// Sensors of these types, with their index as number of imaging pixels.
KesBSensorCorrectionData dataOf(std::map<int, std::string> const& types) {
  std::map<int, CorrectionSensor> sensors;
  for (auto const& [index, type] : types) {
    sensors[index].type = type;
    sensors[index].imagingPixels = index;
  }
  KesBSensorCorrectionData data;
  data.setSensors(std::move(sensors));
  return data;
}

TEST(KesBSensorCorrectionData, HasSensorsOnceTheyAreSet) {
  EXPECT_TRUE(dataOf({{3, "PAN"}}).hasSensors());
  EXPECT_EQ(dataOf({{3, "PAN"}}).sensors().at(3).type, "PAN");
}

TEST(KesBSensorCorrectionData, FindsTheSensorWhoseTypeContainsTheBandInAnyCase) {
  KesBSensorCorrectionData const data = dataOf({{1, "RED"}, {2, "Line_pan14"}, {3, "PAN_A"}});
  EXPECT_EQ(data.sensorData("PAN_A").imagingPixels, 3);
  EXPECT_EQ(data.sensorData("PAN").imagingPixels, 2);
  EXPECT_EQ(data.sensorData("red").imagingPixels, 1);
}

TEST(KesBSensorCorrectionData, FindsABandByAPartOfTheTypeButNotTheOtherWayRound) {
  KesBSensorCorrectionData const data = dataOf({{2, "PAN_A"}});
  EXPECT_EQ(data.sensorData("PAN").imagingPixels, 2);
  EXPECT_MESSAGE(data.sensorData("PAN_AB"), "Sensor data not found (PAN_AB)");
  EXPECT_MESSAGE(data.sensorData("NIR"), "Sensor data not found (NIR)");
  EXPECT_MESSAGE(KesBSensorCorrectionData().sensorData("PAN"), "Sensor data not found (PAN)");
}

TEST(KesBSensorCorrectionData, FindsTheFirstSensorByIndexThoughALaterOneFitsBetter) {
  EXPECT_EQ(dataOf({{9, "PAN"}, {-4, "PANCHROMATIC"}}).sensorData("PAN").imagingPixels, -4);
}

}  // namespace
