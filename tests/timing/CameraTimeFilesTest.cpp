#include "CtgFiles.h"
#include "support/Matchers.h"

#include <sensor/CameraTime.h>

#include <filesystem>
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

TEST(CameraTimeFiles, CtglOfSeventeenBytesNamesItsSizeAndTheCtgFile) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.ctg", test::ctgBytes({1.0, 2.0}));
  folder.file("a.ctgl", std::string(17, 'x'));
  EXPECT_MESSAGE(CameraTime{name}, "Incorrect size on CTGL file. Size = 17, not divisible by 16, on file " + name);
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

}  // namespace
