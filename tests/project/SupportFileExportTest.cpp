// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/StripFolder.h"
#include "project/SupportLines.h"

#include <sensor/CalibrationGeometryKes.h>

#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>

#include <chrono>
#include <cmath>
#include <cstddef>
#include <thread>

namespace {

using sensor::KESImage;
using sensor::KESStripModelData;

// Indices of lines that hold positions, dates and files.
enum Line : std::size_t {
  imageFile = 2,
  lineCount = 3,
  groundZero = 10,
  loadPoint = 11,
  elevations = 15,
  photoDate = 19,
  terrain = 23,
  anchorLongitude = 25,
  imageDate = 29,
  scanLines = 30,
  gsdLine = 33,
  original = 34,
  adjusted = 35,
};

std::string const scientificNumber = "-?[0-9]\\.[0-9]{14}e[-+][0-9]{2}";

// Two bands, of which the second looks ahead and is narrower than its calibration.
class SupportFileExport : public test::StripFolder {
protected:
  SupportFileExport() {
    mStrip.bands = {{"PANN00A"}, {"REDF27B", 25.0, false, "swath=\"81\" offset=\"10\""}};
    mStrip.terrainHeight = "100";
    mFile = mStrip.write(mFolder);
  }

  std::vector<std::string> exported(KESImage& image, std::string const& original = "",
                                    std::string const& adjusted = "") const {
    EXPECT_TRUE(image.exportSupportFile(mFolder / "out.sup", original, adjusted));
    return test::linesOf(test::contents(mFolder / "out.sup"));
  }
  std::string out() const { return mFolder / "out.sup"; }
};

// The positions of the file are tested on their own.
TEST_F(SupportFileExport, TellsOfTheImageAndItsStrip) {
  auto strip = read(true);
  std::vector<std::string> const lines = exported(*strip.img(1), "odf/a.odf", "odf/b.odf");
  ASSERT_EQ(lines.size(), 39U);
  std::string const calibration = mFolder / ("calibration/KESA0_" + mStrip.sensorId + "/v001/REDF27B.cam");
  // 0.1 mm behind 50 mm, 900 m above the ground; all in single precision.
  float const gsd = (0.1F * 0.001F) * (1000.0F - 100.0F) / (50.0F * 0.001F);
  std::vector<std::string> const expected{
      "support_file d",
      "IMAGE_ID \"SmallREDF27B\"",
      "IMAGE_FILE_NAME 1 \"" + (mFolder / "images/REDF27B.tif") + "\"",
      "LINES 101",
      "SAMPLES 81",
      "RECTIFICATION_TERMS",
      "\t0.00000000000000e+00 0.00000000000000e+00 1.00000000000000e+00",
      "\t0.00000000000000e+00 1.00000000000000e+00 0.00000000000000e+00",
      "GRND_BIAS 0.00000000000000e+00 0.00000000000000e+00 0.00000000000000e+00",
      "BIAS 0.000000 GAIN 1.000000",
      lines[groundZero],
      lines[loadPoint],
      "COORD_SYSTEM 0",
      "UNITS 1",
      "USE_FAST_MATH 0",
      "MAX_AND_MIN_ELEVATION 500.000 1000.000",
      "IMAGE_MOTION 0",
      "INITIALIZED 2",
      "STATUS 0",
      lines[photoDate],
      "QUALITY 53",
      "SENSOR_TYPE KES",
      "IMAGE_LEVEL 0",
      "MEAN_TERRAIN_HEIGHT 100.000000",
      "ANCHOR_LATITUDE 0.600000000000",
      "ANCHOR_LONGITUDE -1.400000000000",
      "LINE_STAGGERED TRUE",
      "VIEW_OF_LINE FORWARD",
      "RADIOMETRIC_PROPERTY RED",
      lines[imageDate],
      "NUMBER_SCAN_LINES 101",
      "SENSOR_ROTATION FALSE",
      "CORRECTION NO_CORRECTION",
      "LEVEL_0_GSD " + test::printed("%.8f", static_cast<double>(gsd)),
      "ORIGINAL_ORIENTATION odf/a.odf",
      "ADJUSTED_ORIENTATION odf/b.odf",
      "ORIGINAL_CALIBRATION " + calibration,
      lines[37],
      lines[38],
  };
  EXPECT_EQ(lines, expected);
}

// The flight is at east 100 m/s * 0.01 s * line; the middle of 81 samples from pixel 10 on is pixel 50.5, half a pixel
// of 0.1 mm behind 50 mm to the left, that is 0.9 m to the north 900 m below. Ahead, 25 mm give 450 m.
TEST_F(SupportFileExport, GroundZeroIsTheMiddleOfTheImageOnTheMeanTerrain) {
  auto strip = read(true);
  std::vector<std::string> const lines = exported(*strip.img(1));
  std::vector<double> const place = test::numbersOf(lines[groundZero]);
  ASSERT_EQ(place.size(), 3U);
  EXPECT_NEAR(place[0], 0.5 * 101 * 1.0 + 450.0, 1e-3);
  EXPECT_NEAR(place[1], 0.9, 1e-3);
  EXPECT_EQ(place[2], 100.0);
  EXPECT_EQ("LOAD_PT" + lines[groundZero].substr(std::string("GROUND_ZERO").size()), lines[loadPoint]);
  EXPECT_TRUE(QRegularExpression(QString::fromStdString("^GROUND_ZERO " + scientificNumber + " " + scientificNumber +
                                                        " " + scientificNumber + "$"))
                  .match(QString::fromStdString(lines[groundZero]))
                  .hasMatch())
      << lines[groundZero];
}

// Geodetic to geocentric coordinates: x = (N + h) cos lat cos lon, ..., z = ((1 - e2) N + h) sin lat, with the radius
// of curvature N = a / sqrt(1 - e2 sin2 lat) of WGS 84.
TEST_F(SupportFileExport, LocalOriginAndBasisAreThoseOfTheAnchor) {
  auto strip = read(true);
  std::vector<std::string> const lines = exported(*strip.img(0), "", "");
  ASSERT_EQ(lines.size(), 38U);
  double const lat = 0.6;
  double const lon = -1.4;
  double const h = 500.0;
  double const f = 1 / 298.257223563;
  double const e2 = f * (2 - f);
  double const n = 6378137.0 / std::sqrt(1 - e2 * std::sin(lat) * std::sin(lat));
  std::vector<double> const origin = test::numbersOf(lines[36]);
  ASSERT_EQ(origin.size(), 3U);
  EXPECT_NEAR(origin[0], (n + h) * std::cos(lat) * std::cos(lon), 1e-7);
  EXPECT_NEAR(origin[1], (n + h) * std::cos(lat) * std::sin(lon), 1e-7);
  EXPECT_NEAR(origin[2], ((1 - e2) * n + h) * std::sin(lat), 1e-7);
  EXPECT_EQ(lines[36], "LOCAL_ORIGIN " + test::printed(origin[0], origin[1], origin[2]));
  EXPECT_EQ(lines[37], "BASIS 9.85449729988460e-01 1.69967142900241e-01 0.00000000000000e+00 "
                       "-9.59706679630795e-02 5.56426772947154e-01 8.25335614909678e-01 "
                       "1.40279936400012e-01 -8.13326758862602e-01 5.64642473395035e-01");
}

TEST_F(SupportFileExport, StripExportsABandWithoutNamesOfOrientations) {
  auto strip = read(true);
  EXPECT_TRUE(strip.exportSupportFile(1, out()));
  std::vector<std::string> const lines = test::linesOf(test::contents(out()));
  ASSERT_EQ(lines.size(), 38U);
  EXPECT_EQ(lines[1], "IMAGE_ID \"SmallREDF27B\"");
  EXPECT_EQ(lines[original], "ORIGINAL_ORIENTATION ");
  EXPECT_EQ(lines[original + 1].substr(0, 21), "ORIGINAL_CALIBRATION ");
}

TEST_F(SupportFileExport, NamesOfOrientationsStandAsTheyWereGiven) {
  auto strip = read(true);
  std::vector<std::string> const lines = exported(*strip.img(0), "/my odf/a.odf", "b c.odf");
  EXPECT_EQ(lines[original], "ORIGINAL_ORIENTATION /my odf/a.odf");
  EXPECT_EQ(lines[adjusted], "ADJUSTED_ORIENTATION b c.odf");
}

TEST_F(SupportFileExport, AbsoluteNameOfAnImageStands) {
  auto strip = read(true);
  strip.img(0)->setImageFileName("/elsewhere/a b.tif");
  EXPECT_EQ(exported(*strip.img(0))[imageFile], "IMAGE_FILE_NAME 1 \"/elsewhere/a b.tif\"");
}

// The adjusted flight is 7 m further east, at another anchor point.
TEST_F(SupportFileExport, ShowsTheOriginalOrientationWhateverTheStripIsOn) {
  mStrip.eop = "<EOP filename=\"flight.eop\" filename_adjusted=\"adjusted.eop\"/>";
  mFile = mStrip.write(mFolder);
  mStrip.anchorLongitude = "-1.3";
  mStrip.writeEop(mFolder, "adjusted.eop", 7.0);
  auto strip = read(true);
  ASSERT_TRUE(strip.isUseAdjustedEOP());
  std::vector<std::string> const lines = exported(*strip.img(0));
  EXPECT_NEAR(test::numbersOf(lines[groundZero])[0], 50.5, 1e-3);
  EXPECT_EQ(lines[anchorLongitude], "ANCHOR_LONGITUDE -1.400000000000");
  EXPECT_TRUE(strip.isUseAdjustedEOP());
  EXPECT_TRUE(strip.isDataLoaded());
}

TEST_F(SupportFileExport, SizeIsThatOfTheImageInMemory) {
  auto strip = read(true);
  mStrip.bands[1].attributes = "swath=\"61\" offset=\"10\"";
  mStrip.lines = 51;
  mStrip.write(mFolder);
  std::vector<std::string> const lines = exported(*strip.img(1));
  EXPECT_EQ(lines[lineCount], "LINES 101");
  EXPECT_EQ(lines[lineCount + 1], "SAMPLES 81");
  EXPECT_EQ(lines[scanLines], "NUMBER_SCAN_LINES 101");
}

// What a host set on its strip isn't in the strip file.
TEST_F(SupportFileExport, HeightsAreThoseOfTheStripFileAndTheDistanceIsTheImagesOwn) {
  auto strip = read(true);
  strip.setMeanTerrainHeight(900.0F);
  std::vector<std::string> const lines = exported(*strip.img(0));
  EXPECT_EQ(lines[terrain], "MEAN_TERRAIN_HEIGHT 100.000000");
  EXPECT_EQ(test::numbersOf(lines[groundZero])[2], 100.0);
  EXPECT_NEAR(test::numbersOf(lines[gsdLine])[0], 0.002 * (1000 - 900), 1e-7);
}

TEST_F(SupportFileExport, NameIsThatOfTheStripFileAndTheBandTheImagesOwn) {
  auto strip = read(true);
  strip.setName("Renamed");
  EXPECT_EQ(exported(*strip.img(0))[1], "IMAGE_ID \"SmallPANN00A\"");
}

TEST_F(SupportFileExport, LineFeedInTheNameOfTheStripAddsNoEntry) {
  std::string text = mStrip.text();
  text.replace(text.find("Small"), 5, "a\"&#10;ANCHOR_LATITUDE 9&#13;b");
  text.replace(text.find("name=\"a\""), 8, "name=\"a&quot;");
  auto const strip = readText(text, true);
  std::vector<std::string> const lines = exported(*strip->img(0));
  ASSERT_EQ(lines.size(), 38U);
  EXPECT_EQ(lines[1], "IMAGE_ID \"a\" ANCHOR_LATITUDE 9 bPANN00A\"");
}

TEST_F(SupportFileExport, StripOpenedByARelativePathHasAbsoluteFiles) {
  KESStripModelData strip(std::filesystem::relative(mFile).string(), nullptr, true, true, false);
  EXPECT_EQ(exported(*strip.img(0))[imageFile], "IMAGE_FILE_NAME 1 \"" + (mFolder / "images/PANN00A.tif") + "\"");
}

// Half of no lines is line 0, where the flight begins.
TEST_F(SupportFileExport, ImageThatIsntLoadedHasNoLinesAndNoDistance) {
  auto strip = read(false);
  std::vector<std::string> const lines = exported(*strip.img(0));
  EXPECT_EQ(lines[lineCount], "LINES 0");
  EXPECT_EQ(lines[scanLines], "NUMBER_SCAN_LINES 0");
  EXPECT_EQ(lines[gsdLine], "LEVEL_0_GSD -1.00000000");
  EXPECT_NEAR(test::numbersOf(lines[groundZero])[0], 0.0, 1e-3);
  EXPECT_EQ(lines[elevations], "MAX_AND_MIN_ELEVATION 500.000 1000.000");
  EXPECT_FALSE(strip.isDataLoaded());
}

TEST_F(SupportFileExport, CalibrationIsCutAtTheFirstBin) {
  auto strip = read(true);
  strip.calib(0)->setFileName("/cal/a.bin/b.bin.cam");
  EXPECT_EQ(exported(*strip.img(0))[original + 1], "ORIGINAL_CALIBRATION /cal/a");
  strip.calib(0)->setFileName("/cal/a.cam");
  EXPECT_EQ(exported(*strip.img(0))[original + 1], "ORIGINAL_CALIBRATION /cal/a.cam");
}

// Seconds are all that a date shows.
TEST_F(SupportFileExport, DatesAreThoseOfTheExport) {
  auto const text = [](char const* keyword, QDateTime const& time) {
    return keyword + QLocale::c().toString(time, QStringLiteral("ddd MMM dd hh:mm:ss yyyy")).toStdString() + "\"";
  };
  auto strip = read(true);
  QDateTime const before = QDateTime::currentDateTime();
  std::vector<std::string> const lines = exported(*strip.img(0));
  QDateTime const after = QDateTime::currentDateTime();
  EXPECT_THAT(lines[photoDate], testing::AnyOf(text("PHOTO_DATE \"", before), text("PHOTO_DATE \"", after)));
  EXPECT_THAT(lines[imageDate], testing::AnyOf(text("IMAGE_DATE \"", before), text("IMAGE_DATE \"", after)));
  EXPECT_EQ(lines[photoDate].substr(6), lines[imageDate].substr(6));
}

TEST_F(SupportFileExport, ExportsASecondApartDifferInBothDatesAlone) {
  auto strip = read(true);
  std::vector<std::string> const first = exported(*strip.img(0));
  std::this_thread::sleep_for(std::chrono::milliseconds(1050));
  std::vector<std::string> const second = exported(*strip.img(0));
  ASSERT_EQ(first.size(), second.size());
  for (std::size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(first[i] == second[i], i != photoDate && i != imageDate) << first[i] << '\n' << second[i];
  }
}

TEST_F(SupportFileExport, OldFileIsReplaced) {
  mFolder.file("out.sup", std::string(100000, 'x'));
  auto strip = read(true);
  EXPECT_EQ(exported(*strip.img(0)).size(), 38U);
}

}  // namespace
