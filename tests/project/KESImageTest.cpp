// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/SupportLines.h"
#include "support/Bytes.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <XmlWriter.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraTime.h>
#include <sensor/IntegrationTime.h>
#include <sensor/KESImage.h>
#include <sensor/TdiStage.h>

#include <QDomDocument>
#include <QTextStream>

#include <filesystem>
#include <memory>

namespace {

using sensor::KESImage;
using test::SameBits;

class KESImageOf : public testing::Test {
protected:
  // The image of an element with these attributes, in the folder of the test.
  std::unique_ptr<KESImage> image(std::string const& attributes, bool load = false, char const* tag = "Image") {
    QDomDocument document;
    EXPECT_TRUE(document.setContent(QString::fromStdString("<" + std::string(tag) + " " + attributes + "/>")));
    return std::make_unique<KESImage>(document.documentElement(), mFolder.path(), nullptr, load);
  }
  std::string written(KESImage const& image) const { return written(image, mFolder.path()); }
  static std::string written(KESImage const& image, std::string const& folder) {
    QString text;
    QTextStream stream(&text);
    XmlWriter writer(stream, 0);
    image.write(&writer, folder);
    stream.flush();
    return text.toStdString();
  }

  test::TempFolder mFolder;
};

TEST_F(KESImageOf, AttributesAreReadAndPathsResolved) {
  auto const read =
      image("filename=\"a.tif\" band=\"PANF27A\" footprint=\"f/a.xml\" timing=\"/abs/a.ctg\" swath=\"90\" "
            "offset=\"-4\"");
  EXPECT_EQ(read->imageFileName(), "a.tif");
  EXPECT_EQ(read->bandID(), "PANF27A");
  EXPECT_EQ(read->footprintFileName(), mFolder / "f/a.xml");
  EXPECT_EQ(read->ctgFileName(), "/abs/a.ctg");
  EXPECT_EQ(read->numSamples(), 90);
  EXPECT_EQ(read->sampleOffsetFromCalib(), -4);
  EXPECT_EQ(read->offsetFromCalib().x, -4.0);
  EXPECT_EQ(read->offsetFromCalib().y, 0.0);
  EXPECT_EQ(read->parentStrip(), nullptr);
}

TEST_F(KESImageOf, MissingAttributesHaveTheirDefaults) {
  auto const read = image("");
  EXPECT_EQ(read->imageFileName(), "");
  EXPECT_EQ(read->footprintFileName(), mFolder / "");
  EXPECT_EQ(read->ctgFileName(), mFolder / "");
  EXPECT_EQ(read->numSamples(), 12000);
  EXPECT_EQ(read->sampleOffsetFromCalib(), 0);
  EXPECT_EQ(read->integrationTime(5.0F), -1.0F);
  EXPECT_EQ(read->tdi(5.0F), 1.0F);
  EXPECT_EQ(read->scale(), 1.0F);
  EXPECT_FALSE(read->isDataLoaded());
  EXPECT_EQ(read->numScanlines(), 0);
  EXPECT_EQ(read->numImagingSamples(), 12000);
}

TEST_F(KESImageOf, NumbersThatAreNoneAreZero) {
  auto const read = image("swath=\"many\" offset=\"1.5\"");
  EXPECT_EQ(read->numSamples(), 0);
  EXPECT_EQ(read->sampleOffsetFromCalib(), 0);
}

TEST_F(KESImageOf, NumbersBeyondAnIntAreZeroAndNegativeOnesStay) {
  for (char const* number : {"nan", "inf", "1e3", "0x10", "2147483648", "99999999999999999999", ""}) {
    auto const read = image(std::string("swath=\"") + number + "\" offset=\"" + number + "\"");
    EXPECT_EQ(read->numSamples(), 0) << number;
    EXPECT_EQ(read->sampleOffsetFromCalib(), 0) << number;
  }
  EXPECT_EQ(image("swath=\"-7\"")->numSamples(), -7);
  EXPECT_EQ(image("swath=\" 2147483647 \"")->numSamples(), 2147483647);
}

TEST_F(KESImageOf, TagMayBeWrittenInAnyCase) {
  EXPECT_EQ(image("band=\"X\"", false, "IMAGE")->bandID(), "X");
  auto const other = image("band=\"X\" swath=\"7\"", false, "Picture");
  EXPECT_EQ(other->bandID(), "");
  EXPECT_EQ(other->numSamples(), 0);
  EXPECT_EQ(other->tdiData(), nullptr);
  EXPECT_EQ(other->integrationTime(), nullptr);
}

TEST_F(KESImageOf, IntegrationTimeIsMillisecondsOrAFile) {
  EXPECT_THAT(image("it=\"0.5\"")->integrationTime(0.0F), SameBits(static_cast<float>(0.5 * 0.001)));
  mFolder.file("12.bad", (test::Bytes() << std::uint32_t{0} << std::uint32_t{2000}).str());
  EXPECT_THAT(image("it=\"12.bad\"")->integrationTime(0.0F), SameBits(0.002F));
  EXPECT_MESSAGE(image("it=\"none\""), "Can't open file: " + (mFolder / "none"));
  EXPECT_MESSAGE(image("it=\"\""), "Can't open file: " + (mFolder / ""));
  // The product is one of doubles: in singles it would differ in its last bit.
  EXPECT_THAT(image("it=\"3.3\"")->integrationTime(0.0F),
              SameBits(static_cast<float>(static_cast<double>(3.3F) * 0.001)));
}

TEST_F(KESImageOf, TdiIsAlwaysAFile) {
  EXPECT_MESSAGE(image("tdi=\"3\""), "Can't open file: " + (mFolder / "3"));
  mFolder.file("3", (test::Bytes() << std::uint32_t{0} << std::uint8_t{4}).str());
  EXPECT_EQ(image("tdi=\"3\"")->tdi(0.0F), 4.0F);
}

TEST_F(KESImageOf, LineTimesAreLoadedOnRequest) {
  mFolder.file("a.ctg", (test::Bytes() << 10.0 << 10.5 << 11.0).str());
  auto const loaded = image("timing=\"a.ctg\"", true);
  EXPECT_TRUE(loaded->isDataLoaded());
  EXPECT_EQ(loaded->numScanlines(), 3);
  EXPECT_EQ(loaded->gpsTime(0.5F).value(), 10.25);
  EXPECT_EQ(loaded->cycleTime(0.5F).value(), 0.5);
  EXPECT_EQ(loaded->line(sensor::seconds(10.75)), 1.5F);
  loaded->unloadData();
  EXPECT_FALSE(loaded->isDataLoaded());
  EXPECT_EQ(loaded->numScanlines(), 3);
  mFolder.file("a.ctg", (test::Bytes() << 10.0 << 10.5).str());
  loaded->loadData();
  EXPECT_EQ(loaded->numScanlines(), 2);
  mFolder.file("a.ctg", (test::Bytes() << 10.0).str());
  loaded->loadData();
  EXPECT_EQ(loaded->numScanlines(), 2);
  EXPECT_MESSAGE(image("timing=\"none.ctg\"", true), "failed to open CTG file: " + (mFolder / "none.ctg"));
}

// Whoever holds the table or a place in it may use it until the times are read again.
TEST_F(KESImageOf, LineTimesStayWhereTheyAreAfterUnloading) {
  mFolder.file("a.ctg", (test::Bytes() << 10.0 << 10.5 << 11.0).str());
  auto const loaded = image("timing=\"a.ctg\"", true);
  std::vector<double> const& values = loaded->cameraTime()->values();
  double const* const first = values.data();
  loaded->unloadData();
  EXPECT_EQ(values, (std::vector<double>{10.0, 10.5, 11.0}));
  EXPECT_EQ(values.data(), first);
  EXPECT_EQ(&loaded->cameraTime()->values(), &values);
}

TEST_F(KESImageOf, PointListIsFoundUpToTwoFoldersAbove) {
  test::TempFolder const top;
  std::string const stripFolder = top.folder("a/b/c");
  auto const listOf = [&](std::string const& name) {
    QDomDocument document;
    document.setContent(QString::fromStdString("<Image filename=\"" + name + "\"/>"));
    return KESImage(document.documentElement(), stripFolder, nullptr, false).iptFileName();
  };
  EXPECT_EQ(listOf("x.tif"), "");
  top.file("x.ipt", "");
  EXPECT_EQ(listOf("x.tif"), "");
  top.file("a/x.ipt", "");
  EXPECT_EQ(listOf("x.tif"), top / "a/x.ipt");
  top.file("a/b/x.ipt", "");
  EXPECT_EQ(listOf("x.tif"), top / "a/b/x.ipt");
  top.file("a/b/c/x.ipt", "");
  EXPECT_EQ(listOf("x.tif"), top / "a/b/c/x.ipt");
  EXPECT_EQ(listOf("sub/x.y.tif"), "");
  top.file("a/b/c/x.y.ipt", "");
  EXPECT_EQ(listOf("sub/x.y.tif"), top / "a/b/c/x.y.ipt");
  EXPECT_EQ(listOf("x"), "");
  EXPECT_EQ(listOf(""), "");
  EXPECT_EQ(listOf(".tif"), "");
  top.file("a/b/c/.ipt", "");
  EXPECT_EQ(listOf(".tif"), top / "a/b/c/.ipt");
}

TEST_F(KESImageOf, SamplingDistanceAndNominalHeightFollowTheirFormulae) {
  auto const read = image("");
  sensor::CalibrationGeometryKes calibration;
  // Any other order of operations, or doubles, would differ in the last bit.
  calibration.setFocalLength(0.0623F);
  calibration.setPixelData(6.3e-6F, 2, 2, std::vector<float>{0, 0}, std::vector<float>{0, 1});
  read->computeGSD(100.0F, 2100.0F, &calibration);
  EXPECT_THAT(read->gsd(), SameBits(6.3e-6F * (2100.0F - 100.0F) / 0.0623F));
  EXPECT_THAT(read->computeNominalHeight(0.217F, 2100.0F, &calibration),
              SameBits(2100.0F - 0.0623F * 0.217F / 6.3e-6F));
}

TEST_F(KESImageOf, ElementIsWrittenWithPathsBelowTheStrip) {
  mFolder.file("a.it", (test::Bytes() << std::uint32_t{0} << std::uint32_t{2000}).str());
  mFolder.file("a.tdi", (test::Bytes() << std::uint32_t{0} << std::uint8_t{2}).str());
  auto const read = image("filename=\"a.tif\" band=\"PANF27A\" footprint=\"f/a.xml\" timing=\"a.ctg\" it=\"a.it\" "
                          "tdi=\"a.tdi\" swath=\"90\" offset=\"4\"");
  EXPECT_EQ(written(*read), "<Image filename=\"a.tif\" timing=\"a.ctg\" footprint=\"f/a.xml\" band=\"PANF27A\" "
                            "it=\"a.it\" tdi=\"a.tdi\" swath=\"90\" offset=\"4\"/>\n");
}

TEST_F(KESImageOf, IntegrationTimeIsWrittenInMillisecondsWhenItIsPositive) {
  EXPECT_THAT(written(*image("it=\"2.5\"")), testing::HasSubstr(" it=\"2.500\" swath"));
  // 16.3851 s as a float times 1000 is 16385.0992...; the product of floats would be 16385.1.
  double const milliseconds = static_cast<double>(static_cast<float>(16385.1F * 0.001)) * 1000.0;
  ASSERT_EQ(test::printed("%.3f", milliseconds), "16385.099");
  EXPECT_THAT(written(*image("it=\"16385.1\"")), testing::HasSubstr(" it=\"16385.099\" swath"));
  EXPECT_THAT(written(*image("it=\"0\"")), testing::Not(testing::HasSubstr(" it=")));
  EXPECT_THAT(written(*image("it=\"-3\"")), testing::Not(testing::HasSubstr(" it=")));
  EXPECT_THAT(written(*image("")), testing::Not(testing::HasSubstr(" tdi=")));
}

TEST_F(KESImageOf, FolderThatDoesntExistLeavesPathsWholeButThatOfTheTdi) {
  std::string const file = mFolder.file("sub/a.tdi", (test::Bytes() << std::uint32_t{0} << std::uint8_t{2}).str());
  auto const read = image("timing=\"/gone/a.ctg\" footprint=\"/gone/a.xml\" tdi=\"" + file + "\"");
  EXPECT_EQ(written(*read, "/gone"), "<Image filename=\"\" timing=\"/gone/a.ctg\" footprint=\"/gone/a.xml\" band=\"\" "
                                     "tdi=\"" +
                                         file + "\" swath=\"12000\" offset=\"0\"/>\n");
  std::filesystem::rename(mFolder / "sub", mFolder / "moved");
  EXPECT_THAT(written(*read, mFolder / "sub"), testing::HasSubstr(" tdi=\"a.tdi\""));
}

// The folder may stand anywhere in the path; what is cut off is its length.
TEST_F(KESImageOf, PathThatHoldsTheFolderIsCutByItsLength) {
  auto const read = image("timing=\"/x" + mFolder.path() + "/a.ctg\"");
  std::string const whole = "/x" + mFolder.path() + "/a.ctg";
  EXPECT_THAT(written(*read), testing::HasSubstr(" timing=\"" + whole.substr(mFolder.path().size() + 1) + "\""));
  auto const same = image("timing=\"" + mFolder.path() + "\"");
  EXPECT_THAT(written(*same), testing::HasSubstr(" timing=\"\""));
}

// Even an empty folder is held by every path, so that the first letter goes.
TEST_F(KESImageOf, TdiIsCutBehindAnEmptyFolderToo) {
  std::string const file = mFolder.file("a.tdi", (test::Bytes() << std::uint32_t{0} << std::uint8_t{2}).str());
  auto const read = image("timing=\"a.ctg\" tdi=\"a.tdi\"");
  EXPECT_THAT(written(*read, ""), testing::HasSubstr(" tdi=\"" + file.substr(1) + "\""));
  EXPECT_THAT(written(*read, ""), testing::HasSubstr(" timing=\"" + (mFolder / "a.ctg") + "\""));
}

TEST_F(KESImageOf, WhatWasWrittenReadsBack) {
  mFolder.file("a.it", (test::Bytes() << std::uint32_t{0} << std::uint32_t{2000}).str());
  auto const first =
      image("filename=\"a &amp; b.tif\" band=\"X\" footprint=\"f.xml\" timing=\"a.ctg\" it=\"a.it\" swath=\"90\"");
  QDomDocument document;
  ASSERT_TRUE(document.setContent(QString::fromStdString(written(*first))));
  KESImage const second(document.documentElement(), mFolder.path(), nullptr, false);
  EXPECT_EQ(second.imageFileName(), "a & b.tif");
  EXPECT_EQ(second.footprintFileName(), first->footprintFileName());
  EXPECT_EQ(second.ctgFileName(), first->ctgFileName());
  EXPECT_EQ(second.integrationTime()->fileName(), mFolder / "a.it");
  EXPECT_EQ(second.numSamples(), 90);
}

TEST_F(KESImageOf, CopyAndAssignmentShareTheLineTiming) {
  mFolder.file("a.ctg", (test::Bytes() << 10.0 << 10.5).str());
  auto const source = image("filename=\"a.tif\" band=\"X\" timing=\"a.ctg\" swath=\"90\" offset=\"4\"", true);
  source->setScale(1.5F);
  // Never destroyed: it shares the line timing of its source.
  static KESImage* copy = nullptr;
  copy = new KESImage(*source);
  EXPECT_EQ(copy->cameraTime(), source->cameraTime());
  EXPECT_EQ(copy->integrationTime(), source->integrationTime());
  EXPECT_EQ(copy->tdiData(), source->tdiData());
  EXPECT_EQ(copy->bandID(), "X");
  EXPECT_EQ(copy->scale(), 1.5F);
  EXPECT_EQ(copy->sampleOffsetFromCalib(), 4);
  EXPECT_TRUE(copy->isDataLoaded());
  auto const other = image("band=\"Y\"");
  *copy = *other;
  EXPECT_EQ(copy->cameraTime(), other->cameraTime());
  EXPECT_EQ(copy->bandID(), "Y");
  EXPECT_FALSE(copy->isDataLoaded());
}

TEST_F(KESImageOf, PlainValuesAreReadAndWritten) {
  auto const read = image("");
  read->setBandID("a");
  read->setImageFileName("b");
  read->setFootprintFileName("c");
  read->setIPTFileName("d");
  EXPECT_EQ(read->bandID(), "a");
  EXPECT_EQ(read->imageFileName(), "b");
  EXPECT_EQ(read->footprintFileName(), "c");
  EXPECT_EQ(read->iptFileName(), "d");
}

TEST_F(KESImageOf, NullWriterIsIgnored) {
  image("")->write(nullptr, mFolder.path());
}

TEST_F(KESImageOf, ImageOfAnotherTagIsWrittenWithoutItsTiming) {
  EXPECT_EQ(written(*image("it=\"2.5\"", false, "Picture")),
            "<Image filename=\"\" timing=\"\" footprint=\"\" band=\"\" swath=\"0\" offset=\"0\"/>\n");
}

TEST_F(KESImageOf, LineTimesThatCantBeReadArentLoaded) {
  auto const read = image("timing=\"none.ctg\"");
  EXPECT_MESSAGE(read->loadData(), "failed to open CTG file: " + (mFolder / "none.ctg"));
  EXPECT_FALSE(read->isDataLoaded());
}

}  // namespace
