// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CtgFiles.h"
#include "support/Matchers.h"
#include "support/ShortFile.h"

#include <sensor/CameraTime.h>

#include <filesystem>
#include <limits>
#include <sys/stat.h>

namespace {

using sensor::CameraTime;
using test::valueAt;

TEST(CameraTimeFiles, NameOfTheCtglFileReplacesThreeCharacters) {
  CameraTime time;
  time.setCtgFileName("folder/a.ctg");
  EXPECT_EQ(time.ctglFileName(), "folder/a.ctgl");
  time.setCtgFileName("xy");
  EXPECT_EQ(time.ctglFileName(), "ctgl");
}

TEST(CameraTimeFiles, BytesBehindTheLastWholeTimeAreNotRead) {
  test::TempFolder const folder;
  CameraTime const time(folder.file("a.ctg", test::ctgBytes({1.0, 2.0}) + "1234567"));
  EXPECT_EQ(time.values(), (std::vector<double>{1.0, 2.0}));
}

TEST(CameraTimeFiles, MissingFileSaysSo) {
  test::TempFolder const folder;
  std::string const name = folder / "none.ctg";
  EXPECT_MESSAGE(CameraTime{name}, "failed to open CTG file: " + name);
}

TEST(CameraTimeFiles, FolderAndFifoAreNoFiles) {
  test::TempFolder const folder;
  std::string const fifo = folder / "pipe.ctg";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_MESSAGE(CameraTime{fifo}, "failed to open CTG file: " + fifo);
  EXPECT_MESSAGE(CameraTime{folder.path()}, "failed to open CTG file: " + folder.path());
}

TEST(CameraTimeFiles, FileWithoutAWholeTimeCantBeRead) {
  test::TempFolder const folder;
  for (char const* bytes : {"", "1234567"}) {
    std::string const name = folder.file("a.ctg", bytes);
    EXPECT_MESSAGE(CameraTime{name}, "failed to read CTG file: " + name);
  }
}

TEST(CameraTimeFiles, FileThatEndsHalfWayCantBeReadAndLeavesTheObject) {
  std::string const name = test::shortFile();
  if (name.empty()) {
    GTEST_SKIP() << "no file here is shorter than it says";
  }
  test::TempFolder const folder;
  CameraTime time(folder.file("a.ctg", test::ctgBytes({1.0, 2.0})));
  time.setCtgFileName(name);
  EXPECT_MESSAGE(time.loadData(), "failed to read CTG file: " + name);
  EXPECT_EQ(time.values(), (std::vector<double>{1.0, 2.0}));
}

// 2^31 lines: the last has no number in an int. The file is all hole.
TEST(CameraTimeFiles, MoreLinesThanAnIntCountsAreRefusedBeforeAnyMemoryIsTaken) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.ctg", "");
  std::error_code error;
  std::filesystem::resize_file(name, (std::uintmax_t{1} << 31) * 8, error);
  if (error) {
    GTEST_SKIP() << "no file with holes may be made here";
  }
  EXPECT_MESSAGE(CameraTime{name}, "failed to read CTG file: " + name);
}

TEST(CameraTimeFiles, LongTableIsReadWhole) {
  std::vector<double> times;
  for (int i = 0; i < 200000; ++i) {
    times.push_back(5e8 + i * 0.00370001);
  }
  test::TempFolder const folder;
  CameraTime const time(folder.file("a.ctg", test::ctgBytes(times)));
  EXPECT_EQ(time.values(), times);
}

TEST(CameraTimeFiles, NamesAreUtf8) {
  test::TempFolder const folder;
  folder.file("Z\xC3\xBCrich.ctgl", test::ctglBytes(test::changingRates));
  CameraTime time(folder.file("Z\xC3\xBCrich.ctg", test::ctgBytes(test::changingTimes)));
  EXPECT_TRUE(time.isNonUniformCT());
  time.setCtgFileName(folder / "Gen\xC3\xA8ve.ctg");
  time.writeData();
  EXPECT_TRUE(test::exists(folder / "Gen\xC3\xA8ve.ctgl"));
}

TEST(CameraTimeFiles, CtglOfSeventeenBytesNamesItsSizeAndTheCtgFile) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.ctg", test::ctgBytes({1.0, 2.0}));
  folder.file("a.ctgl", std::string(17, 'x'));
  EXPECT_MESSAGE(CameraTime{name}, "Incorrect size on CTGL file. Size = 17, not divisible by 16, on file " + name);
}

TEST(CameraTimeFiles, CtglCutWithinARecordIsRefused) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.ctg", test::ctgBytes(test::changingTimes));
  std::string const whole = test::ctglBytes(test::changingRates);
  for (std::size_t size = 1; size < whole.size(); ++size) {
    folder.file("a.ctgl", whole.substr(0, size));
    if (size == 16) {
      EXPECT_EQ(CameraTime(name).cycleTimeSet().size(), 1U);
      continue;
    }
    EXPECT_MESSAGE(CameraTime{name}, "Incorrect size on CTGL file. Size = " + std::to_string(size) +
                                         ", not divisible by 16, on file " + name);
  }
}

// Whatever a byte is changed to, the file loads or is refused, and every question has an answer.
TEST(CameraTimeFiles, CtglWithAChangedByteIsSurvived) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.ctg", test::ctgBytes(test::changingTimes));
  std::string const whole = test::ctglBytes(test::changingRates);
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (char const change : {'\x01', '\x80', '\xFF'}) {
      std::string bytes = whole;
      bytes[i] = static_cast<char>(bytes[i] ^ change);
      folder.file("a.ctgl", bytes);
      CameraTime const time(name);
      EXPECT_EQ(time.gpsTime(1.5F).value(), 100.375);
      for (double const t : {99.0, 100.6, 101.0, 102.9, 110.0}) {
        time.line(sensor::seconds(t));
      }
      for (float const line : {-2.0F, 0.5F, 3.5F, 4.0F, 20.0F}) {
        time.cycleTime(line);
      }
    }
  }
}

TEST(CameraTimeFiles, ChangeWhoseTimeIsNoNumberCantBeRead) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.ctg", test::ctgBytes({1.0, 2.0}));
  std::string const ctgl =
      folder.file("a.ctgl", test::ctglBytes({{1.0, 5, 0}, {std::numeric_limits<double>::quiet_NaN(), 5, 1}}));
  EXPECT_MESSAGE(CameraTime{name}, "failed to read CTGL file: " + ctgl);
}

TEST(CameraTimeFiles, CtglThatEndsHalfWayCantBeReadAndLeavesTheObject) {
  std::string const shortName = test::shortFile();
  if (shortName.empty()) {
    GTEST_SKIP() << "no file here is shorter than it says";
  }
  test::TempFolder const folder;
  CameraTime time(folder.file("a.ctg", test::ctgBytes({1.0, 2.0})));
  std::filesystem::create_symlink(shortName, folder / "a.ctgl");
  EXPECT_MESSAGE(time.loadData(), "failed to read CTGL file: " + (folder / "a.ctgl"));
  EXPECT_FALSE(time.isNonUniformCT());
  EXPECT_EQ(time.cycleTime(0.0F).value(), 1.0);
}

TEST(CameraTimeFiles, EmptyCtglCantBeReadAndLeavesTheObject) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.ctg", test::ctgBytes({1.0, 2.0}));
  CameraTime time(name);
  folder.file("a.ctg", test::ctgBytes({5.0, 6.0, 7.0}));
  folder.file("a.ctgl", "");
  EXPECT_MESSAGE(time.loadData(), "failed to read CTGL file: " + (folder / "a.ctgl"));
  EXPECT_EQ(time.values(), (std::vector<double>{1.0, 2.0}));
  EXPECT_FALSE(time.isNonUniformCT());
}

TEST(CameraTimeFiles, CtglThatIsNoFileCantBeOpened) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.ctg", test::ctgBytes({1.0, 2.0}));
  std::string const ctgl = folder.folder("a.ctgl");
  EXPECT_MESSAGE(CameraTime{name}, "Failed to open CTGL file: " + ctgl);
}

TEST(CameraTimeFiles, LaterRecordOfTheSameTimeReplacesTheEarlier) {
  test::TempFolder const folder;
  folder.file("a.ctgl", test::ctglBytes({{100.0, 250000, 0}, {101.0, 400000, 3}, {101.0, 500000, 4}}));
  CameraTime const time(folder.file("a.ctg", test::ctgBytes(test::changingTimes)));
  EXPECT_EQ(time.cycleTimeSet().size(), 2U);
  EXPECT_EQ(time.getInternalCtglRepresentation().at(101.0).line, 4U);
}

TEST(CameraTimeFiles, SecondLoadDropsTheChangesOfTheFirst) {
  test::TempFolder const folder;
  folder.file("a.ctgl", test::ctglBytes(test::changingRates));
  CameraTime time(folder.file("a.ctg", test::ctgBytes(test::changingTimes)));
  folder.file("a.ctgl", test::ctglBytes({{100.0, 250000, 0}}));
  time.loadData();
  EXPECT_EQ(time.cycleTimeSet().size(), 1U);
  std::filesystem::remove(folder / "a.ctgl");
  time.loadData();
  EXPECT_FALSE(time.isNonUniformCT());
  EXPECT_TRUE(time.cycleTimeSet().empty());
}

TEST(CameraTimeFiles, WritesWhatItRead) {
  test::TempFolder const folder;
  std::string const ctgl = test::ctglBytes(test::changingRates);
  folder.file("a.ctgl", ctgl);
  CameraTime time(folder.file("a.ctg", test::ctgBytes(test::changingTimes)));
  time.setCtgFileName(folder / "b.ctg");
  time.writeData();
  EXPECT_EQ(test::contents(folder / "b.ctg"), test::ctgBytes(test::changingTimes));
  EXPECT_EQ(test::contents(folder / "b.ctgl"), ctgl);
}

// 15 microseconds times 1e-6 times 1e6 is a little less than 15 in double, so truncation takes one off.
TEST(CameraTimeFiles, WrittenCycleTimesAreTruncatedToMicroseconds) {
  ASSERT_LT(15.0 * 1e-6 * 1e6, 15.0);
  test::TempFolder const folder;
  folder.file("a.ctgl", test::ctglBytes({{100.0, 15, 0}}));
  CameraTime time(folder.file("a.ctg", test::ctgBytes({100.0, 101.0})));
  time.writeData();
  EXPECT_EQ(valueAt<std::int32_t>(test::contents(folder / "a.ctgl"), 8), 14);
}

TEST(CameraTimeFiles, ChangesAreWrittenInOrderOfTime) {
  test::TempFolder const folder;
  folder.file("a.ctgl", test::ctglBytes({{101.0, 500000, 4}, {100.0, 250000, 0}}));
  CameraTime time(folder.file("a.ctg", test::ctgBytes(test::changingTimes)));
  time.writeData();
  EXPECT_EQ(test::contents(folder / "a.ctgl"), test::ctglBytes({{100.0, 250000, 0}, {101.0, 500000, 4}}));
}

TEST(CameraTimeFiles, EditedTableIsWritten) {
  test::TempFolder const folder;
  CameraTime time;
  time.values() = {7.0, 8.5};
  time.setCtgFileName(folder / "a.ctg");
  time.writeData();
  EXPECT_EQ(test::contents(folder / "a.ctg"), test::ctgBytes({7.0, 8.5}));
  time.values().clear();
  time.writeData();
  EXPECT_EQ(test::contents(folder / "a.ctg"), "");
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST(CameraTimeFiles, UniformImageLeavesAnExistingCtglAlone) {
  test::TempFolder const folder;
  CameraTime time(folder.file("a.ctg", test::ctgBytes({1.0, 2.0})));
  folder.file("a.ctgl", "untouched");
  time.writeData();
  EXPECT_EQ(test::contents(folder / "a.ctgl"), "untouched");
}

TEST(CameraTimeFiles, OutputThatCantBeOpenedSaysSo) {
  test::TempFolder const folder;
  CameraTime time;
  std::string const name = folder / "none/a.ctg";
  time.setCtgFileName(name);
  EXPECT_MESSAGE(time.writeData(), "Cannot open .ctg file: " + name);
}

TEST(CameraTimeFiles, CtglThatCantBeOpenedForWritingSaysSo) {
  test::TempFolder const folder;
  folder.file("a.ctgl", test::ctglBytes(test::changingRates));
  CameraTime time(folder.file("a.ctg", test::ctgBytes(test::changingTimes)));
  std::filesystem::remove(folder / "a.ctgl");
  std::string const ctgl = folder.folder("a.ctgl");
  EXPECT_MESSAGE(time.writeData(), "Cannot open .ctgl file: " + ctgl);
}

TEST(CameraTimeFiles, FullDiskKeepsTheOldFile) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  test::TempFolder const folder;
  CameraTime time(folder.file("a.ctg", test::ctgBytes({1.0, 2.0})));
  time.setCtgFileName(disk / "a.ctg");
  time.writeData();
  time.values().assign(4096, 3.0);
  disk.fill(8192);
  EXPECT_MESSAGE(time.writeData(), "IO Error writing .ctg file:" + (disk / "a.ctg"));
  EXPECT_EQ(test::contents(disk / "a.ctg"), test::ctgBytes({1.0, 2.0}));
  EXPECT_EQ(test::entryCount(disk.path()), 2);
}

// The table of two lines still has room, the 4096 changes have not.
TEST(CameraTimeFiles, FullDiskKeepsTheOldCtgl) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  std::vector<test::RateRecord> changes;
  for (std::uint32_t i = 0; i < 4096; ++i) {
    changes.push_back({100.0 + i, 1000, i});
  }
  test::TempFolder const folder;
  folder.file("a.ctgl", test::ctglBytes(changes));
  CameraTime time(folder.file("a.ctg", test::ctgBytes({100.0, 101.0})));
  std::string const old = test::ctglBytes(test::changingRates);
  std::filesystem::copy_file(folder.file("old", old), disk / "a.ctgl");
  disk.fill(16384);
  time.setCtgFileName(disk / "a.ctg");
  EXPECT_MESSAGE(time.writeData(), "IO error writing .ctgl file: " + (disk / "a.ctgl"));
  EXPECT_EQ(test::contents(disk / "a.ctg"), test::ctgBytes({100.0, 101.0}));
  EXPECT_EQ(test::contents(disk / "a.ctgl"), old);
  EXPECT_EQ(test::entryCount(disk.path()), 3);
}

}  // namespace
