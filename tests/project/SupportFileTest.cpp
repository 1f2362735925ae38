// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/SupportFile.h"

#include "project/SupportLines.h"

#include <gtest/gtest.h>

#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using sensor::BandWords;
using sensor::SupportFile;

SupportFile example() {
  return {.imageId = "Valley 4PANF27A",
          .imageFileName = "/data/valley 4/PANF27A.tif",
          .numLines = 40123,
          .numSamples = 11987,
          .centre = {-1234.5, 0.015625, 250.0},
          .anchor = {-1.4, 0.6, 512.34375},
          .localOrigin = {1.5e6, -2.5e-3, 6.25e6},
          .meanFlyingHeight = 2345.5F,
          .meanTerrainHeight = 18.43F,
          .gsd = 0.2795523405075073F,
          .date = "Sun Mar 14 15:09:26 2010",
          .band = BandWords("PANF27A"),
          .originalOrientation = "odf/a.odf",
          .adjustedOrientation = "odf/b.odf",
          .calibration = "/cal/PANF27A"};
}

std::string written(SupportFile const& file) {
  std::ostringstream out;
  sensor::writeSupportFile(out, file);
  return out.str();
}

std::string lineOf(SupportFile const& file, std::string const& keyword) {
  for (std::string const& line : test::linesOf(written(file))) {
    if (line.starts_with(keyword)) {
      return line;
    }
  }
  return "no " + keyword;
}

// 18.43F is 18.4300003..., which takes six decimals without showing. The axes are those of longitude -1.4 and latitude
// 0.6:
// sin(-1.4) = -0.98544972998846, cos(-1.4) = 0.169967142900241, sin(0.6) = 0.564642473395035,
// cos(0.6) = 0.825335614909678.
constexpr char exampleText[] = "support_file d\n"
                               "IMAGE_ID \"Valley 4PANF27A\"\n"
                               "IMAGE_FILE_NAME 1 \"/data/valley 4/PANF27A.tif\"\n"
                               "LINES 40123\n"
                               "SAMPLES 11987\n"
                               "RECTIFICATION_TERMS\n"
                               "\t0.00000000000000e+00 0.00000000000000e+00 1.00000000000000e+00\n"
                               "\t0.00000000000000e+00 1.00000000000000e+00 0.00000000000000e+00\n"
                               "GRND_BIAS 0.00000000000000e+00 0.00000000000000e+00 0.00000000000000e+00\n"
                               "BIAS 0.000000 GAIN 1.000000\n"
                               "GROUND_ZERO -1.23450000000000e+03 1.56250000000000e-02 2.50000000000000e+02\n"
                               "LOAD_PT -1.23450000000000e+03 1.56250000000000e-02 2.50000000000000e+02\n"
                               "COORD_SYSTEM 0\n"
                               "UNITS 1\n"
                               "USE_FAST_MATH 0\n"
                               "MAX_AND_MIN_ELEVATION 512.344 2345.500\n"
                               "IMAGE_MOTION 0\n"
                               "INITIALIZED 2\n"
                               "STATUS 0\n"
                               "PHOTO_DATE \"Sun Mar 14 15:09:26 2010\"\n"
                               "QUALITY 53\n"
                               "SENSOR_TYPE KES\n"
                               "IMAGE_LEVEL 0\n"
                               "MEAN_TERRAIN_HEIGHT 18.430000\n"
                               "ANCHOR_LATITUDE 0.600000000000\n"
                               "ANCHOR_LONGITUDE -1.400000000000\n"
                               "LINE_STAGGERED FALSE\n"
                               "VIEW_OF_LINE FORWARD\n"
                               "RADIOMETRIC_PROPERTY PANCHROMATIC\n"
                               "IMAGE_DATE \"Sun Mar 14 15:09:26 2010\"\n"
                               "NUMBER_SCAN_LINES 40123\n"
                               "SENSOR_ROTATION FALSE\n"
                               "CORRECTION NO_CORRECTION\n"
                               "LEVEL_0_GSD 0.27955234\n"
                               "ORIGINAL_ORIENTATION odf/a.odf\n"
                               "ADJUSTED_ORIENTATION odf/b.odf\n"
                               "ORIGINAL_CALIBRATION /cal/PANF27A\n"
                               "LOCAL_ORIGIN 1.50000000000000e+06 -2.50000000000000e-03 6.25000000000000e+06\n"
                               "BASIS 9.85449729988460e-01 1.69967142900241e-01 0.00000000000000e+00 "
                               "-9.59706679630795e-02 5.56426772947154e-01 8.25335614909678e-01 "
                               "1.40279936400012e-01 -8.13326758862602e-01 5.64642473395035e-01\n";

TEST(SupportFile, HasThirtyNineLinesInOneNotation) {
  EXPECT_EQ(written(example()), exampleText);
  EXPECT_EQ(test::linesOf(exampleText).size(), 39U);
}

TEST(SupportFile, NamesOfOrientationsStandWithoutQuotes) {
  SupportFile file = example();
  file.originalOrientation = "/my odf/a.odf";
  EXPECT_EQ(lineOf(file, "ORIGINAL_ORIENTATION"), "ORIGINAL_ORIENTATION /my odf/a.odf");
}

TEST(SupportFile, EmptyOriginalOrientationLeavesItsKeywordAndItsBlank) {
  SupportFile file = example();
  file.originalOrientation.clear();
  EXPECT_EQ(lineOf(file, "ORIGINAL_ORIENTATION"), "ORIGINAL_ORIENTATION ");
}

TEST(SupportFile, EmptyAdjustedOrientationHasNoLine) {
  SupportFile file = example();
  file.adjustedOrientation.clear();
  std::string expected = exampleText;
  std::string const line = "ADJUSTED_ORIENTATION odf/b.odf\n";
  EXPECT_EQ(written(file), expected.erase(expected.find(line), line.size()));
}

// What followed a line end would be read as an entry.
TEST(SupportFile, LineEndsInTextsBecomeBlanks) {
  SupportFile file = example();
  for (std::string* text :
       {&file.imageId, &file.imageFileName, &file.originalOrientation, &file.adjustedOrientation, &file.calibration}) {
    *text = "a\nb\rc\vd\fe\tf g";
  }
  EXPECT_EQ(test::linesOf(written(file)).size(), 39U);
  EXPECT_EQ(lineOf(file, "IMAGE_ID"), "IMAGE_ID \"a b c d e\tf g\"");
  EXPECT_EQ(lineOf(file, "IMAGE_FILE_NAME"), "IMAGE_FILE_NAME 1 \"a b c d e\tf g\"");
  EXPECT_EQ(lineOf(file, "ORIGINAL_ORIENTATION"), "ORIGINAL_ORIENTATION a b c d e\tf g");
  EXPECT_EQ(lineOf(file, "ADJUSTED_ORIENTATION"), "ADJUSTED_ORIENTATION a b c d e\tf g");
  EXPECT_EQ(lineOf(file, "ORIGINAL_CALIBRATION"), "ORIGINAL_CALIBRATION a b c d e\tf g");
}

// A host may have set a locale with a comma for the point and groups of thousands.
TEST(SupportFile, NumbersDontDependOnTheLocale) {
  struct Local : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  std::locale const before = std::locale::global(std::locale(std::locale::classic(), new Local));
  std::string const text = written(example());
  std::locale::global(before);
  EXPECT_EQ(text, exampleText);
}

TEST(SupportFile, ANewFileDoesntTakeOverTheNotationOfAnOther) {
  std::ostringstream out;
  sensor::writeSupportFile(out, example());
  sensor::writeSupportFile(out, example());
  EXPECT_EQ(out.str(), std::string(exampleText) + exampleText);
}

TEST(SupportFileBandWords, ComeFromTheFirstThreeTheFourthAndTheSeventhCharacter) {
  struct Case {
    char const* id;
    char const* spectralKind;
    char const* view;
    char const* staggered;
  };
  for (Case const& c :
       {Case{"PANN00A", "PANCHROMATIC", "NADIR", "FALSE"},  //
        Case{"REDB16B", "RED", "BACKWARD", "TRUE"},         //
        Case{"BLUF16A", "BLUE", "FORWARD", "FALSE"},        //
        Case{"GRNX16C", "GREEN", "NADIR", "FALSE"},         //
        Case{"NIRB00BB", "NEAR_INFRARED", "BACKWARD", "TRUE"}, Case{"redf16b", "PANCHROMATIC", "NADIR", "FALSE"}}) {
    BandWords const words(c.id);
    EXPECT_STREQ(words.spectralKind, c.spectralKind) << c.id;
    EXPECT_STREQ(words.view, c.view) << c.id;
    EXPECT_STREQ(words.staggered, c.staggered) << c.id;
  }
}

TEST(SupportFileBandWords, NeedAllSevenCharacters) {
  EXPECT_THROW(BandWords("PANN00"), std::out_of_range);
  EXPECT_THROW(BandWords("PAN"), std::out_of_range);
  EXPECT_THROW(BandWords(""), std::out_of_range);
}

}  // namespace
