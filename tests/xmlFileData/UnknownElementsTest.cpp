// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/XmlFolder.h"

#include <xmlFileData/CalibrationFiles.h>

#include <algorithm>

namespace {

using test::XmlFolder;

// A file in which each element within the root stands in one that no reader knows, with numbers as its text.
std::string wrapped(std::string const& text) {
  auto const begin = text.find('>', text.find("Version=\"1.0.7\"")) + 1;
  auto const end = text.rfind("</");
  std::string result = text.substr(0, begin);
  for (std::size_t at = begin; at < end;) {
    if (text[at] != '<') {
      result += text[at++];
      continue;
    }
    auto const tag = text.substr(at, text.find('>', at) + 1 - at);
    bool const ends = tag[1] == '/' || tag[tag.size() - 2] == '/';
    result += (tag[1] == '/' ? "" : "<unknown i=\"9\">7") + tag + (ends ? "8</unknown>" : "");
    at += tag.size();
  }
  return result + text.substr(end);
}

// A file in which the elements without others, images too, have some: known ones that lack their attributes.
std::string filled(std::string const& text) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    auto const end = std::min(text.find("/>", at), text.size());
    result += text.substr(at, end - at);
    if (end < text.size()) {
      auto const begin = text.rfind('<', end) + 1;
      auto const name = text.substr(begin, text.find(' ', begin) - begin);
      result += "><Type>x</Type>";
      for (char const* child : {"System",
                                "SystemInfo",
                                "Creation",
                                "DateTime",
                                "LensSystem",
                                "Misalignment_deg",
                                "Sensors",
                                "Sensor",
                                "DistortionGrid",
                                "GridRow",
                                "Adc",
                                "ClampLevel",
                                "CCDType",
                                "BoardIds",
                                "Id",
                                "Preview",
                                "ColorGain",
                                "Voltages",
                                "Voltage",
                                "MultiTDI",
                                "RadiometricGain",
                                "ImagingPixels",
                                "WaveLengthRange",
                                "DSNU",
                                "PRNU",
                                "Lookups",
                                "Lookup"}) {
        result += std::string("<") + child + "/>";
      }
      result += "</" + name + ">";
    }
    at = end + 2;
  }
  return result;
}

class UnknownElements : public testing::Test {
protected:
  template <class Data>
  Data read(void (*reader)(std::string const&, Data&), std::string const& text) const {
    Data data;
    reader(mFolder.file("file.xml", text), data);
    return data;
  }

  test::TempFolder mFolder;
  XmlFolder mFiles;
};

TEST_F(UnknownElements, AroundThoseOfAGeometryDontMatter) {
  EXPECT_THAT(wrapped(mFiles.geometry), testing::HasSubstr("<unknown i=\"9\">7<LensSystem Pr"));
  EXPECT_EQ(read(xmlFileData::readGeoCalibData, wrapped(mFiles.geometry)),
            read(xmlFileData::readGeoCalibData, mFiles.geometry));
}

TEST_F(UnknownElements, WithinThoseThatHaveNoneDontMatter) {
  EXPECT_THAT(filled(mFiles.geometry), testing::HasSubstr("Kappa=\"0.3\" SigmaKappa=\"0.6\"><Type>x</Type><System/>"));
  EXPECT_EQ(read(xmlFileData::readGeoCalibData, filled(mFiles.geometry)),
            read(xmlFileData::readGeoCalibData, mFiles.geometry));
  EXPECT_EQ(read(xmlFileData::readPrnuData, filled(mFiles.prnu)).sensors().at(4).type, "panf");
  EXPECT_EQ(read(xmlFileData::readDsnuData, filled(mFiles.dsnu)).sensors().at(4).type, "PANF");
  auto const data = read(xmlFileData::readSensorCorrectionData, filled(mFiles.sensor));
  EXPECT_EQ(data.sensors().at(4).type, "Line_panf27");
  EXPECT_EQ(data.multiTdi().at(0).voltages.at("VNS").second, -4.5);
}

TEST_F(UnknownElements, AroundThoseOfImagesDontMatter) {
  auto const prnu = read(xmlFileData::readPrnuData, wrapped(mFiles.prnu));
  auto const dsnu = read(xmlFileData::readDsnuData, wrapped(mFiles.dsnu));
  EXPECT_EQ(prnu.creation().Date, "20100115");
  EXPECT_EQ(prnu.system().infos.size(), 2U);
  ASSERT_EQ(prnu.sensors().size(), 2U);
  EXPECT_EQ(prnu.sensors().at(7).factors, read(xmlFileData::readPrnuData, mFiles.prnu).sensors().at(7).factors);
  EXPECT_EQ(prnu.sensors().at(4).type, "panf");
  ASSERT_EQ(dsnu.sensors().size(), 2U);
  EXPECT_EQ(dsnu.sensors().at(7).offsets, read(xmlFileData::readDsnuData, mFiles.dsnu).sensors().at(7).offsets);
}

TEST_F(UnknownElements, AroundThoseOfSensorDataDontMatter) {
  auto const data = read(xmlFileData::readSensorCorrectionData, wrapped(mFiles.sensor));
  auto const plain = read(xmlFileData::readSensorCorrectionData, mFiles.sensor);
  EXPECT_EQ(data.clampLevel(), 240);
  EXPECT_EQ(data.ccdType(), 2);
  EXPECT_EQ(data.boardIds(), plain.boardIds());
  EXPECT_EQ(data.colorGainBlue(), 1.4);
  EXPECT_EQ(data.voltages(), plain.voltages());
  for (int direction = 0; direction < 3; ++direction) {
    EXPECT_EQ(data.multiTdi().at(direction).voltages, plain.multiTdi().at(direction).voltages);
  }
  ASSERT_EQ(data.sensors().size(), 2U);
  for (int index : {4, 7}) {
    auto const& sensor = data.sensors().at(index);
    auto const& expected = plain.sensors().at(index);
    EXPECT_EQ(sensor.type, expected.type);
    EXPECT_EQ(sensor.limit, expected.limit);
    EXPECT_EQ(sensor.radiometricGain, expected.radiometricGain);
    EXPECT_EQ(sensor.imagingPixels, expected.imagingPixels);
    EXPECT_EQ(sensor.brightnessIt, expected.brightnessIt);
    EXPECT_EQ(sensor.center, expected.center);
    EXPECT_EQ(sensor.dsnuUpper, expected.dsnuUpper);
    EXPECT_EQ(sensor.prnu, expected.prnu);
    EXPECT_EQ(sensor.lookups, expected.lookups);
  }
}

}  // namespace
