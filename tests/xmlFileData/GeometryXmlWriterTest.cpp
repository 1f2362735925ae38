// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/GeometryXmlWriter.h"

#include "support/Matchers.h"
#include "support/XmlFolder.h"

#include <xmlFileData/CalibrationFiles.h>
#include <xmlFileData/KesBGeoCalibData.h>

#include <QString>
#include <QXmlStreamWriter>

#include <filesystem>
#include <limits>
#include <sys/stat.h>

namespace {

using test::contents;
using test::XmlFolder;
using testing::HasSubstr;
using xmlFileData::DistortionGrid;
using xmlFileData::GridRow;
using xmlFileData::KesBGeoCalibData;
using xmlFileData::writeGeoCalibData;

class GeometryXmlWriter : public testing::Test {
protected:
  GeometryXmlWriter() { xmlFileData::readGeoCalibData(mFolder.file("source.xml", XmlFolder().geometry), mData); }
  std::string write() const {
    writeGeoCalibData(mData, mFolder.path(), "out.xml");
    return contents(mFolder / "out.xml");
  }
  void setInfos(std::vector<xmlFileData::SystemInfo> const& infos) { mData.setSystem({"HDB00", infos}); }

  test::TempFolder mFolder;
  KesBGeoCalibData mData;
};

TEST_F(GeometryXmlWriter, WritesEveryValueInItsOrderWithItsDecimals) {
  EXPECT_EQ(write(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<DigitalSensorHeadInteriorOrientation Version=\"1.0.7\">\n"
            "    <!--Corvane KES camera calibration file-->\n"
            "    <System Type=\"HDB00\">\n"
            "        <SystemInfo Component=\"SensorHead\" SerialNo=\"1\" Revision=\"A\" ArticleNo=\"2\"/>\n"
            "        <SystemInfo Component=\"LensSystem\" SerialNo=\"3\" Revision=\"B\" ArticleNo=\"4\"/>\n"
            "    </System>\n"
            "    <Creation Name=\"Somebody\" Location=\"Works\" Environment=\"Bench\" Remark=\"first\">\n"
            "        <DateTime Type=\"UTC\" Date=\"20100312\" Time=\"141530\"/>\n"
            "    </Creation>\n"
            "    <LensSystem PrincipalDistance_mm=\"62.5000\" SigmaPrincipalDistance_mm=\"0.0005\"/>\n"
            "    <Misalignment_deg Omega=\"0.10000\" SigmaOmega=\"0.40000\" Phi=\"-0.20000\" SigmaPhi=\"0.50000\" "
            "Kappa=\"0.30000\" SigmaKappa=\"0.60000\"/>\n"
            "    <Sensors>\n"
            "        <Sensor i=\"4\">\n"
            "            <Sensor Type=\"Line\" Structure=\"Mono\" PixelSize_mm=\"0.0065\" Rows=\"1\" Columns=\"3\"/>\n"
            "            <DistortionGrid Channel=\"PANF\" Columns=\"3\">\n"
            "                <GridRow i=\"0\">\n"
            "                    <Row_mm>1.50000 1.25000 1.00000</Row_mm>\n"
            "                    <Column_mm>-0.00650 0.00025 0.00700</Column_mm>\n"
            "                    <SigmaRow_mm>0.00001 0.00002 0.00003</SigmaRow_mm>\n"
            "                    <SigmaColumn_mm>0.00004 0.00005 0.00006</SigmaColumn_mm>\n"
            "                </GridRow>\n"
            "            </DistortionGrid>\n"
            "        </Sensor>\n"
            "        <Sensor i=\"7\">\n"
            "            <Sensor Type=\"Pair\" Structure=\"Bayer\" PixelSize_mm=\"0.0130\" Rows=\"2\" Columns=\"6\"/>\n"
            "            <DistortionGrid Channel=\"BLUE\" Columns=\"2\">\n"
            "                <GridRow i=\"0\">\n"
            "                    <Row_mm>-3.00000 -2.50000</Row_mm>\n"
            "                    <Column_mm>0.02600 -0.02600</Column_mm>\n"
            "                    <SigmaRow_mm>0.00000 0.00000</SigmaRow_mm>\n"
            "                    <SigmaColumn_mm>0.00000 0.00000</SigmaColumn_mm>\n"
            "                </GridRow>\n"
            "            </DistortionGrid>\n"
            "        </Sensor>\n"
            "    </Sensors>\n"
            "</DigitalSensorHeadInteriorOrientation>\n");
}

TEST_F(GeometryXmlWriter, RoundsHalvesAwayFromZero) {
  mData.setLensSystem({62.77775, -0.00005});
  mData.setMisalignmentValues({0.000004, 0.000005, -0.000005, 0.123455, -1.5, 180.0});
  std::string const text = write();
  EXPECT_THAT(text, HasSubstr("PrincipalDistance_mm=\"62.7778\" SigmaPrincipalDistance_mm=\"-0.0001\""));
  EXPECT_THAT(text, HasSubstr("Omega=\"0.00000\" SigmaOmega=\"0.00001\" Phi=\"-0.00001\""));
  EXPECT_THAT(text, HasSubstr("Kappa=\"-1.50000\" SigmaKappa=\"180.00000\""));
}

TEST_F(GeometryXmlWriter, TextsWithMarkupAndLineEndsComeBack) {
  mData.setCreation({"A & B", "<Works>", "\"quoted\"", "two\nlines\t\xC3\xA4", "20100312", "141530", "UTC"});
  write();
  KesBGeoCalibData back;
  xmlFileData::readGeoCalibData(mFolder / "out.xml", back);
  EXPECT_EQ(back.creation(), mData.creation());
}

TEST_F(GeometryXmlWriter, GridOfTwoRowsTellsItsRows) {
  xmlFileData::GeoSensor const& one = mData.sensors().at(4);
  DistortionGrid grid = one.grid();
  grid.addRow(GridRow{{7, 8, 9}, {1, 2, 3}, {0, 0, 0}, {0, 0, 0}});
  mData.setSensors({{4, {one.head(), grid}}});
  std::string const text = write();
  EXPECT_THAT(text, HasSubstr("<DistortionGrid Channel=\"PANF\" Rows=\"2\" Columns=\"3\">"));
  EXPECT_THAT(text, HasSubstr("<GridRow i=\"1\">\n                    <Row_mm>7.00000 8.00000 9.00000</Row_mm>"));
}

TEST_F(GeometryXmlWriter, NameOfANewFileIsThatOfTheLastSensorHead) {
  setInfos({{"SensorHead", "11", "A", "22"}, {"LensSystem", "3", "B", "4"}, {"SensorHead", "5", "C", "6"}});
  writeGeoCalibData(mData, mFolder.path(), "");
  EXPECT_TRUE(test::exists(mFolder / "HDB00_Geometry_SensorHead-5-C-6_DateTime-20100312-141530.xml"));
}

TEST_F(GeometryXmlWriter, NameOfANewFileNeedsAllOfTheSensorHead) {
  std::string const message = "XML reader: Missing system informations";
  int const before = test::entryCount(mFolder.path());
  for (xmlFileData::SystemInfo const& info :
       {xmlFileData::SystemInfo{"SensorHead", "", "A", "2"}, xmlFileData::SystemInfo{"SensorHead", "1", "", "2"},
        xmlFileData::SystemInfo{"SensorHead", "1", "A", ""}, xmlFileData::SystemInfo{"sensorhead", "1", "A", "2"}}) {
    setInfos({info});
    EXPECT_MESSAGE(writeGeoCalibData(mData, mFolder.path(), ""), message);
  }
  EXPECT_MESSAGE(writeGeoCalibData(KesBGeoCalibData(), mFolder.path(), ""), message);
  EXPECT_EQ(test::entryCount(mFolder.path()), before);
}

TEST_F(GeometryXmlWriter, AbsoluteNameStandsAsItIs) {
  writeGeoCalibData(mData, mFolder / "none", mFolder / "absolute.xml");
  EXPECT_TRUE(test::exists(mFolder / "absolute.xml"));
}

TEST_F(GeometryXmlWriter, PlaceThatCantBeWrittenIsNamed) {
  std::string const message = "XML writer: Can't write File: ";
  EXPECT_MESSAGE(writeGeoCalibData(mData, mFolder / "none", "a.xml"), message + (mFolder / "none/a.xml"));
  std::string const folder = mFolder.folder("b.xml");
  EXPECT_MESSAGE(writeGeoCalibData(mData, mFolder.path(), "b.xml"), message + folder);
  ASSERT_EQ(::mkfifo((mFolder / "fifo").c_str(), 0600), 0);
  EXPECT_MESSAGE(writeGeoCalibData(mData, mFolder.path(), "fifo"), message + (mFolder / "fifo"));
  EXPECT_MESSAGE(writeGeoCalibData(mData, mFolder.path(), "/dev/full"), message + "/dev/full");
}

TEST_F(GeometryXmlWriter, WithoutSystemOrCreationTheFileIsLeftAsFarAsItGot) {
  KesBGeoCalibData data;
  EXPECT_MESSAGE(writeGeoCalibData(data, mFolder.path(), "a.xml"),
                 "XML writer: Missing necessary Information (TAG:Type)");
  EXPECT_THAT(contents(mFolder / "a.xml"), testing::EndsWith("<!--Corvane KES camera calibration file-->"));
  data.setSystem({"HDB00", {}});
  EXPECT_MESSAGE(writeGeoCalibData(data, mFolder.path(), "a.xml"),
                 "XML writer: Missing necessary Information (TAG:Creation)");
  EXPECT_MESSAGE(writeGeoCalibData(data, mFolder / "none", "a.xml"),
                 "XML writer: Can't write File: " + (mFolder / "none/a.xml"));
  EXPECT_THAT(contents(mFolder / "a.xml"), HasSubstr("<System Type=\"HDB00\""));
}

TEST_F(GeometryXmlWriter, GridWithoutRowsIsRefused) {
  mData.setSensors({{1, {{}, DistortionGrid("PANF")}}});
  EXPECT_MESSAGE(write(), "XML writer: Missing data (DistortionGrid)");
  EXPECT_THAT(contents(mFolder / "out.xml"), HasSubstr("<DistortionGrid Channel=\"PANF\""));
}

TEST_F(GeometryXmlWriter, CommentedFileCantBeReadAsSuch) {
  mData.setCommented(true);
  EXPECT_MESSAGE(write(), "XML file not complete");
  EXPECT_THAT(contents(mFolder / "out.xml"),
              HasSubstr("Version=\"1.0.7\">\n"
                        "    <!--For a complete list of tags and for the file structure see "
                        "UpdateGeometry-HeadExample-A-11111-LensSystem22222-A-33333-2011-01-01-101159.xml-->\n"
                        "    <!--Corvane KES camera calibration file-->\n"));
}

TEST_F(GeometryXmlWriter, ValueThatDoesntComeBackIsReportedAndTheFileStays) {
  mData.setLensSystem({std::numeric_limits<double>::quiet_NaN(), 0.0});
  EXPECT_MESSAGE(write(), "XML file not complete");
  EXPECT_THAT(contents(mFolder / "out.xml"), testing::EndsWith("</DigitalSensorHeadInteriorOrientation>\n"));
}

TEST_F(GeometryXmlWriter, FileThatCantBeReadAgainIsReportedByItsReader) {
  mData.setSensors({});
  EXPECT_MESSAGE(write(), "XML reader: Missing tag (Sensor)");
}

TEST_F(GeometryXmlWriter, FullDiskKeepsTheOldFile) {
  test::SmallFileSystem const disk(1 << 16);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system of its own";
  }
  std::filesystem::copy(mFolder / "source.xml", disk / "out.xml");
  disk.fill();
  EXPECT_MESSAGE(writeGeoCalibData(mData, disk.path(), "out.xml"),
                 "XML writer: Can't write File: " + (disk / "out.xml"));
  EXPECT_EQ(contents(disk / "out.xml"), XmlFolder().geometry);
  EXPECT_EQ(test::entryCount(disk.path()), 2);
}

class GridWriter : public testing::Test {
protected:
  template <class Write>
  static std::string text(Write write) {
    QString text;
    QXmlStreamWriter writer(&text);
    write(writer);
    return text.toStdString();
  }
};

TEST_F(GridWriter, DeltaGridHasItsRasterAndOtherNames) {
  DistortionGrid grid("PANF", true);
  grid.setRowStart(1.23456);
  grid.setRowSpacing(-2.0);
  grid.setColumnStart(3.0);
  grid.setColumnSpacing(0.5);
  grid.addRow(GridRow{{1.5, -2.25}, {3, 4}, {5, 6}, {7, 8}});
  EXPECT_EQ(
      text([&](QXmlStreamWriter& writer) { xmlFileData::writeGrid(writer, grid); }),
      "<DistortionGrid Channel=\"PANF\" Columns=\"2\">"
      "<RowStart_mm>1.2346</RowStart_mm><RowSpacing_mm>-2.0000</RowSpacing_mm>"
      "<ColumnStart_mm>3.0000</ColumnStart_mm><ColumnSpacing_mm>0.5000</ColumnSpacing_mm>"
      "<GridRow i=\"0\"><DeltaRow_mm>1.50000 -2.25000</DeltaRow_mm><DeltaColumn_mm>3.00000 4.00000</DeltaColumn_mm>"
      "<SigmaDeltaRow_mm>5.00000 6.00000</SigmaDeltaRow_mm>"
      "<SigmaDeltaColumn_mm>7.00000 8.00000</SigmaDeltaColumn_mm></GridRow></DistortionGrid>");
}

TEST_F(GridWriter, AbsoluteGridHasNoRaster) {
  DistortionGrid const grid("PANF");
  QString text;
  QXmlStreamWriter writer(&text);
  EXPECT_MESSAGE(writeRowStart(writer, grid), "no row start for absolute distortion grids");
  EXPECT_MESSAGE(writeRowSpacing(writer, grid), "no row spacing for absolute distortion grids");
  EXPECT_MESSAGE(writeColumnStart(writer, grid), "no column start for absolute distortion grids");
  EXPECT_MESSAGE(writeColumnSpacing(writer, grid), "no column spacing for absolute distortion grids");
  EXPECT_TRUE(text.isEmpty());
}

}  // namespace
