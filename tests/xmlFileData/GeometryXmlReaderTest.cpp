// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "XmlReading.h"
#include "support/Matchers.h"
#include "support/XmlFolder.h"

#include <xmlFileData/KesBGeoCalibData.h>

#include <cmath>
#include <limits>

namespace {

using test::with;
using test::XmlFolder;
using testing::ElementsAre;
using xmlFileData::KesBGeoCalibData;

class GeometryXmlReader : public test::XmlReading<KesBGeoCalibData> {
protected:
  GeometryXmlReader() : XmlReading(xmlFileData::readGeoCalibData) {}

  std::string const mText = XmlFolder().geometry;
};

TEST_F(GeometryXmlReader, ReadsEveryValue) {
  KesBGeoCalibData const data = read(mText);
  EXPECT_EQ(data.version().text(), "1.0.7");
  EXPECT_EQ(data.system(),
            (xmlFileData::System{"HDB00", {{"SensorHead", "1", "A", "2"}, {"LensSystem", "3", "B", "4"}}}));
  EXPECT_EQ(data.creation(),
            (xmlFileData::Creation{"Somebody", "Works", "Bench", "first", "20100312", "141530", "UTC"}));
  EXPECT_TRUE(data.hasLensSystem());
  EXPECT_EQ(data.lensSystem().principalDistance, 62.5);
  EXPECT_EQ(data.lensSystem().sigmaPrincipalDistance, 0.0005);
  xmlFileData::GeoMisalignment const m = data.misalignmentValues();
  EXPECT_THAT((std::vector{m.Omega, m.SigmaOmega, m.Phi, m.SigmaPhi, m.Kappa, m.SigmaKappa}),
              ElementsAre(0.1, 0.4, -0.2, 0.5, 0.3, 0.6));
  EXPECT_TRUE(data.hasSensors());
  EXPECT_FALSE(data.isCommented());
  ASSERT_EQ(data.sensors().size(), 2U);
}

TEST_F(GeometryXmlReader, ReadsEveryValueOfALine) {
  KesBGeoCalibData const data = read(mText);
  xmlFileData::GeoSensor const& sensor = data.sensors().at(4);
  EXPECT_EQ(sensor.head().Type, "Line");
  EXPECT_EQ(sensor.head().Structure, "Mono");
  EXPECT_EQ(sensor.head().pixelSize, 0.0065);
  EXPECT_EQ(sensor.head().rows, 1);
  EXPECT_EQ(sensor.head().columns, 3);
  EXPECT_EQ(sensor.grid().channel(), "PANF");
  EXPECT_FALSE(sensor.grid().isDelta());
  EXPECT_EQ(sensor.grid().rowCount(), 1);
  EXPECT_EQ(sensor.grid().columnCount(), 3);
  xmlFileData::GridRow const& row = sensor.gridView().onlyRow();
  EXPECT_THAT(row.row, ElementsAre(1.5, 1.25, 1.0));
  EXPECT_THAT(row.column, ElementsAre(-0.0065, 0.00025, 0.007));
  EXPECT_THAT(row.sigmaRow, ElementsAre(0.00001, 0.00002, 0.00003));
  EXPECT_THAT(row.sigmaColumn, ElementsAre(0.00004, 0.00005, 0.00006));
  EXPECT_THAT(data.sensors().at(7).gridView().onlyRow().row, ElementsAre(-3.0, -2.5));
}

TEST_F(GeometryXmlReader, RootOfAnotherKindIsRefusedByTheMessageThatNamesItAsMissing) {
  std::string text = with(mText, "<DigitalSensorHead", "<DigitalFrameHead");
  text = with(text, "</DigitalSensorHead", "</DigitalFrameHead");
  expectWithName(text, "XML reader: Missing tag (DigitalFrameHeadInteriorOrientation): ");
  expectWithName("<x/>", "XML reader: Missing tag (DigitalFrameHeadInteriorOrientation): ");
}

TEST_F(GeometryXmlReader, ElementsOfTheFileAreMissedInOrder) {
  expectWithName("<DigitalSensorHeadInteriorOrientation/>", "XML reader: Missing tag (LensSystem): ");
  expectWithName(with(mText, "<LensSystem ", "<Lens "), "XML reader: Missing tag (LensSystem): ");
  expectWithName(with(mText, "<Misalignment_deg ", "<Misalignment "), "XML reader: Missing tag (Misalignment_deg): ");
  expectWithName(with(with(mText, "<Sensors>", "<Lines>"), "</Sensors>", "</Lines>"), "XML reader: No sensor data: ");
}

TEST_F(GeometryXmlReader, EachMandatoryAttributeIsMissed) {
  for (char const* name : {"Type",
                           "Component",
                           "SerialNo",
                           "Revision",
                           "ArticleNo",
                           "Name",
                           "Location",
                           "Environment",
                           "Remark",
                           "Date",
                           "Time",
                           "PrincipalDistance_mm",
                           "SigmaPrincipalDistance_mm",
                           "Omega",
                           "SigmaOmega",
                           "Phi",
                           "SigmaPhi",
                           "Kappa",
                           "SigmaKappa",
                           "i",
                           "PixelSize_mm",
                           "Rows",
                           "Columns"}) {
    expect(withoutAttribute(mText, name), std::string("XML reader: Missing attribute (") + name + ")");
  }
  expect(with(mText, "<DateTime Type=", "<DateTime T="), "XML reader: Missing attribute (Type)");
  expect(with(mText, "\"PANF\" Columns=", "\"PANF\" C="), "XML reader: Missing attribute (Columns)");
}

TEST_F(GeometryXmlReader, FirstMissingAttributeOfAnElementIsTold) {
  expect(with(mText, " PixelSize_mm=\"0.0065\" Rows=\"1\" Columns=\"3\"", ""),
         "XML reader: Missing attribute (PixelSize_mm)");
  expect(with(mText, "<Misalignment_deg Omega=\"0.1\" SigmaOmega=\"0.4\" Phi=\"-0.2\"", "<Misalignment_deg"),
         "XML reader: Missing attribute (Omega)");
}

TEST_F(GeometryXmlReader, OptionalAttributesHaveDefaults) {
  KesBGeoCalibData const data = read(with(
      with(with(mText, " Version=\"1.0.7\"", ""), " Type=\"Line\" Structure=\"Mono\"", ""), " Channel=\"PANF\"", ""));
  EXPECT_EQ(data.version(), (xmlFileData::Version{1, 0, 0}));
  EXPECT_EQ(data.sensors().at(4).head().Type, "");
  EXPECT_EQ(data.sensors().at(4).head().Structure, "");
  EXPECT_EQ(data.sensors().at(4).grid().channel(), "");
}

TEST_F(GeometryXmlReader, SystemAndCreationMayBeMissing) {
  std::string text = mText;
  text.erase(text.find("<System "), text.find("<LensSystem ") - text.find("<System "));
  KesBGeoCalibData const data = read(text);
  EXPECT_FALSE(data.hasSystem());
  EXPECT_FALSE(data.hasCreation());
}

TEST_F(GeometryXmlReader, SystemNeedsAComponent) {
  expect(with(with(mText, "<SystemInfo ", "<Info "), "<SystemInfo ", "<Info "), "XML reader: Missing tag (SystemInfo)");
}

TEST_F(GeometryXmlReader, CreationNeedsOneDateAndNamesAnotherElement) {
  expect(with(mText, "<DateTime ", "<Date "), "XML reader: Missing tag (SystemInfo)");
  expect(with(mText, "<DateTime ", "<DateTime Type=\"UTC\" Date=\"20100311\" Time=\"141530\"/><DateTime "),
         "XML reader: More than one creation tag (SystemInfo)");
}

TEST_F(GeometryXmlReader, VersionOfOtherThanThreePiecesIsRefused) {
  expect(with(mText, "1.0.7", "1..0"), "No valid version string: 1..0");
  EXPECT_EQ(read(with(mText, "1.0.7", "1.x.2")).version(), (xmlFileData::Version{1, 0, 2}));
}

TEST_F(GeometryXmlReader, LineNeedsHeadAndGrid) {
  std::string const head = "<Sensor Type=\"Line\"";
  expect(with(with(mText, head, "<Head Type=\"Line\""), "<DistortionGrid Channel=\"PANF\"", "<Grid Channel=\"PANF\""),
         "XML reader: Missing or invalid tag (Sensor)");
  expect(with(with(mText, "<DistortionGrid", "<Grid"), "</DistortionGrid>", "</Grid>"),
         "XML reader: Missing or invalid tag (DistortionGrid)");
  std::string text = mText;
  auto const begin = text.find("<Sensor i");
  expect(text.erase(begin, text.find("</Sensors>") - begin), "XML reader: Missing tag (Sensor)");
}

TEST_F(GeometryXmlReader, GridHasAsManyRowsAsItTells) {
  std::string const row = mText.substr(mText.find("<GridRow"), mText.find("</GridRow>") + 10 - mText.find("<GridRow"));
  expect(with(mText, row, ""), "XML reader: Missing tag (GridRow)");
  expect(with(mText, row, row + row), "XML reader: Wrong row count (GridRow)");
  expect(with(mText, "\"PANF\" Columns", "\"PANF\" Rows=\"2\" Columns"), "XML reader: Wrong row count (GridRow)");
  KesBGeoCalibData const data =
      read(with(with(mText, "\"PANF\" Columns", "\"PANF\" Rows=\"2\" Columns"), row, row + row));
  EXPECT_EQ(data.sensors().at(4).grid().rowCount(), 2);
}

TEST_F(GeometryXmlReader, ListsOfARowHaveTheCountOfColumns) {
  for (auto const& [name, told] : {std::pair("Row_mm", "DeltaRow_mm"),
                                   {"Column_mm", "DeltaColumn_mm"},
                                   {"SigmaRow_mm", "SigmaDeltaRow_mm"},
                                   {"SigmaColumn_mm", "SigmaDeltaColumn_mm"}}) {
    std::string const message = std::string("XML reader: Missing or wrong tag (") + told + ")";
    std::string const start = std::string("<") + name + ">";
    std::string const end = std::string("</") + name + ">";
    expect(with(mText, start, start + "1 "), message);
    expect(with(mText, start, start + "x "), message);
    std::string text = mText;
    auto const begin = text.find(start) + start.size();
    expect(text.replace(begin, text.find(end) - begin, "1 2"), message);
    expect(with(with(mText, start, "<Other>"), end, "</Other>"), message);
  }
  expect(with(mText, "\"PANF\" Columns=\"3\"", "\"PANF\" Columns=\"2000000000\""),
         "XML reader: Missing or wrong tag (DeltaRow_mm)");
  expect(with(mText, "\"PANF\" Columns=\"3\"", "\"PANF\" Columns=\"-1\""),
         "XML reader: Missing or wrong tag (DeltaRow_mm)");
}

TEST_F(GeometryXmlReader, GridMayHaveNoColumns) {
  std::string text = with(mText, "\"PANF\" Columns=\"3\"", "\"PANF\" Columns=\"0\"");
  for (std::string const name : {"Row_mm", "Column_mm", "SigmaRow_mm", "SigmaColumn_mm"}) {
    auto const begin = text.find("<" + name + ">") + name.size() + 2;
    text.erase(begin, text.find("</" + name + ">") - begin);
  }
  xmlFileData::DistortionGrid const grid = read(text).sensors().at(4).grid();
  EXPECT_EQ(grid.rowCount(), 1);
  EXPECT_EQ(grid.columnCount(), 0);
}

TEST_F(GeometryXmlReader, RowsOfAGridHaveTheSameLength) {
  std::string const row = mText.substr(mText.find("<GridRow"), mText.find("</GridRow>") + 10 - mText.find("<GridRow"));
  std::string const shorter = "<GridRow><Row_mm>1 2</Row_mm><Column_mm>1 2</Column_mm><SigmaRow_mm>1 2</SigmaRow_mm>"
                              "<SigmaColumn_mm>1 2</SigmaColumn_mm></GridRow>";
  expect(with(with(mText, "\"PANF\" Columns", "\"PANF\" Rows=\"2\" Columns"), row, row + shorter),
         "XML reader: Missing or wrong tag (DeltaRow_mm)");
}

TEST_F(GeometryXmlReader, StartsAndSpacingsOfAGridAreZero) {
  for (auto const& [name, told] : {std::pair("RowStart_mm", "Row start"),
                                   {"RowSpacing_mm", "row spacing"},
                                   {"ColumnStart_mm", "column start"},
                                   {"ColumnSpacing_mm", "column spacing"}}) {
    std::string const element = name;
    auto const text = [&](std::string const& value) {
      return with(mText, "<GridRow", "<" + element + ">" + value + "</" + element + "><GridRow");
    };
    std::string const message = std::string(told) + " != 0 is invalid for absolute distortion grids";
    expect(text("0.001"), message);
    expect(text("nan"), message);
    EXPECT_EQ(read(text("0.0")).sensors().size(), 2U);
    EXPECT_EQ(read(text("none")).sensors().size(), 2U);
  }
}

TEST_F(GeometryXmlReader, DetectorOfBayerCellsIsEven) {
  expect(with(mText, "Rows=\"2\" Columns=\"6\"", "Rows=\"3\" Columns=\"6\""), "Sensor rows and columns must be even");
  expect(with(mText, "Rows=\"2\" Columns=\"6\"", "Rows=\"2\" Columns=\"7\""), "Sensor rows and columns must be even");
  expect(with(mText, "\"Mono\"", "\"bayer_rggb\""), "Sensor rows and columns must be even");
}

TEST_F(GeometryXmlReader, NumbersThatAreNoneAreZero) {
  KesBGeoCalibData const data = read(with(with(mText, "\"62.5\"", "\"62,5\""), "PixelSize_mm=\"0.0065\" Rows=\"1\"",
                                          "PixelSize_mm=\"\" Rows=\"1.5\""));
  EXPECT_EQ(data.lensSystem().principalDistance, 0.0);
  EXPECT_EQ(data.sensors().at(4).head().pixelSize, 0.0);
  EXPECT_EQ(data.sensors().at(4).head().rows, 0);
}

// As Qt reads them: a real number may be none, or too large for its type; a whole number that is either is 0.
TEST_F(GeometryXmlReader, NumbersThatArentFiniteAreReadAsSuch) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  auto const distance = [&](std::string const& text) {
    return read(with(mText, "\"62.5\"", "\"" + text + "\"")).lensSystem().principalDistance;
  };
  EXPECT_TRUE(std::isnan(distance("nan")));
  EXPECT_EQ(distance("1e999"), infinity);
  EXPECT_EQ(distance("-1e999"), -infinity);
  EXPECT_EQ(distance("inf"), infinity);
  EXPECT_EQ(distance("1e-999"), 0.0);
  EXPECT_EQ(distance("6abc"), 0.0);
  for (std::string const text : {"nan", "1e999", "4294967296", "6abc"}) {
    EXPECT_EQ(read(with(mText, "Rows=\"1\"", "Rows=\"" + text + "\"")).sensors().at(4).head().rows, 0) << text;
  }
}

TEST_F(GeometryXmlReader, OrderOfSiblingsIsFreeAndStrangersAreIgnored) {
  std::string text = mText;
  std::string const lens =
      text.substr(text.find("<LensSystem P"), text.find("<Misalignment") - text.find("<LensSystem P"));
  text = with(with(text, lens, ""), "</Sensors>", "</Sensors>" + lens);
  text = with(text, "<Sensors>", "<Extra a=\"1\"><Deep>x</Deep></Extra><Sensors more=\"2\">");
  text = with(text, "1.50000 1.25000", "1.50000<!-- c --><Extra>9 9</Extra> 1.25000");
  text = with(text, "<GridRow", "<?pi x?><Note/><GridRow");
  EXPECT_EQ(read(text), read(mText));
}

TEST_F(GeometryXmlReader, LineOfTheSameIndexReplacesTheOneBefore) {
  KesBGeoCalibData const data = read(with(mText, "<Sensor i=\"7\"", "<Sensor i=\"4\""));
  ASSERT_EQ(data.sensors().size(), 1U);
  EXPECT_EQ(data.sensors().at(4).grid().channel(), "BLUE");
}

TEST_F(GeometryXmlReader, ErrorsOfTheParserNameTheFileAndComeLast) {
  std::string const message = messageOf(with(mText, "</DigitalSensorHeadInteriorOrientation>", ""));
  EXPECT_THAT(message, testing::StartsWith("XML reader: "));
  EXPECT_THAT(message, testing::EndsWith(": " + path()));
  EXPECT_THAT(message, testing::Not(testing::HasSubstr("Missing")));
  expectWithName(mText.substr(0, mText.find("<LensSystem P")), "XML reader: Missing tag (LensSystem): ");
}

}  // namespace
