// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CheckedStrip.h"
#include "support/Matchers.h"
#include "support/StripA.h"

#include <algorithm>
#include <filesystem>

// What `kes check --deep` finds in the files of a camera's calibration.

namespace {

using test::Lines;

class KesCheckCalibration : public test::CheckedStrip {
protected:
  std::string cam() const { return camera() + "PANN00A.cam"; }
  // Line 6 of the header replaced, which has the focal length.
  Lines withCam(std::string const& from, std::string const& to) const {
    change(cam(), from, to);
    return findings();
  }
  std::string atLine(int line) const { return cam() + ":" + std::to_string(line) + ": "; }
};

TEST_F(KesCheckCalibration, FocalLengthOfZeroIsAnError) {
  EXPECT_THAT(withCam("FOCAL_LENGTH_MM\t50.00000", "FOCAL_LENGTH_MM\t0.00000"),
              testing::Contains("error: " + atLine(6) + "FOCAL_LENGTH_MM is 0.00000"));
}

TEST_F(KesCheckCalibration, MissingFocalLengthIsAnError) {
  EXPECT_THAT(withCam("FOCAL_LENGTH_MM\t50.00000", "FOCAL_LENGHT_MM\t50.00000"),
              testing::IsSupersetOf(Lines{"warning: " + atLine(6) + "unknown keyword \"FOCAL_LENGHT_MM\" is left out",
                                          "error: " + cam() + ": no FOCAL_LENGTH_MM: the focal length is 0"}));
}

TEST_F(KesCheckCalibration, NumberThatIsntOneDropsTheBand) {
  EXPECT_THAT(withCam("FOCAL_LENGTH_MM\t50.00000", "FOCAL_LENGTH_MM\t50,00000"),
              testing::Contains("error: " + cam() +
                                ":6: FOCAL_LENGTH_MM \"50,00000\" has a decimal comma: the camera "
                                "lacks this band"));
}

// 0 is a number of the calibration, of which the strip needs all.
TEST_F(KesCheckCalibration, BandsThatAreDroppedAreNamedWhereNoStripNeedsThem) {
  mFolder.file(camera() + "REDF16A.cam", "KES_CALIBRATION_FILE\t1\nSENSOR_LINE\t\"REDF16A\"\nFOCAL_LENGTH_MM\t50\n"
                                         "NUM_PIXELS\t2\nPIXEL_SIZE\t0.1\nSTART_XY\n1 2\n3 x\nEND_XY\n");
  EXPECT_EQ(findings(),
            Lines{"error: " + camera() + "REDF16A.cam:8: \"x\" isn't a number: the camera lacks this band"});
}

TEST_F(KesCheckCalibration, KeywordsAndBandsThatStandTwiceAreErrors) {
  change(cam(), "PIXEL_SIZE\t0.10000\n", "PIXEL_SIZE\t0.10000\nPIXEL_SIZE\t0.20000\n");
  mFolder.file(camera() + "second.cam", test::contents(mFolder / cam()));
  EXPECT_EQ(findings(), (Lines{"error: " + atLine(9) + "PIXEL_SIZE stands here again: the last one counts",
                               "error: " + camera() + "second.cam:9: PIXEL_SIZE stands here again: the last one counts",
                               "error: " + camera() + "second.cam: band \"PANN00A\" is in " + cam() +
                                   ", too: one replaces the other"}));
}

TEST_F(KesCheckCalibration, LooksBeyondSixtyDegreesAreErrors) {
  // atan(100 / 50) is 63.4 degrees; the first pixel is in line 10.
  mStrip.bands[0].x = 100.0;
  mStrip.write(mFolder);
  EXPECT_EQ(findings(), Lines{"error: " + atLine(10) +
                              "101 pixels look more than 60 degrees ahead or back, the first one 63.4 degrees"});
}

TEST_F(KesCheckCalibration, NumbersOfCoordinatesAreCompared) {
  change(cam(), "END_XY\n", "0 5.1\n0 5.2 5.3\n");
  EXPECT_EQ(findings(), (Lines{"error: " + atLine(112) + "3 numbers where x and y are expected",
                               "error: " + cam() +
                                   ": NUM_PIXELS is 101, and there are 103 pairs of coordinates: the "
                                   "last ones are left out",
                               "warning: " + cam() + ": no END_XY: the file may be cut"}));
  mFolder.file(camera() + "REDF16A.cam", "KES_CALIBRATION_FILE\t1\nSENSOR_LINE\t\"REDF16A\"\nFOCAL_LENGTH_MM\t50\n"
                                         "NUM_PIXELS\t3\nPIXEL_SIZE\t0.1\nSTART_XY\n1 2\n3 4\nEND_XY\n");
  EXPECT_THAT(findings(), testing::Contains("error: " + camera() +
                                            "REDF16A.cam: NUM_PIXELS is 3, and there are 2 pairs "
                                            "of coordinates: the camera lacks this band"));
}

TEST_F(KesCheckCalibration, MisalignmentIsChecked) {
  mFolder.file(camera() + "misalignment.dat", "# note\n0.5 0 0.1 -1 0 0 7\n1 2 3 4 5 6\n");
  std::string const file = camera() + "misalignment.dat";
  EXPECT_EQ(findings(), (Lines{"warning: " + file + ":2: an angle of 0.5 radians is large for a misalignment",
                               "error: " + file + ":2: a standard deviation of -1",
                               "warning: " + file + ":2: what follows the six numbers is left out",
                               "warning: " + file + ":3: a second line of numbers is left out"}));
}

TEST_F(KesCheckCalibration, SpectralBandsAreChecked) {
  mFolder.file(camera() + "radiocal.xml", "<radiometric_calibration version=\"1.1\">\n"
                                          "<band name=\"PANN00A\" center_wavelength=\"560,5\" width=\"200\"/>\n"
                                          "<band name=\"PANN00A\" center_wavelength=\"560\"/>\n"
                                          "<bund/>\n"
                                          "</radiometric_calibration>\n");
  std::string const file = camera() + "radiocal.xml";
  EXPECT_EQ(findings(),
            (Lines{"error: " + file + ":1: version \"1.1\" isn't 1.0: the file is left out",
                   "error: " + file + ":2: center_wavelength=\"560,5\" has a decimal comma: the band is left out",
                   "error: " + file + ":3: no attribute \"width\": the band is left out",
                   "error: " + file + ":3: band \"PANN00A\" stands here again: the last one counts",
                   "warning: " + file + ":4: unknown element \"bund\" is left out"}));
}

TEST_F(KesCheckCalibration, CalibrationThatCantBeReadIsAnError) {
  mFolder.file(camera() + "misalignment.dat", "0 0 0,1 0 0 0\n");
  Lines const found = findings();
  ASSERT_FALSE(found.empty());
  EXPECT_THAT(found.front(), testing::HasSubstr("No calibration found for sensor KESA0 ID: T100 version: v001"));
  EXPECT_THAT(found, testing::Contains("error: " + camera() +
                                       "misalignment.dat:1: 0,1 has a decimal comma: the "
                                       "calibration can't be read"));
}

// A camera of XML files, which is copied to be changed.
class KesCheckXmlCalibration : public testing::Test {
protected:
  KesCheckXmlCalibration() {
    namespace fs = std::filesystem;
    fs::copy(test::stripA::path("calibration"), mFolder / "calibration", fs::copy_options::recursive);
    for (fs::directory_entry const& entry : fs::directory_iterator(mFolder / "calibration/HDB00_90214/v002")) {
      if (entry.path().string().find("Geometry") != std::string::npos) {
        mGeometry = entry.path().string();
      }
    }
  }

  // The findings after a change of the geometry file, of which each is in that file.
  std::string check(std::string const& from, std::string const& to) const {
    std::string text = test::contents(mGeometry);
    auto const at = text.find(from);
    EXPECT_NE(at, std::string::npos);
    mFolder.file(mGeometry.substr(mFolder.path().size() + 1), text.replace(at, from.size(), to));
    return test::kes({"check", test::stripA::path("project/strip_xml.stp"), "--calibrations", mFolder / "calibration",
                      "--deep"})
        .out;
  }
  // The line of the changed file in which a text stands first.
  std::string lineOf(std::string const& text) const {
    std::string const contents = test::contents(mGeometry);
    auto const end = contents.begin() + static_cast<std::ptrdiff_t>(contents.find(text));
    return mGeometry + ":" + std::to_string(1 + std::count(contents.begin(), end, '\n')) + ": ";
  }

  test::TempFolder mFolder;
  std::string mGeometry;
};

TEST_F(KesCheckXmlCalibration, NumberThatIsReadAsZeroIsAnError) {
  EXPECT_THAT(check("PrincipalDistance_mm=\"62.6432\"", "PrincipalDistance_mm=\"62,6432\""),
              testing::HasSubstr("error: " + lineOf("PrincipalDistance_mm") +
                                 "PrincipalDistance_mm=\"62,6432\" has a decimal comma: it is read as 0\n"));
}

TEST_F(KesCheckXmlCalibration, PrincipalDistanceOfZeroIsAnError) {
  EXPECT_THAT(check("PrincipalDistance_mm=\"62.6432\"", "PrincipalDistance_mm=\"0\""),
              testing::HasSubstr("error: " + lineOf("PrincipalDistance_mm") + "PrincipalDistance_mm is 0\n"));
}

// The forward line lies 31.6 mm before the middle.
TEST_F(KesCheckXmlCalibration, LookBeyondSixtyDegreesIsAnError) {
  std::string const out = check("PrincipalDistance_mm=\"62.6432\"", "PrincipalDistance_mm=\"10\"");
  EXPECT_THAT(out, testing::ContainsRegex("error: " + lineOf("Channel=\"PANF27A\"") +
                                          "the band looks 7[0-9].[0-9] degrees ahead\n"));
}

TEST_F(KesCheckXmlCalibration, CalibrationThatCantBeReadIsAnError) {
  EXPECT_THAT(check("<LensSystem", "<LensSistem"),
              testing::HasSubstr("the calibration can't be read: XML reader: Missing tag (LensSystem): "));
}

}  // namespace
