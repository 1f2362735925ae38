// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/CamFolder.h"
#include "support/Matchers.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/SerializerCameraKesV1Cam.h>

#include <QDateTime>

#include <ctime>
#include <sys/stat.h>

namespace {

using sensor::CalibrationGeometryKes;
using sensor::CalibrationRadiometryKesV1;
using sensor::SerializerCameraKesV1Cam;
using test::camText;
using test::SameBits;

class CamReader : public testing::Test {
protected:
  void read(std::string const& text) { readFile(mFolder.file("a.cam", text)); }
  void readFile(std::string const& name) {
    SerializerCameraKesV1Cam(mFolder.path()).readCam(name, &mGeometry, &mRadiometry);
  }
  std::string name() const { return mFolder / "a.cam"; }
  // The file with one text in place of another.
  static std::string with(std::string const& from, std::string const& to) {
    std::string text = camText("PANN00A");
    text.replace(text.find(from), from.size(), to);
    return text;
  }
  std::string parseError(std::string const& line) const { return "Parse error in file " + name() + ": " + line; }

  test::TempFolder mFolder;
  CalibrationGeometryKes mGeometry;
  CalibrationRadiometryKesV1 mRadiometry;
};

TEST_F(CamReader, KeywordsSetBothObjects) {
  read(camText("PANN00A", "RADIOMETRIC_GAIN\t1.25\nIRRADIANCE_GAIN\t2.5\nLEFTSIDE_GAIN\t0\nMNT_Z_OFFSET\t9.9\n"
                          "CENTER_WAVELENGTH_NM\t560.5\nSPECTRAL_WIDTH_NM\t70.25\n"));
  for (sensor::CalibrationInfo const* info : {static_cast<sensor::CalibrationInfo const*>(&mGeometry),
                                              static_cast<sensor::CalibrationInfo const*>(&mRadiometry)}) {
    EXPECT_EQ(info->calibSource(), "Test bench");
    EXPECT_EQ(info->sensorId(), "007");
    EXPECT_EQ(info->bandId(), "PANN00A");
    EXPECT_EQ(info->fileName(), name());
    EXPECT_EQ(info->calibDateTime(), QDateTime(QDate(2010, 3, 12), QTime(14, 15, 30), Qt::UTC));
  }
  EXPECT_THAT(mGeometry.focalLength(), SameBits(62.5F * 0.001F));
  EXPECT_THAT(mGeometry.pixelSize(), SameBits(0.0065F * 0.001F));
  EXPECT_EQ(mGeometry.numSamples(), 3U);
  EXPECT_EQ(mGeometry.numImagingSamples(), 3U);
  EXPECT_THAT(mGeometry.coordX(1), SameBits(1.25F * 0.001F));
  EXPECT_THAT(mGeometry.coordY(2), SameBits(0.0065F * 0.001F));
  EXPECT_EQ(mRadiometry.radiometricGain(), 1.25F);
  EXPECT_EQ(mRadiometry.irradianceGain(), 2.5F);
  EXPECT_FALSE(mRadiometry.leftSideGain());
  EXPECT_THAT(mRadiometry.centerWavelength(), SameBits(static_cast<float>(560.5 * 1e-9)));
  EXPECT_THAT(mRadiometry.bandWidth(), SameBits(static_cast<float>(70.25 * 1e-9)));
}

TEST_F(CamReader, OlderFirstKeywordIsAccepted) {
  read(with("KES_CALIBRATION_FILE", "KEC_CALIBRATION_FILE and whatever follows"));
  EXPECT_EQ(mGeometry.numSamples(), 3U);
}

TEST_F(CamReader, OtherFirstLinesAreRefused) {
  std::string const message =
      "Not a valid calibration, missing \"KES_CALIBRATION_FILE\" or \"KEC_CALIBRATION_FILE\" keyword in " + name();
  EXPECT_MESSAGE(read(""), message);
  EXPECT_MESSAGE(read(with("KES_CALIBRATION_FILE", "kes_calibration_file")), message);
  EXPECT_MESSAGE(read(" " + camText("PANN00A")), message);
  EXPECT_MESSAGE(read(std::string(300, '\xFF')), message);
}

TEST_F(CamReader, WithoutACountThereAreTwelveThousandPairs) {
  std::string text = with("NUM_PIXELS\t3\n", "");
  EXPECT_MESSAGE(read(text), "Parse error in file " + name());
  for (int i = 3; i < 12000; ++i) {
    text.insert(text.find("END_XY"), "7 8\n");
  }
  read(text);
  EXPECT_EQ(mGeometry.numSamples(), 12000U);
  EXPECT_THAT(mGeometry.coordY(11999), SameBits(8.0F * 0.001F));
}

TEST_F(CamReader, WithoutAPixelSizeItIsTheUsualOne) {
  read(with("PIXEL_SIZE\t0.00650\n", ""));
  EXPECT_THAT(mGeometry.pixelSize(), SameBits(6.5e-6F));
}

TEST_F(CamReader, NoPixelsAreAnEmptyTable) {
  read(with("NUM_PIXELS\t3", "NUM_PIXELS\t0"));
  EXPECT_EQ(mGeometry.numSamples(), 0U);
}

TEST_F(CamReader, CountsThatTheFileCantHoldFailLikeMissingCoordinates) {
  for (char const* count : {"4", "2147483647", "-1", "-2147483648", "1000000000"}) {
    EXPECT_MESSAGE(read(with("NUM_PIXELS\t3", std::string("NUM_PIXELS\t") + count)), "Parse error in file " + name());
  }
}

TEST_F(CamReader, LastPairNeedsNoLineEnd) {
  std::string const header = "KES_CALIBRATION_FILE\nNUM_PIXELS 2\nSTART_XY\n";
  read(header + "1 2\n3 4");
  EXPECT_THAT(mGeometry.coordY(1), SameBits(4.0F * 0.001F));
  EXPECT_MESSAGE(read(header + "1 2\n3"), "Parse error in file " + name());
  EXPECT_MESSAGE(read(header + "1 2\n3 "), "Parse error in file " + name());
}

TEST_F(CamReader, WithoutAStartThereAreNoCoordinates) {
  EXPECT_MESSAGE(read(with("START_XY", "STOP_XY")), "Parse error in file " + name());
}

TEST_F(CamReader, CoordinateThatIsNoNumberIsAParseError) {
  EXPECT_MESSAGE(read(with("1.25000", "one")), "Parse error in file " + name());
}

TEST_F(CamReader, NumbersOnKeywordLinesAreQuotedWhenTheyAreNone) {
  EXPECT_MESSAGE(read(with("FOCAL_LENGTH_MM\t62.50000", "FOCAL_LENGTH_MM\tx")), parseError("FOCAL_LENGTH_MM\tx"));
  EXPECT_MESSAGE(read(with("FOCAL_LENGTH_MM\t62.50000", "FOCAL_LENGTH_MM")), parseError("FOCAL_LENGTH_MM"));
  EXPECT_MESSAGE(read(with("NUM_PIXELS\t3", "NUM_PIXELS\t3.0")), parseError("NUM_PIXELS\t3.0"));
  EXPECT_MESSAGE(read(with("PIXEL_SIZE\t0.00650", "PIXEL_SIZE\t0,0065")), parseError("PIXEL_SIZE\t0,0065"));
}

TEST_F(CamReader, NumberOnEveryKeywordLineIsChecked) {
  for (std::string const keyword : {"FOCAL_LENGTH_MM", "NUM_PIXELS", "PIXEL_SIZE", "RADIOMETRIC_GAIN",
                                    "IRRADIANCE_GAIN", "LEFTSIDE_GAIN", "CENTER_WAVELENGTH_NM", "SPECTRAL_WIDTH_NM"}) {
    EXPECT_MESSAGE(read(camText("PANN00A", keyword + "\tx 1\n")), parseError(keyword + "\tx 1"));
  }
}

TEST_F(CamReader, LeftSideGainIsAnIntegerThatIsNotZero) {
  read(camText("PANN00A", "LEFTSIDE_GAIN\t0\n"));
  EXPECT_FALSE(mRadiometry.leftSideGain());
  read(camText("PANN00A", "LEFTSIDE_GAIN\t-2\n"));
  EXPECT_TRUE(mRadiometry.leftSideGain());
  EXPECT_MESSAGE(read(camText("PANN00A", "LEFTSIDE_GAIN\ttrue\n")), parseError("LEFTSIDE_GAIN\ttrue"));
}

TEST_F(CamReader, FileNameIsSetBeforeTheTextIsLookedAt) {
  EXPECT_ANY_THROW(read("nonsense"));
  EXPECT_EQ(mGeometry.fileName(), name());
  EXPECT_EQ(mRadiometry.fileName(), name());
}

TEST_F(CamReader, FieldsAreSeparatedByAnyWhiteSpace) {
  read(with("FOCAL_LENGTH_MM\t62.50000", "FOCAL_LENGTH_MM \t  62.5   ignored"));
  EXPECT_THAT(mGeometry.focalLength(), SameBits(62.5F * 0.001F));
}

TEST_F(CamReader, LineWithALeadingBlankFitsNoKeyword) {
  read(with("PIXEL_SIZE\t0.00650", " PIXEL_SIZE\t0.00850"));
  EXPECT_THAT(mGeometry.pixelSize(), SameBits(6.5e-6F));
}

TEST_F(CamReader, OnlyTheBeginningOfALineIsCompared) {
  read(with("CAMERA_NAME\t\"007\"", "CAMERA_NAME_X\t\"008\""));
  EXPECT_EQ(mGeometry.sensorId(), "008");
}

TEST_F(CamReader, CommentsAndUnknownKeywordsPass) {
  read(with("NUM_PIXELS", "// a comment\nWHATEVER 1 2 3\n\nNUM_PIXELS"));
  EXPECT_EQ(mGeometry.numSamples(), 3U);
}

TEST_F(CamReader, CarriageReturnsBeforeLineFeedsAreDropped) {
  std::string text = camText("PANN00A");
  for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2)) {
    text.insert(at, "\r");
  }
  read(text);
  EXPECT_EQ(mGeometry.bandId(), "PANN00A");
  EXPECT_EQ(mGeometry.numSamples(), 3U);
}

TEST_F(CamReader, TextsEndAtTheClosingQuoteOfTheLine) {
  read(with("\"Test bench\"", "\"a \"quoted\" word\""));
  EXPECT_EQ(mGeometry.calibSource(), "a \"quoted\" word");
  read(with("\"Test bench\"", "\"Test bench\" "));
  EXPECT_EQ(mGeometry.calibSource(), "Test bench\" ");
  read(with("\"Test bench\"", "no quotes"));
  EXPECT_EQ(mGeometry.calibSource(), "CALIBRATION_SOURCE\tno quotes");
  for (char const* none : {"\"\"", "\"", "no text\""}) {
    read(with("\"Test bench\"", none));
    EXPECT_EQ(mGeometry.calibSource(), "") << none;
  }
}

TEST_F(CamReader, DatesHaveOneOrTwoDigitsForTheDay) {
  read(with("Mar 12 14:15:30 2010", "Jan 5 10:20:30 2004"));
  EXPECT_EQ(mGeometry.calibDateTime(), QDateTime(QDate(2004, 1, 5), QTime(10, 20, 30), Qt::UTC));
  read(with("Mar 12 14:15:30 2010", "Fri Mar 12 14:15:31 2010"));
  EXPECT_EQ(mGeometry.calibDateTime(), QDateTime(QDate(2010, 3, 12), QTime(14, 15, 31), Qt::UTC));
  read(with("Mar 12 14:15:30 2010", "Mon Jan 5 10:20:30 2004"));
  EXPECT_EQ(mGeometry.calibDateTime(), QDateTime(QDate(2004, 1, 5), QTime(10, 20, 30), Qt::UTC));
}

TEST_F(CamReader, HourThatTheHostsSummerTimeLeavesOutIsATime) {
  std::string const before = qgetenv("TZ").toStdString();
  bool const wasSet = qEnvironmentVariableIsSet("TZ");
  qputenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
  tzset();
  read(with("Mar 12 14:15:30 2010", "Mar 28 02:30:00 2010"));
  wasSet ? qputenv("TZ", before.c_str()) : qunsetenv("TZ");
  tzset();
  EXPECT_EQ(mGeometry.calibDateTime(), QDateTime(QDate(2010, 3, 28), QTime(2, 30), Qt::UTC));
}

TEST_F(CamReader, DatesThatAreNoneAreQuoted) {
  for (std::string const date : {"2010-03-12 14:15:30", "Mar 32 14:15:30 2010", "Mar 12 25:15:30 2010", "", "x",
                                 "Mar 12 14:15:30X2010", "Mar 12X14:15:30 2010"}) {
    std::string const line = "CALIBRATION_DATE\t\"" + date + "\"";
    EXPECT_MESSAGE(read(with("CALIBRATION_DATE\t\"Mar 12 14:15:30 2010\"", line)),
                   "Cannot parse time: " + line + " in file: " + name());
  }
}

TEST_F(CamReader, WhatIsNoFileCantBeOpened) {
  std::string const fifo = mFolder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (std::string const& file : {mFolder / "none", mFolder.path(), fifo}) {
    EXPECT_MESSAGE(readFile(file), "Failed to open calibration file: " + file);
  }
}

TEST_F(CamReader, FileCutAnywhereFailsWithAMessageOrHasAllItsPairs) {
  std::string const text = camText("PANN00A");
  std::size_t const lastDigit = text.find("\nEND_XY");
  for (std::size_t size = 0; size < text.size(); ++size) {
    std::string const name = mFolder.file("a.cam", text.substr(0, size));
    try {
      readFile(name);
      // A number may be cut as long as a digit of it is left.
      EXPECT_GT(size, lastDigit - 8);
    } catch (std::runtime_error const& error) {
      EXPECT_THAT(error.what(), testing::HasSubstr(name));
    }
  }
}

TEST_F(CamReader, AnyByteMayChange) {
  std::string const text = camText("PANN00A");
  for (std::size_t at = 0; at < text.size(); ++at) {
    std::string changed = text;
    changed[at] = static_cast<char>(changed[at] ^ '\x80');
    try {
      read(changed);
    } catch (std::runtime_error const& error) {
      EXPECT_NE(std::string(error.what()), "");
    }
  }
}

}  // namespace
