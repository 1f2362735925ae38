// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CtgFiles.h"
#include "support/Matchers.h"

#include <sensor/CameraTime.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sys/stat.h>

namespace {

using sensor::CameraTime;
using sensor::seconds;

class CameraTimeBadFiles : public testing::Test {
protected:
  std::string ctg() const { return mFolder.file("a.ctg", test::ctgBytes(test::changingTimes)); }
  std::string ctgl(std::string const& bytes) const { return mFolder.file("a.ctgl", bytes); }

  test::TempFolder mFolder;
};

TEST_F(CameraTimeBadFiles, CtgCutAnywhereHasItsWholeTimes) {
  std::string const bytes = test::ctgBytes({100.0, 100.25, 100.75});
  for (std::size_t size = 8; size < bytes.size(); ++size) {
    CameraTime const time(mFolder.file("cut.ctg", bytes.substr(0, size)));
    EXPECT_EQ(time.size(), size / 8) << size;
    EXPECT_EQ(time.values().back(), size < 16 ? 100.0 : 100.25) << size;
  }
}

TEST_F(CameraTimeBadFiles, CtglCutAnywhereWithinARecordIsRefused) {
  std::string const name = ctg();
  std::string const bytes = test::ctglBytes(test::changingRates);
  for (std::size_t size = 1; size < bytes.size(); ++size) {
    ctgl(bytes.substr(0, size));
    if (size == 16) {
      EXPECT_EQ(CameraTime(name).cycleTimeSet().size(), 1U);
    } else {
      EXPECT_MESSAGE(CameraTime{name}, "Incorrect size on CTGL file. Size = " + std::to_string(size) +
                                           ", not divisible by 16, on file " + name);
    }
  }
}

TEST_F(CameraTimeBadFiles, CtglThatIsAFifoIsNotWaitedFor) {
  std::string const name = ctg();
  std::string const fifo = mFolder / "a.ctgl";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_MESSAGE(CameraTime{name}, "Failed to open CTGL file: " + fifo);
}

TEST_F(CameraTimeBadFiles, ChangeAtATimeThatIsNoNumberCantBeRead) {
  std::string const name = ctg();
  std::string const changes =
      ctgl(test::ctglBytes({{100.0, 250000, 0}, {std::numeric_limits<double>::quiet_NaN(), 500000, 4}}));
  EXPECT_MESSAGE(CameraTime{name}, "failed to read CTGL file: " + changes);
}

TEST_F(CameraTimeBadFiles, FailedLoadLeavesTheObjectAsItWas) {
  ctgl(test::ctglBytes(test::changingRates));
  CameraTime time(ctg());
  mFolder.file("a.ctg", test::ctgBytes({1.0, 2.0}));
  ctgl(std::string(17, 'x'));
  test::messageOf([&] { time.loadData(); });
  std::filesystem::remove(mFolder / "a.ctg");
  test::messageOf([&] { time.loadData(); });
  EXPECT_EQ(time.values(), test::changingTimes);
  EXPECT_EQ(time.cycleTimeSet().size(), 2U);
  EXPECT_TRUE(time.isNonUniformCT());
  EXPECT_EQ(time.gpsTime(-2.0F).value(), 100.0 - 2 * 0.25);
}

// Cycle times of zero, negative ones, lines and times far away: every question has an answer, and soon.
TEST_F(CameraTimeBadFiles, AnyByteOfTheChangesMayBeAnother) {
  std::string const name = ctg();
  std::string const bytes = test::ctglBytes(test::changingRates);
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    for (char const change : {'\x01', '\x80', '\xFF'}) {
      std::string changed = bytes;
      changed[at] = static_cast<char>(changed[at] ^ change);
      ctgl(changed);
      CameraTime const time(name);
      ASSERT_EQ(time.size(), test::changingTimes.size());
      for (double t = 99.0; t < 105.0; t += 0.375) {
        time.cycleTime(time.line(seconds(t)));
      }
      // The table alone says when a line within it was taken.
      EXPECT_EQ(time.gpsTime(3.0F).value(), 100.75);
    }
  }
}

TEST_F(CameraTimeBadFiles, EndsOfTheFormatComeBack) {
  ctgl(test::ctglBytes({{100.0, std::numeric_limits<std::int32_t>::min(), 0},
                        {101.0, std::numeric_limits<std::int32_t>::max(), 4294967295U}}));
  CameraTime time(ctg());
  EXPECT_EQ(time.cycleTimeSet()[0].value(), -2147483648.0 * 1e-6);
  EXPECT_EQ(time.getInternalCtglRepresentation().at(101.0).line, 4294967295U);
  time.setCtgFileName(mFolder / "b.ctg");
  time.writeData();
  std::string const written = test::contents(mFolder / "b.ctgl");
  ASSERT_EQ(written.size(), 32U);
  EXPECT_NEAR(test::valueAt<std::int32_t>(written, 8), std::numeric_limits<std::int32_t>::min() + 1.0, 1.0);
  EXPECT_EQ(test::valueAt<std::uint32_t>(written, 28), 4294967295U);
}

TEST_F(CameraTimeBadFiles, DiskThatIsFullAtTheChangesKeepsTheOldOnes) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  std::vector<test::RateRecord> rates;
  for (std::uint32_t i = 0; i < 1024; ++i) {
    rates.push_back({100.0 + i, 250000, i});
  }
  ctgl(test::ctglBytes(rates));
  CameraTime time(ctg());
  time.setCtgFileName(disk / "a.ctg");
  std::string const old = test::ctglBytes(test::changingRates);
  { EXPECT_TRUE(std::ofstream(disk / "a.ctgl") << old); }
  disk.fill(8192);
  EXPECT_MESSAGE(time.writeData(), "IO error writing .ctgl file: " + (disk / "a.ctgl"));
  EXPECT_EQ(test::contents(disk / "a.ctgl"), old);
  // The file that fills the disk, the line times and the old changes.
  EXPECT_EQ(test::entryCount(disk.path()), 3);
}

}  // namespace
