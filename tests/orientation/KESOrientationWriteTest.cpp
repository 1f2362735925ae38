// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OdfFiles.h"
#include "OdfStore.h"
#include "support/TempFolder.h"

#include <filesystem>
#include <sys/stat.h>

namespace {

using sensor::KESOrientation;
using sensor::seconds;
using test::contents;
using test::OdfFile;
using test::textAt;

// A store with two records around whole bases.
KESOrientation smallStore() {
  KESOrientation store = test::storeOf({{100.25, 1, 20, 300, 0.5, 0.25, 1.5}, {101.75, 3, 26, 310, -0.5, 0.75, 2.5}});
  test::setStdDevs(store, 0, {1e-5F, 2e-5F, 3e-5F, 4e-7F, 5e-7F, 6e-7F});
  store.setDataSource("plane");
  store.setProjectName("valley");
  store.setStripName("line7");
  store.setPositionUnits(1);
  store.setRotationSequence(4);
  store.setComments("dry");
  store.setAbsoluteTime(seconds<std::int32_t>(-1234));
  store.setAnchorPoint(0.8, -0.23456789012345);
  return store;
}

class KESOrientationWrite : public testing::Test {
protected:
  // What a store writes.
  std::string write(KESOrientation store) const {
    EXPECT_EQ(store.write(mFolder / "a.odf"), 2);
    return contents(mFolder / "a.odf");
  }

  test::TempFolder mFolder;
};

// The records: (time - 101) * 10^4, (x - 2) * 10^3, (y - 23) * 10^3, (z - 305) * 10^3, angles * 10^6, each plus 0.5
// without fraction.
TEST_F(KESOrientationWrite, FileIsMadeOfItsFields) {
  OdfFile expected;
  expected.fields = {{0, "ODF 1.2"},
                     {16, "plane"},
                     {48, "valley"},
                     {112, "line7"},
                     {192, "1"},
                     {194, "1000"},
                     {208, "3"},
                     {210, "1000000"},
                     {224, "4"},
                     {240, "-1234"},
                     {256, "dry"},
                     {352, "  0.8000000000"},
                     {368, " -0.2345678901"},
                     {384, "101"},
                     {396, "10000"},
                     {416, "2"},
                     {428, "100000"},
                     {448, "23"},
                     {460, "10000000"},
                     {480, "305"}};
  expected.records.assign(2, {});
  expected.records[0].t = -7499;
  expected.records[0].x = -999;
  expected.records[0].y = -2999;
  expected.records[0].z = -4999;
  expected.records[0].omega = 500000;
  expected.records[0].phi = 250000;
  expected.records[0].kappa = 1500000;
  expected.records[0].stdDevX = 1;
  expected.records[0].stdDevY = 2;
  expected.records[0].stdDevZ = 3;
  expected.records[0].stdDevOmega = 4;
  expected.records[0].stdDevPhi = 5;
  expected.records[0].stdDevKappa = 6;
  expected.records[1].t = 7500;
  expected.records[1].x = 1000;
  expected.records[1].y = 3000;
  expected.records[1].z = 5000;
  expected.records[1].omega = -499999;
  expected.records[1].phi = 750000;
  expected.records[1].kappa = 2500000;
  EXPECT_EQ(write(smallStore()), expected.bytes());
}

TEST_F(KESOrientationWrite, FileReadsBack) {
  KESOrientation store = smallStore();
  ASSERT_EQ(store.write(mFolder / "a.odf"), 2);
  EXPECT_EQ(store.fileName(), "");
  KESOrientation read(mFolder / "a.odf");
  read.setFileName("");
  EXPECT_EQ(read.anchorLongitude(), -0.2345678901);
  read.setAnchorPoint(store.anchorLatitude(), store.anchorLongitude());
  EXPECT_TRUE(store == read);
}

TEST_F(KESOrientationWrite, StoreThatWasReadIsWrittenAsItWas) {
  std::string const bytes = OdfFile().bytes();
  KESOrientation const store(mFolder.file("in.odf", bytes));
  EXPECT_EQ(write(store), bytes);
}

TEST_F(KESOrientationWrite, StoreWithoutRecordsEndsBehindItsLastText) {
  KESOrientation store;
  store.setStripName("none");
  std::string const bytes = write(store);
  EXPECT_EQ(textAt(bytes, 176, 16), "0");
  EXPECT_EQ(bytes.size(), 481U);
  EXPECT_EQ(bytes.back(), '0');
  KESOrientation const read(mFolder / "a.odf");
  EXPECT_EQ(read.numSets(), 0);
  EXPECT_EQ(read.stripName(), "none");
}

TEST_F(KESOrientationWrite, AnchorThatWasNeverSetIsAHundred) {
  std::string const bytes = write(KESOrientation());
  EXPECT_EQ(textAt(bytes, 352, 16), "100.0000000000");
  EXPECT_EQ(textAt(bytes, 368, 16), "100.0000000000");
}

TEST_F(KESOrientationWrite, AnchorThatIsNoNumberIsWrittenAsSuch) {
  KESOrientation store;
  store.setAnchorPoint(std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN());
  std::string const bytes = write(store);
  EXPECT_EQ(textAt(bytes, 352, 16), "           inf");
  EXPECT_EQ(textAt(bytes, 368, 16), "           nan");
}

TEST_F(KESOrientationWrite, OldVersionBecomesTheNewOne) {
  KESOrientation store(mFolder.file("old.odf", OdfFile().with(0, "ODF 1.0").with(208, "2").bytes()));
  ASSERT_EQ(store.write(mFolder / "a.odf"), 2);
  EXPECT_EQ(store.version(), "ODF 1.2");
  std::string const bytes = contents(mFolder / "a.odf");
  EXPECT_EQ(textAt(bytes, 0, 16), "ODF 1.2");
  EXPECT_EQ(textAt(bytes, 352, 16), "100.0000000000");
  EXPECT_EQ(textAt(bytes, 210, 14), "100000000");
  EXPECT_EQ(textAt(bytes, 396, 20), "10000");
  test::expectRecords(KESOrientation(mFolder / "a.odf"), test::odfRecords(4));
}

TEST_F(KESOrientationWrite, CommentsOfTwoWordsComeBackAsTheFirst) {
  KESOrientation store = smallStore();
  store.setComments("two words");
  std::string const bytes = write(store);
  EXPECT_EQ(textAt(bytes, 256, 96), "two words");
  EXPECT_EQ(KESOrientation(mFolder / "a.odf").comments(), "two");
}

TEST_F(KESOrientationWrite, LongTextsRunOnUnderTheNextField) {
  KESOrientation store = smallStore();
  store.setDataSource(std::string(40, 'a'));
  store.setPositionUnits(123);
  std::string const bytes = write(store);
  // The project's six letters cover six of the eight that are too many.
  EXPECT_EQ(textAt(bytes, 16, 64), std::string(32, 'a') + "valleyaa");
  EXPECT_EQ(textAt(bytes, 192, 16), "121000");
  KESOrientation const read(mFolder / "a.odf");
  EXPECT_EQ(read.dataSource(), std::string(32, 'a'));
  EXPECT_EQ(read.projectName(), "valleyaa");
  EXPECT_EQ(read.positionUnits(), 12);
  EXPECT_EQ(read.positionScale(), 1000);
}

TEST_F(KESOrientationWrite, EmptyTextCoversNothing) {
  KESOrientation store = smallStore();
  store.setDataSource(std::string(40, 'a'));
  store.setProjectName("");
  EXPECT_EQ(textAt(write(store), 48, 64), std::string(8, 'a'));
}

TEST_F(KESOrientationWrite, TextBeyondTheHeaderRunsOnUnderTheRecords) {
  KESOrientation store = smallStore();
  store.setComments(std::string(400, 'c'));
  std::string const bytes = write(store);
  ASSERT_EQ(bytes.size(), 256U + 400U);
  EXPECT_EQ(textAt(bytes, 480, 32), "305" + std::string(29, 'c'));
  EXPECT_EQ(textAt(bytes, 512 + 80, 400), std::string(656 - 592, 'c'));
  test::expectRecords(KESOrientation(mFolder / "a.odf"), [&] {
    store.compress();
    return store.records();
  }());
}

TEST_F(KESOrientationWrite, TextEndsAtItsFirstZeroByte) {
  KESOrientation store = smallStore();
  store.setProjectName(std::string("val\0ley", 7));
  EXPECT_EQ(write(store).substr(48, 7), std::string("val\0\0\0\0", 7));
}

TEST_F(KESOrientationWrite, OverflowLeavesAnEmptyFile) {
  KESOrientation store = test::storeOf({{0, 0, 0, 0, 0, 0, 4000}});
  store.setVersion("ODF 1.0");
  std::string const name = mFolder.file("a.odf", "old contents");
  EXPECT_EQ(store.write(name), 10);
  EXPECT_EQ(contents(name), "");
  EXPECT_EQ(store.version(), "ODF 1.0");
}

TEST_F(KESOrientationWrite, FileThatCantBeOpenedGivesThree) {
  std::string const fifo = mFolder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (std::string const& name : {std::string(), mFolder.path(), mFolder / "none/a.odf", fifo}) {
    KESOrientation store = smallStore();
    store.setVersion("ODF 1.0");
    EXPECT_EQ(store.write(name), 3) << name;
    EXPECT_EQ(store.version(), "ODF 1.0");
    EXPECT_EQ(store.baseX(), 0);
  }
}

TEST_F(KESOrientationWrite, FullDiskKeepsTheOldFile) {
  test::SmallFileSystem const disk(1 << 20);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system to fill";
  }
  KESOrientation store = smallStore();
  ASSERT_EQ(store.write(disk / "a.odf"), 2);
  std::string const before = contents(disk / "a.odf");
  store.setNumSets(20000, false);
  store.CalculateInternalVectors();
  disk.fill(100000);
  int const entries = test::entryCount(disk.path());
  EXPECT_EQ(store.write(disk / "a.odf"), 3);
  EXPECT_EQ(contents(disk / "a.odf"), before);
  EXPECT_EQ(test::entryCount(disk.path()), entries);
}

// The version is that of the header, which was written before the records failed.
TEST_F(KESOrientationWrite, VersionIsTheNewOneEvenIfTheRecordsFail) {
  test::SmallFileSystem const disk(1 << 20);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system to fill";
  }
  KESOrientation store = smallStore();
  store.setVersion("ODF 1.0");
  store.setNumSets(20000, false);
  disk.fill(100000);
  EXPECT_EQ(store.write(disk / "a.odf"), 3);
  EXPECT_EQ(store.version(), "ODF 1.2");
}

}  // namespace
