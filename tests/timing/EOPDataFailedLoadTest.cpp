// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "EopStore.h"
#include "support/FailingReads.h"

#include <filesystem>

// What a store is after a file that couldn't be read, and what it keeps from before.

namespace {

using sensor::EOP;
using sensor::EOPData;
using sensor::seconds;
using test::EopFile;
using test::recordOf;

class EOPDataFailedLoad : public testing::TestWithParam<int> {
protected:
  EopFile file(int records) const {
    EopFile result;
    result.version = GetParam();
    result.records = test::eopRecords(records);
    return result;
  }
  std::string write(std::string const& bytes) const { return mFolder.file("a.eop", bytes); }
  std::string mismatch() const { return "Header/data mismatch in EOP file: " + (mFolder / "a.eop"); }

  // A store that tried to load 34 records, of which the file has 31 and a half.
  EOPData cut() const {
    EopFile const whole = file(34);
    std::string const bytes = whole.bytes();
    auto const record = static_cast<std::size_t>(whole.recordSize());
    EOPData eop(write(bytes.substr(0, bytes.size() - 3 * record + record / 2)), false);
    EXPECT_MESSAGE(eop.loadData(false), mismatch());
    return eop;
  }
  // How many records are kept of that file: version 3 leaves out a group of eight that is cut.
  int kept() const { return GetParam() == 3 ? 24 : 31; }

  test::TempFolder mFolder;
};

void expectNoRecords(EOPData& eop) {
  EXPECT_EQ(eop.numSets(), 0);
  EXPECT_FALSE(eop.isDataLoaded());
  EOP out;
  out.x = 7.0;
  for (double const t : {0.0, 49.0, 50.0, 50.05, 50.5, 99.0}) {
    EXPECT_EQ(eop.atGPS(seconds(t), out), 1) << t;
    std::array<float, 6> v{1, 2, 3, 4, 5, 6};
    EXPECT_EQ(eop.stdDevAtGPS(seconds(t), v[0], v[1], v[2], v[3], v[4], v[5]), 1);
    EXPECT_EQ(v, (std::array<float, 6>{1, 2, 3, 4, 5, 6}));
  }
  EXPECT_EQ(eop.atIndex(0, out), 1);
  EXPECT_EQ(out.x, 7.0);
  EXPECT_FALSE(eop.setEOP(0, EOP()));
  EXPECT_FALSE(eop.correctEOP(0, 1, 1, 1, 0, 0, 0));
  EXPECT_FALSE(eop.setStdDevs(0, 1, 1, 1, 1, 1, 1));
  double const before = eop.frequency();
  eop.recomputeFrequency();
  EXPECT_EQ(eop.frequency(), before);
}

TEST_P(EOPDataFailedLoad, StoreHasNoRecords) {
  EOPData eop = cut();
  expectNoRecords(eop);
  EOPData copy = eop;
  expectNoRecords(copy);
}

// Reads fail one later each time: in the header, its block (but for version 1), the records, the standard deviations.
TEST_P(EOPDataFailedLoad, FileThatCantBeReadOnSaysSo) {
  EopFile whole = file(4);
  whole.stdDevs = true;
  std::string const name = write(whole.bytes());
  std::vector<std::string> messages;
  for (int good = 0; messages.size() == static_cast<std::size_t>(good); ++good) {
    test::FailingReads const badDisk(good);
    try {
      EXPECT_EQ(EOPData(name, true, true).numSets(), 4);
      EXPECT_FALSE(badDisk.haveFailed());
    } catch (std::runtime_error const& error) {
      messages.emplace_back(error.what());
    }
  }
  std::vector<std::string> expected(messages.size(), "Unknown EOP version in file: " + name);
  ASSERT_GE(expected.size(), 4U);
  expected.end()[-1] = "Header/std.dev. data mismatch in EOP file: " + name;
  expected.end()[-2] = mismatch();
  expected.end()[-3] = GetParam() == 1 ? expected.front() : mismatch();
  EXPECT_EQ(messages, expected);
}

TEST_P(EOPDataFailedLoad, StoreThatHadRecordsBeforeHasNone) {
  EOPData eop(write(file(20).bytes()));
  eop.unloadData();
  EXPECT_EQ(eop.numSets(), 20);
  std::string const bytes = file(20).bytes();
  write(bytes.substr(0, bytes.size() - 1));
  EXPECT_MESSAGE(eop.loadData(false), mismatch());
  expectNoRecords(eop);
}

TEST_P(EOPDataFailedLoad, HeaderOfAnUnknownVersionLeavesNoRecords) {
  EOPData eop(write("EOP_" + std::string(60, '\7')), false);
  EXPECT_MESSAGE(eop.loadData(true), "Unknown EOP version in file: " + (mFolder / "a.eop"));
  expectNoRecords(eop);
}

TEST_P(EOPDataFailedLoad, FileThatVanishedLeavesNoRecords) {
  EOPData eop(write(file(20).bytes()), false);
  std::filesystem::remove(mFolder / "a.eop");
  EXPECT_MESSAGE(eop.loadData(false), "failed to open EOP file: " + (mFolder / "a.eop"));
  expectNoRecords(eop);
}

TEST_P(EOPDataFailedLoad, FileThatVanishedAfterwardsLeavesNoRecords) {
  EOPData eop = cut();
  std::filesystem::remove(mFolder / "a.eop");
  EXPECT_MESSAGE(eop.loadData(false), "failed to open EOP file: " + (mFolder / "a.eop"));
  expectNoRecords(eop);
}

TEST_P(EOPDataFailedLoad, LoadedStoreNeedsItsFileForStandardDeviationsAlone) {
  EOPData eop(write(file(20).bytes()));
  std::filesystem::remove(mFolder / "a.eop");
  EXPECT_NO_THROW(eop.loadData(false));
  EXPECT_EQ(eop.numSets(), 20);
  EXPECT_MESSAGE(eop.loadData(true), "failed to open EOP file: " + (mFolder / "a.eop"));
  EXPECT_EQ(test::orientationAt(eop, 50.1).gpsTime, 50.1);
}

TEST_P(EOPDataFailedLoad, RecordsThatWereBuiltStayWithoutAFile) {
  EOPData eop;
  eop.setFileName(mFolder / "none");
  for (int i = 0; i < 2; ++i) {
    EOP record;
    record.gpsTime = i;
    eop.addEOP(record);
  }
  eop.recomputeFrequency();
  EXPECT_MESSAGE(eop.loadData(false), "failed to open EOP file: " + (mFolder / "none"));
  EXPECT_EQ(eop.numSets(), 2);
  EXPECT_EQ(test::orientationAt(eop, 0.5).gpsTime, 0.5);
}

// Of a file that is cut, heights and the writer see the records before the cut.
TEST_P(EOPDataFailedLoad, RecordsBeforeTheCutAreKeptInWholeGroups) {
  EOPData eop = cut();
  float low = 0;
  float high = 0;
  eop.heightRange(low, high);
  EXPECT_EQ(low, 1000.0F);
  EXPECT_EQ(high, 1000.0F + 0.5F * static_cast<float>(kept() - 1));
  EXPECT_FALSE(eop.hasStdDevs());
  eop.write(mFolder / "b.eop", 0);
  EXPECT_EQ(EOPData(mFolder / "b.eop").numSets(), kept());
}

TEST_P(EOPDataFailedLoad, FileThatWasMendedLoadsAgain) {
  EOPData eop = cut();
  EopFile whole = file(34);
  whole.stdDevs = true;
  write(whole.bytes());
  eop.loadData(false);
  ASSERT_EQ(eop.numSets(), 34);
  EXPECT_TRUE(eop.isDataLoaded());
  EXPECT_EQ(recordOf(eop, 0).x, 0.0);
  EXPECT_EQ(recordOf(eop, 33).x, 33.0);
  EXPECT_NEAR(test::orientationAt(eop, 51.05).x, 10.5, 1e-6);
  // The standard deviations' defaults are given again, too.
  EXPECT_EQ(test::deviationsAt(eop, 50.5).values[0], GetParam() == 1 ? 0.05F : 0.1F);
}

TEST_P(EOPDataFailedLoad, RecordsThatAreAddedStartAnew) {
  EOPData eop = cut();
  for (int i = 0; i < 2; ++i) {
    EOP record;
    record.gpsTime = 50.0 + i;
    record.x = 3.0 + i;
    eop.addEOP(record);
    EXPECT_EQ(eop.numSets(), i + 1);
  }
  EXPECT_EQ(recordOf(eop, 0).x, 3.0);
  EXPECT_EQ(recordOf(eop, 1).x, 4.0);
  float low = 1;
  float high = 1;
  eop.heightRange(low, high);
  EXPECT_EQ(high, 0.0F);
  EXPECT_EQ(test::deviationsAt(eop, 50.5).values[0], GetParam() == 1 ? 0.05F : 0.1F);
}

TEST_P(EOPDataFailedLoad, StandardDeviationsThatAreCutLeaveTheRecords) {
  EopFile whole = file(20);
  whole.stdDevs = true;
  std::string const bytes = whole.bytes();
  EOPData eop(write(bytes.substr(0, bytes.size() - 1)), false);
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_MESSAGE(eop.loadData(true), "Header/std.dev. data mismatch in EOP file: " + (mFolder / "a.eop"));
    EXPECT_TRUE(eop.isDataLoaded());
    EXPECT_FALSE(eop.isStdDevLoaded());
    EXPECT_FALSE(eop.hasStdDevs());
    EXPECT_EQ(eop.numSets(), 20);
    EXPECT_NEAR(test::orientationAt(eop, 51.05).x, 10.5, 1e-6);
    EXPECT_EQ(test::deviationsAt(eop, 50.5).result, 1);
  }
  write(bytes);
  eop.loadData(true);
  EXPECT_TRUE(eop.hasStdDevs());
  EXPECT_EQ(test::deviationsOf(eop, 19), test::stdDevEntry(19));
}

INSTANTIATE_TEST_SUITE_P(Versions, EOPDataFailedLoad, testing::Values(1, 2, 3));

// Reading another file that is refused leaves the name of the one before.
TEST(EOPDataHeader, RefusedBlockKeepsTheOldName) {
  test::TempFolder const folder;
  std::string const good = folder.file("a.eop", EopFile().bytes());
  EopFile bad;
  for (std::string const& block : {std::string("<EOPData"), test::parameterBlock(3, "1")}) {
    bad.block = block;
    std::string const name = folder.file("b.eop", bad.bytes());
    EOPData eop(good, false);
    test::messageOf([&] { eop.read(name, true, true); });
    EXPECT_EQ(eop.fileName(), good);
    eop.loadData(false);
    EXPECT_EQ(eop.numSets(), 3);
  }
}

TEST(EOPDataHeader, FileWithoutTheMagicKeepsTheVersionAndPromisesNothing) {
  test::TempFolder const folder;
  EopFile file;
  file.version = 2;
  EOPData eop(folder.file("a.eop", file.bytes()), false);
  for (std::string const& bytes : {std::string("EOP-") + file.bytes().substr(4), std::string("EOP"), std::string()}) {
    std::string const name = folder.file("b.eop", bytes);
    eop.read(name, false, false);
    EXPECT_EQ(eop.eopVersion(), 2);
    EXPECT_EQ(eop.fileName(), name);
    EXPECT_MESSAGE(eop.loadData(false), "Header/data mismatch in EOP file: " + name);
  }
}

TEST(EOPDataHeader, BlockEndsAtItsFirstZeroByte) {
  test::TempFolder const folder;
  EopFile file;
  file.block = test::parameterBlock(3) + std::string("\0<no xml", 8);
  EOPData const eop(folder.file("a.eop", file.bytes()));
  EXPECT_EQ(eop.numSets(), 3);
  EXPECT_EQ(eop.posSource(), "inertial");
}

TEST(EOPDataHeader, TagsAndAttributesOfAnotherCaseAreUnknown) {
  test::TempFolder const folder;
  EopFile file;
  file.block = "<EOPData numsets=\"3\"><source name=\"a\"/><SOURCE name=\"b\"/><Source Name=\"c\"/><pos source=\"d\"/>"
               "<Pos source=\"d\"/><tm source=\"e\"/><Tm source=\"e\"/><anchorpoint lat=\"1\" lon=\"2\" h=\"3\"/>"
               "<Anchorpoint lat=\"1\" lon=\"2\" h=\"3\"/><absolutetime value=\"5\"/><Absolutetime value=\"5\"/>"
               "<defaultstandarddeviation x=\"9\"/><DefaultStandarddeviation x=\"9\"/></EOPData>";
  EOPData const eop(folder.file("a.eop", file.bytes()));
  EXPECT_EQ(eop.appSource() + eop.posSource() + eop.tmSource(), "");
  EXPECT_EQ(eop.anchorPoint().x, 0.0);
  EXPECT_EQ(eop.anchorPoint().y, 0.0);
  EXPECT_EQ(eop.anchorPoint().z, 0.0);
  EXPECT_EQ(eop.absTime().value(), 0U);
  EXPECT_EQ(test::deviationsAt(eop, 50.05).values[0], 0.05F);
}

TEST(EOPDataHeader, MissingAttributesReadAsEmptyOrZero) {
  test::TempFolder const folder;
  EopFile file;
  EOPData eop(folder.file("a.eop", file.bytes()), false);
  file.block = "<EOPData numsets=\"3\"><TM/><POS/><Source/><AbsoluteTime/><AnchorPoint lat=\"x\"/>"
               "<DefaultStandardDeviation z=\"2\"/></EOPData>";
  eop.read(folder.file("b.eop", file.bytes()), true, false);
  EXPECT_EQ(eop.appSource() + eop.posSource() + eop.tmSource(), "");
  EXPECT_EQ(eop.anchorPoint().x, 0.0);
  EXPECT_EQ(eop.anchorPoint().y, 0.0);
  EXPECT_EQ(eop.anchorPoint().z, 0.0);
  EXPECT_EQ(eop.absTime().value(), 0U);
  EXPECT_EQ(test::deviationsAt(eop, 50.05).values, (std::array<float, 6>{0, 0, 2, 0, 0, 0}));
}

}  // namespace
