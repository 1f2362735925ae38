// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "XmlReading.h"
#include "support/Matchers.h"
#include "support/XmlFolder.h"

#include <xmlFileData/KesBDsnuData.h>
#include <xmlFileData/KesBPrnuData.h>

namespace {

using test::with;
using test::XmlFolder;
using testing::ElementsAre;
using xmlFileData::KesBDsnuData;
using xmlFileData::KesBPrnuData;

class PrnuXmlReader : public test::XmlReading<KesBPrnuData> {
protected:
  PrnuXmlReader() : XmlReading(xmlFileData::readPrnuData) {}
  // The file with other attributes of the first image.
  std::string image(std::string const& attributes) const {
    return with(mText, "Width=\"3\" Data=\"AACAPwAAAD8AAABA\"", attributes);
  }

  std::string const mText = XmlFolder().prnu;
};

class DsnuXmlReader : public test::XmlReading<KesBDsnuData> {
protected:
  DsnuXmlReader() : XmlReading(xmlFileData::readDsnuData) {}

  std::string const mText = XmlFolder().dsnu;
};

TEST_F(PrnuXmlReader, ReadsEveryValue) {
  KesBPrnuData const data = read(mText);
  EXPECT_EQ(data.version().patch, 7);
  EXPECT_EQ(data.creation().DateTimeType, "utc");
  EXPECT_EQ(data.system().infos.size(), 2U);
  EXPECT_TRUE(data.hasSensors());
  ASSERT_EQ(data.sensors().size(), 2U);
  EXPECT_EQ(data.sensors().at(4).type, "panf");
  EXPECT_EQ(data.sensors().at(4).width, 3);
  EXPECT_EQ(data.sensors().at(4).height, 1);
  EXPECT_THAT(data.sensors().at(4).factors, ElementsAre(1.0F, 0.5F, 2.0F));
  EXPECT_EQ(data.sensors().at(7).width, 5);
  EXPECT_EQ(data.sensors().at(7).height, 2);
  EXPECT_THAT(data.sensors().at(7).row(0), ElementsAre(1.0F, 0.5F, 1.0F, 0.5F, 1.0F));
  EXPECT_THAT(data.sensors().at(7).row(1), testing::Each(0.5F));
}

TEST_F(DsnuXmlReader, ReadsEveryValue) {
  KesBDsnuData const data = read(mText);
  EXPECT_EQ(data.creation().Date, "20100316");
  EXPECT_THAT(data.sensors().at(4).offsets, ElementsAre(1, 2, 259));
  EXPECT_THAT(data.sensors().at(7).row(1), ElementsAre(6, 7, 8, 9, 10));
  EXPECT_EQ(data.sensors().at(7).type, "blue");
}

TEST_F(PrnuXmlReader, ImageMustHoldItsSamples) {
  std::string const message = "Invalid width or height";
  for (char const* attributes :
       {"Width=\"4\" Data=\"AACAPwAAAD8AAABA\"", "Width=\"3\" Height=\"2\" Data=\"AACAPwAAAD8AAABA\"", "Width=\"3\"",
        "Width=\"3\" Data=\"\"", "Width=\"3\" Data=\"!!!!\"", "Width=\"3\" Data=\"AACAPwAAAD8AAAB\"",
        "Width=\"-3\" Data=\"AACAPwAAAD8AAABA\"", "Width=\"3\" Height=\"-1\"", "Width=\"-1\" Height=\"-1\"",
        "Width=\"2147483647\" Height=\"2147483647\" Data=\"AACAPw==\"",
        "Width=\"4294967296\" Height=\"1073741824\" Data=\"AACAPw==\"",
        "Width=\"4611686018427387905\" Height=\"4\" Data=\"AACAPw==\"",
        "Width=\"9223372036854775807\" Height=\"9223372036854775807\""}) {
    expect(image(attributes), message);
  }
}

TEST_F(PrnuXmlReader, BytesBehindTheSamplesAreIgnored) {
  EXPECT_THAT(read(image("Width=\"2\" Data=\"AACAPwAAAD8AAABA\"")).sensors().at(4).factors, ElementsAre(1.0F, 0.5F));
}

TEST_F(PrnuXmlReader, WhatIsNoBase64IsPassedOver) {
  EXPECT_THAT(read(image("Width=\"2\" Data=\" AACA Pw&#10;\xC3\xA4"
                         "AAAD8 \""))
                  .sensors()
                  .at(4)
                  .factors,
              ElementsAre(1.0F, 0.5F));
}

TEST_F(PrnuXmlReader, ImageWithoutWidthIsEmptyAndNotDecoded) {
  xmlFileData::PrnuSensor const empty = read(image("Width=\"0\" Height=\"5\" Data=\"!\"")).sensors().at(4);
  EXPECT_EQ(empty.height, 5);
  EXPECT_TRUE(empty.factors.empty());
  EXPECT_EQ(read(image("Width=\"none\"")).sensors().at(4).width, 0);
}

TEST_F(PrnuXmlReader, LineMissesItsImageBeforeItsType) {
  expect(with(with(mText, "<PRNU ", "<DSNU "), "<Type>panf</Type>", ""), "XML reader: Missing or invalid tag (PRNU)");
  expect(with(mText, "<Type>panf</Type>", ""), "XML reader: Missing or invalid tag (Type)");
  expect(with(mText, "<Type>panf</Type>", "<Type></Type>"), "XML reader: Missing or invalid tag (Type)");
  expect(with(mText, "PRNU Width", "PRNU width"), "XML reader: Missing attribute (Width)");
  expect(with(mText, "Sensor i", "Sensor j"), "XML reader: Missing attribute (i)");
}

TEST_F(DsnuXmlReader, LineMissesItsImageBeforeItsType) {
  expect(with(with(mText, "<DSNU ", "<PRNU "), "<Type>PANF</Type>", ""), "XML reader: Missing or invalid tag (DSNU)");
  expect(with(mText, "<Type>PANF</Type>", ""), "XML reader: Missing or invalid tag (Type)");
  expect(with(mText, "DSNU Width", "DSNU width"), "XML reader: Missing attribute (Width)");
  expect(with(mText, "Data=\"AQACAAMB\"", "Data=\"AQACAAM\""), "Invalid width or height");
}

TEST_F(PrnuXmlReader, FileMissesRootAndLines) {
  expectWithName(with(with(mText, "<PrnuData ", "<DsnuData "), "</PrnuData>", "</DsnuData>"),
                 "XML reader: Missing tag (PrnuData): ");
  expectWithName("<PrnuData/>", "XML reader: No sensor data: ");
  expect("<PrnuData><Sensors/></PrnuData>", "XML reader: Missing tag (Sensor)");
}

TEST_F(DsnuXmlReader, FileMissesRootAndLines) {
  expectWithName("<PrnuData/>", "XML reader: Missing tag (DsnuData): ");
  expectWithName("<DsnuData/>", "XML reader: No sensor data: ");
}

TEST_F(PrnuXmlReader, ErrorsOfTheParserComeWithoutTheName) {
  std::string const message = messageOf(with(mText, "</PrnuData>", ""));
  EXPECT_THAT(message, testing::StartsWith("XML reader: "));
  EXPECT_THAT(message, testing::Not(testing::HasSubstr(path())));
}

TEST_F(PrnuXmlReader, FileThatCantBeReadIsNamed) {
  KesBPrnuData data;
  for (std::string const& name : {mFolder / "none", mFolder.path(), std::string("/dev/zero"), std::string()}) {
    EXPECT_MESSAGE(xmlFileData::readPrnuData(name, data), "XML reader: Can't read file: " + name);
  }
  for (char const* text : {"", "no xml", "<!-- only -->", "<?xml version=\"1.0\"?>", "\xff\xfe"}) {
    expectWithName(text, "XML reader: Can't find start element: ");
  }
}

TEST_F(PrnuXmlReader, TextInUtf16IsRead) {
  std::string const narrow = with(mText, " encoding=\"UTF-8\"", "");
  std::string wide = "\xff\xfe";
  for (char const c : narrow) {
    wide += c;
    wide += '\0';
  }
  EXPECT_THAT(read(wide).sensors().at(4).factors, ElementsAre(1.0F, 0.5F, 2.0F));
}

}  // namespace
