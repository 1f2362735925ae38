// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "XmlReading.h"
#include "support/Matchers.h"
#include "support/XmlFolder.h"

#include <xmlFileData/KesBSensorCorrectionData.h>

#include <limits>

namespace {

using test::with;
using test::XmlFolder;
using testing::ElementsAre;
using xmlFileData::CorrectionSensor;
using xmlFileData::KesBSensorCorrectionData;

class SensorDataXmlReader : public test::XmlReading<KesBSensorCorrectionData> {
protected:
  SensorDataXmlReader() : XmlReading(xmlFileData::readSensorCorrectionData) {}

  // The text without all from `begin` up to, and with, `end`.
  static std::string without(std::string text, std::string const& begin, std::string const& end) {
    auto const from = text.find(begin);
    auto const to = text.find(end, from);
    if (from == std::string::npos || to == std::string::npos) {
      ADD_FAILURE() << begin << end;
      return text;
    }
    return text.erase(from, to + end.size() - from);
  }

  std::string const mText = XmlFolder().sensor;
};

TEST_F(SensorDataXmlReader, ReadsTheSettings) {
  KesBSensorCorrectionData const data = read(mText);
  EXPECT_EQ(data.creation().Date, "20100313");
  EXPECT_TRUE(data.hasSystem());
  EXPECT_TRUE(data.hasAdc());
  EXPECT_TRUE(data.clampEnable());
  EXPECT_EQ(data.clampLevel(), 240);
  EXPECT_EQ(data.ccdType(), 2);
  EXPECT_EQ(data.boardIds().at("FPM"), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(data.colorGainRed(), 1.2);
  EXPECT_EQ(data.colorGainGreen(), 1.3);
  EXPECT_EQ(data.colorGainBlue(), 1.4);
  EXPECT_EQ(data.colorGainNir(), 1.0);
  EXPECT_EQ(data.colorGainNin(), 1.0);
  EXPECT_EQ(data.voltages().at("VOD").second, 15.5);
}

TEST_F(SensorDataXmlReader, ReadsTheVoltagesOfEachViewingDirection) {
  KesBSensorCorrectionData const data = read(mText);
  EXPECT_EQ(data.multiTdi().at(0).name, "Nadir");
  EXPECT_EQ(data.multiTdi().at(0).voltages.at("VNS").second, -4.5);
  EXPECT_EQ(data.multiTdi().at(0).voltages.at("VPS").second, 3.5);
  EXPECT_EQ(data.multiTdi().at(1).voltages.at("VNS").second, -4.75);
  EXPECT_EQ(data.multiTdi().at(2).voltages.at("VNS").second, -4.25);
}

TEST_F(SensorDataXmlReader, ReadsEveryValueOfALine) {
  KesBSensorCorrectionData const data = read(mText);
  CorrectionSensor const& sensor = data.sensors().at(4);
  EXPECT_EQ(sensor.type, "Line_panf27");
  EXPECT_TRUE(sensor.disabled);
  EXPECT_EQ(sensor.limit, 9500);
  EXPECT_EQ(sensor.radiometricGain, 0.8);
  EXPECT_EQ(sensor.imagingPixels, 2);
  EXPECT_EQ(sensor.brightnessValue, 0.5);
  EXPECT_EQ(sensor.brightnessIt, 2.5);
  EXPECT_EQ(sensor.width, 210.0);
  EXPECT_EQ(sensor.center, 560.0);
  EXPECT_EQ(sensor.dsnuUpper, 400);
  EXPECT_EQ(sensor.dsnuLower, 20);
  EXPECT_EQ(sensor.prnuWidth, 1);
  EXPECT_EQ(sensor.prnuHeight, 1);
  EXPECT_THAT(sensor.prnu, ElementsAre(1.0F));
  EXPECT_EQ(sensor.prnuType, "Line_panf27");
}

TEST_F(SensorDataXmlReader, ReadsTheCurvesInTheirOrder) {
  KesBSensorCorrectionData const data = read(mText);
  auto const& lookUps = data.sensors().at(4).lookups;
  ASSERT_EQ(lookUps.size(), 2U);
  EXPECT_EQ(lookUps[0].columnStart(), 2);
  EXPECT_EQ(lookUps[0].columns(), 1);
  EXPECT_THAT(lookUps[1].from(), ElementsAre(0.0, 5.0, 5.0, 9.0));
  EXPECT_THAT(lookUps[1].to(), ElementsAre(1.0, 6.0, 7.0, 10.0));
}

TEST_F(SensorDataXmlReader, WhatIsMissingHasDefaults) {
  KesBSensorCorrectionData const data = read(without(mText, "<Adc>", "</Voltages>"));
  EXPECT_FALSE(data.hasAdc());
  EXPECT_TRUE(data.clampEnable());
  EXPECT_EQ(data.clampLevel(), 250);
  EXPECT_EQ(data.colorGainRed(), 1.0);
  CorrectionSensor const& sensor = data.sensors().at(7);
  EXPECT_FALSE(sensor.disabled);
  EXPECT_EQ(sensor.limit, 10000);
  EXPECT_EQ(sensor.brightnessValue, 0.0);
  EXPECT_EQ(sensor.brightnessIt, 1.0);
  EXPECT_EQ(sensor.prnuHeight, 1);
  EXPECT_EQ(read(with(mText, "<Limit Value=\"9500\"/>", "<Limit/>")).sensors().at(4).limit, 10000);
}

TEST_F(SensorDataXmlReader, ClampIsEnabledByOnAlone) {
  for (char const* value : {"on", "OFF", ""}) {
    EXPECT_FALSE(read(with(mText, "\"ON\"", "\"" + std::string(value) + "\"")).clampEnable()) << value;
  }
  EXPECT_FALSE(read(withoutAttribute(mText, "Enable")).clampEnable());
  EXPECT_TRUE(read(without(mText, "<ClampLevel", "/>")).clampEnable());
  EXPECT_EQ(read(with(mText, "Value=\"240\"", "Value=\"65536\"")).clampLevel(), 0);
}

TEST_F(SensorDataXmlReader, LaterEntryOfANameReplacesTheFormer) {
  std::string text =
      with(mText, "</BoardIds>", "<Id Name=\"FPM\" Value=\"5\"/><Id Name=\"X\" Value=\"6\"/></BoardIds>");
  text = with(text, "<MultiTDI>", "<Voltage Name=\"VOD\" Value=\"1\"/><MultiTDI>");
  text = with(text, "</MultiTDI>", "<Voltage Name=\"VNS\" Value=\"2\"/></MultiTDI>");
  KesBSensorCorrectionData const data = read(text);
  EXPECT_EQ(data.boardIds().at("FPM"), 5U);
  EXPECT_EQ(data.boardIds().at("X"), 6U);
  EXPECT_EQ(data.voltages().at("VOD").second, 1.0);
  EXPECT_EQ(data.multiTdi().at(2).voltages.at("VNS").second, 2.0);
}

TEST_F(SensorDataXmlReader, EachMandatoryAttributeIsMissed) {
  for (auto const& [element, name] :
       std::vector<std::pair<std::string, std::string>>{{"ClampLevel Enable=\"ON\"", "Value"},
                                                        {"CCDType", "i"},
                                                        {"Id Name=\"FPM\"", "Value"},
                                                        {"Id", "Name"},
                                                        {"ColorGain", "Red"},
                                                        {"ColorGain Red=\"1.2\"", "Green"},
                                                        {"ColorGain Red=\"1.2\" Green=\"1.3\"", "Blue"},
                                                        {"Voltage", "Name"},
                                                        {"Voltage Name=\"VOD\"", "Value"},
                                                        {"Voltage Name=\"VNS\"", "Value"},
                                                        {"Sensor", "i"},
                                                        {"RadiometricGain", "Value"},
                                                        {"ImagingPixels", "Value"},
                                                        {"WaveLengthRange", "Width"},
                                                        {"WaveLengthRange Width=\"210\"", "Center"},
                                                        {"DSNU", "Upper"},
                                                        {"DSNU Upper=\"400\"", "Lower"},
                                                        {"PRNU", "Width"},
                                                        {"Lookup", "ColumnStart"},
                                                        {"Lookup ColumnStart=\"2\"", "Columns"}}) {
    std::string const start = "<" + element + " ";
    expect(with(mText, start + name + "=", start + "other="), "XML reader: Missing attribute (" + name + ")");
  }
}

TEST_F(SensorDataXmlReader, LineMissesItsElementsInOrder) {
  std::vector<std::pair<std::string, std::string>> const parts{
      {"Type", "<Type>Line_panf27</Type>"},
      {"Lookups", "<Lookups>...</Lookups>"},
      {"DSNU", "<DSNU Upper=\"400\" Lower=\"20\"/>"},
      {"PRNU", "<PRNU Width=\"1\" Height=\"1\" Data=\"AACAPw==\"/>"},
      {"RadiometricGain", "<RadiometricGain Value=\"0.8\"/>"},
      {"WaveLengthRange", "<WaveLengthRange Width=\"210\" Center=\"560\"/>"},
      {"ImagingPixels", "<ImagingPixels Value=\"2\"/>"}};
  // From the last on, so that the one that was left out last is missed first.
  std::string text = mText;
  for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
    text = part->first == "Lookups" ? without(text, "<Lookups>", "</Lookups>") : with(text, part->second, "");
    expect(text, "XML reader: Missing or invalid tag (" + part->first + ")");
  }
  expect(with(mText, "<Type>Line_panf27</Type>", "<Type/>"), "XML reader: Missing or invalid tag (Type)");
}

TEST_F(SensorDataXmlReader, OtherElementsOfALineMayBeMissing) {
  EXPECT_EQ(read(with(mText, "<Limit Value=\"9500\"/>", "")).sensors().at(4).limit, 10000);
  EXPECT_EQ(read(with(mText, "<Brightness Value=\"0.5\" it=\"2.5\"/>", "")).sensors().at(4).brightnessIt, 1.0);
}

TEST_F(SensorDataXmlReader, PreviewHasItsGains) {
  expect(with(mText, "<ColorGain ", "<Gain "), "XML reader: Missing or incomplete tag (Preview)");
  KesBSensorCorrectionData const data = read(with(mText, "Blue=\"1.4\"", "Blue=\"1.4\" Nir=\"1.5\" Nin=\"1.6\""));
  EXPECT_EQ(data.colorGainNir(), 1.5);
  EXPECT_EQ(data.colorGainNin(), 1.6);
}

TEST_F(SensorDataXmlReader, VoltagesHaveThreeViewingDirections) {
  std::string const third = "<MultiTDI><Type>Backward</Type><Voltage Name=\"VNS\" Value=\"-4.75\"/></MultiTDI>";
  std::string const message = "XML reader: Missing tag (MultiTDI) must be at least three Tags";
  expect(with(mText, third, ""), message);
  expect(with(mText, third, third + third), message);
  expect(with(mText, "\"VNS\"", "\"vns\""), "XML reader: Missing tag (MultiTDI). There must be a VNS tag");
  expect(with(mText, "Backward", "Sideward"), "MultTDI type not found (Sideward)");
  expect(with(mText, "<Type>Forward</Type>", ""), "MultTDI type not found ()");
}

TEST_F(SensorDataXmlReader, FileMissesRootAndLines) {
  expectWithName(with(with(mText, "<SensorData ", "<PrnuData "), "</SensorData>", "</PrnuData>"),
                 "XML reader: Missing tag (SensorData): ");
  expectWithName(without(mText, "<Sensors>", "</Sensors>"), "XML reader: No sensor data: ");
  std::string const message = messageOf(with(mText, "</SensorData>", ""));
  EXPECT_THAT(message, testing::StartsWith("XML reader: "));
  EXPECT_THAT(message, testing::Not(testing::HasSubstr(path())));
}

TEST_F(SensorDataXmlReader, SensorsOfSeveralListsAreAllThere) {
  auto const from = mText.find("<Sensors>");
  auto const to = mText.find("</Sensors>") + 10;
  std::string const list = mText.substr(from, to - from);
  KesBSensorCorrectionData const data = read(with(mText, list, list + with(list, "i=\"4\"", "i=\"9\"")));
  EXPECT_EQ(data.sensors().size(), 3U);
  EXPECT_EQ(data.sensors().at(9).type, data.sensors().at(4).type);
}

class CurveOf : public SensorDataXmlReader {
protected:
  std::string curve(std::string const& in, std::string const& out) const {
    return with(mText, "<in>0 10</in><out>0 11</out>", in + out);
  }
};

TEST_F(CurveOf, ListsAreThereAndOfTheSameLength) {
  std::string const in = "XML reader: Missing or incomplete tag (in)";
  std::string const out = "XML reader: Missing or incomplete tag (out)";
  expect(curve("", "<out>0 11</out>"), in);
  expect(curve("<in/>", "<out/>"), in);
  expect(curve("<in>0 10</in>", ""), out);
  expect(curve("<in>0 10</in>", "<out> </out>"), out);
  expect(curve("<in>0 10</in>", "<out>0</out>"), "XML reader: Wrong size (in or out)");
  expect(curve("<in>0 1 2</in>", "<out>0 11</out>"), "XML reader: Wrong size (in or out)");
}

TEST_F(CurveOf, InputDoesntFall) {
  expect(curve("<in>1 3 2</in>", "<out>0 1 2</out>"), "From must be in increasing order");
  EXPECT_EQ(read(curve("<in>1 2 2 3</in>", "<out>0 1 0 1</out>")).sensors().size(), 2U);
  EXPECT_EQ(read(curve("<in>7</in>", "<out>8</out>")).sensors().size(), 2U);
  // No comparison with it is true.
  EXPECT_EQ(read(curve("<in>1 nan 0</in>", "<out>0 1 inf</out>")).sensors().size(), 2U);
}

TEST_F(CurveOf, LineHasOneAtLeast) {
  expect(with(mText, mText.substr(mText.find("<Lookups>"), mText.find("</Lookups>") - mText.find("<Lookups>")),
              "<Lookups>"),
         "XML reader: Missing tag (Lookup)");
}

}  // namespace
