// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/StripFolder.h"

#include <fstream>
#include <stdexcept>

namespace {

class SupportFileFailures : public test::StripFolder {
protected:
  bool write(sensor::KESImage& image) const { return image.exportSupportFile(mFolder / "out.sup", "", ""); }
};

TEST_F(SupportFileFailures, FileThatCantBeOpenedGivesFalseAndReadsNoStrip) {
  auto strip = read(true);
  std::filesystem::remove(mFile);
  EXPECT_FALSE(strip.exportSupportFile(0, mFolder / "none/out.sup"));
  EXPECT_FALSE(strip.exportSupportFile(0, mFolder.path()));
  EXPECT_FALSE(strip.exportSupportFile(0, ""));
}

TEST_F(SupportFileFailures, StripThatCantBeReadAgainPassesItsMessageOnAndLeavesTheFileEmpty) {
  auto strip = read(true);
  std::filesystem::remove(mFile);
  mFolder.file("out.sup", "old");
  EXPECT_MESSAGE(write(*strip.img(0)), "Error opening strip file:" + mFile);
  EXPECT_EQ(test::contents(mFolder / "out.sup"), "");
}

TEST_F(SupportFileFailures, StripWithoutItsOrientationPassesItsMessageOn) {
  auto strip = read(true);
  std::filesystem::remove(mFolder / "flight.eop");
  EXPECT_MESSAGE(write(*strip.img(0)), "failed to open EOP file: " + (mFolder / "flight.eop"));
}

TEST_F(SupportFileFailures, BandThatTheStripFileDoesntHaveIsABadCalibration) {
  auto strip = read(true);
  strip.img(0)->setBandID("PANF99A");
  EXPECT_MESSAGE(write(*strip.img(0)), "Bad calibration !\nNo calibration found for band Id:\nPANF99A");
  EXPECT_EQ(test::contents(mFolder / "out.sup"), "");
}

TEST_F(SupportFileFailures, ShortBandIdThatTheStripFileDoesntHaveIsABadCalibration) {
  auto strip = read(true);
  for (char const* id : {"", "PAN", "PANN00"}) {
    strip.img(0)->setBandID(id);
    EXPECT_MESSAGE(write(*strip.img(0)), std::string("Bad calibration !\nNo calibration found for band Id:\n") + id);
  }
}

TEST_F(SupportFileFailures, ShortBandIdIsOutOfRangeAndLeavesTheFileEmpty) {
  for (char const* id : {"PAN", "PANN00"}) {
    mStrip.bands = {{id}};
    mStrip.sensorId = "SupportFileFailures_" + std::string(id);
    mFile = mStrip.write(mFolder);
    auto strip = read(true);
    mFolder.file("out.sup", "old");
    EXPECT_THROW(write(*strip.img(0)), std::out_of_range) << id;
    EXPECT_EQ(test::contents(mFolder / "out.sup"), "") << id;
  }
}

// The result says that the file could be opened, not what became of it.
TEST_F(SupportFileFailures, FullDiskIsntNoticedButKeepsTheOldFile) {
  test::SmallFileSystem const disk(1 << 16);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  std::ofstream(disk / "out.sup") << "old";
  auto strip = read(true);
  disk.fill();
  EXPECT_TRUE(strip.img(0)->exportSupportFile(disk / "out.sup", "", ""));
  EXPECT_TRUE(strip.img(0)->exportSupportFile(disk / "new.sup", "", ""));
  EXPECT_EQ(test::contents(disk / "out.sup"), "old");
  EXPECT_FALSE(test::exists(disk / "new.sup"));
  EXPECT_EQ(test::entryCount(disk.path()), 2);  // the old file, and what fills the disk
}

}  // namespace
