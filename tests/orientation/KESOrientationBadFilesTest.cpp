// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OdfFiles.h"
#include "OdfStore.h"
#include "support/FailingReads.h"
#include "support/ResourceLimit.h"
#include "support/TempFolder.h"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

namespace {

using sensor::KESOrientation;
using test::OdfFile;

class KESOrientationBadFiles : public testing::Test {
protected:
  int read(std::string const& bytes) {
    mStore = KESOrientation();
    return mStore.read(mFolder.file("a.odf", bytes));
  }

  // The records are all zero; their number is this one.
  void expectZeroedRecords(int count) const {
    test::expectRecords(mStore, std::vector<sensor::odf>(static_cast<std::size_t>(count)));
  }

  test::TempFolder mFolder;
  KESOrientation mStore;
};

TEST_F(KESOrientationBadFiles, WhatIsNoFileCantBeLoaded) {
  std::string const fifo = mFolder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (std::string const& name : {std::string(), mFolder / "none.odf", mFolder.path(), fifo}) {
    EXPECT_MESSAGE(KESOrientation store(name), "sensor::KESOrientation::KESOrientation(42) Can't load " + name);
    EXPECT_EQ(mStore.read(name), 1);
    EXPECT_EQ(mStore.fileName(), name);
  }
}

TEST_F(KESOrientationBadFiles, FileThatIsMissingOrCantBeReadLeavesTheStore) {
  ASSERT_EQ(read(OdfFile().bytes()), 0);
  EXPECT_EQ(mStore.read(mFolder / "none.odf"), 1);
  EXPECT_EQ(mStore.stripName(), "line7");
  EXPECT_EQ(mStore.numSets(), 4);
  test::FailingReads const badDisk(0);
  EXPECT_EQ(mStore.read(mFolder / "a.odf"), 1);
  EXPECT_EQ(mStore.stripName(), "line7");
  EXPECT_EQ(mStore.numSets(), 4);
}

TEST_F(KESOrientationBadFiles, RecordsThatCantBeReadAreZeroed) {
  std::string const name = mFolder.file("a.odf", OdfFile().bytes());
  test::FailingReads const badDisk(1);
  EXPECT_EQ(mStore.read(name), 1);
  expectZeroedRecords(4);
}

TEST_F(KESOrientationBadFiles, FileWithFewerRecordsCantBeLoaded) {
  std::string const bytes = OdfFile().bytes();
  std::string const name = mFolder.file("a.odf", bytes.substr(0, bytes.size() - 1));
  EXPECT_MESSAGE(KESOrientation store(name), "sensor::KESOrientation::KESOrientation(42) Can't load " + name);
}

// Of "4" at 176 nothing is there before byte 177.
TEST_F(KESOrientationBadFiles, FileThatIsCutAnywhereGivesOneAndZeroedRecords) {
  std::string const bytes = OdfFile().bytes();
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    SCOPED_TRACE(size);
    ASSERT_EQ(read(bytes.substr(0, size)), 1);
    expectZeroedRecords(size < 177 ? 0 : 4);
  }
  EXPECT_EQ(read(bytes), 0);
}

TEST_F(KESOrientationBadFiles, HeaderOfAFileWithoutRecordsMayEndBehindTheCount) {
  OdfFile file;
  file.records.clear();
  std::string const bytes = file.bytes();
  for (std::size_t size = 0; size <= bytes.size(); ++size) {
    ASSERT_EQ(read(bytes.substr(0, size)), size < 177 ? 1 : 0) << size;
    EXPECT_EQ(mStore.numSets(), 0);
    EXPECT_EQ(mStore.baseZ(), size < 481 ? 0 : 9);
  }
}

TEST_F(KESOrientationBadFiles, BytesBehindTheRecordsDontMatter) {
  EXPECT_EQ(read(OdfFile().bytes() + "rest"), 0);
  test::expectRecords(mStore, test::odfRecords(4));
}

TEST_F(KESOrientationBadFiles, FewerRecordsThanTheFileHasAreRead) {
  EXPECT_EQ(read(OdfFile().with(176, "3").bytes()), 0);
  test::expectRecords(mStore, test::odfRecords(3));
}

TEST_F(KESOrientationBadFiles, OneRecordMoreThanTheFileHasGivesZeroedOnes) {
  EXPECT_EQ(read(OdfFile().with(176, "5").bytes()), 1);
  expectZeroedRecords(5);
}

TEST_F(KESOrientationBadFiles, CountsThatLieGiveNoRecords) {
  for (char const* count : {"", " ", "x", "-1", "-2147483648", "2147483647", "2147483648", "4294967300",
                            "9223372036854775807", "99999999999999999", "-999999999999999", "1000000"}) {
    EXPECT_EQ(read(OdfFile().with(176, std::string(count).substr(0, 16)).bytes()), 1) << count;
    EXPECT_EQ(mStore.numSets(), 0) << count;
    EXPECT_EQ(mStore.stripName(), "line7") << count;
  }
}

TEST_F(KESOrientationBadFiles, CountThatLiesDropsOlderRecords) {
  KESOrientation store(mFolder.file("a.odf", OdfFile().bytes()));
  EXPECT_EQ(store.read(mFolder.file("b.odf", OdfFile().with(176, "-1").bytes())), 1);
  EXPECT_EQ(store.numSets(), 0);
}

// A file of holes, as large as its count wants it, minus a byte: more than can be made up.
TEST_F(KESOrientationBadFiles, LargeFileOfHolesThatIsCutGivesNoRecords) {
  std::string const name = mFolder.file("a.odf", OdfFile().with(176, "214748364").bytes());
  std::filesystem::resize_file(name, 512 + std::uintmax_t{40} * 214748364 - 1);
  EXPECT_EQ(mStore.read(name), 1);
  EXPECT_EQ(mStore.numSets(), 0);
}

// A file without records may promise as many as take four times its own size and a mebibyte.
TEST_F(KESOrientationBadFiles, RecordsOfAFileThatIsCutAreMadeUpToFourTimesItsSizeAndAMebibyte) {
  constexpr int most = ((1 << 20) + 4 * 512) / 40;
  EXPECT_EQ(read(OdfFile().with(176, std::to_string(most)).header()), 1);
  expectZeroedRecords(most);
  EXPECT_EQ(read(OdfFile().with(176, std::to_string(most + 1)).header()), 1);
  EXPECT_EQ(mStore.numSets(), 0);
}

// 16 MiB times four and a mebibyte would be 65 MiB.
TEST_F(KESOrientationBadFiles, RecordsOfAFileThatIsCutAreMadeUpToSixtyFourMebibytes) {
  constexpr int most = (64 << 20) / 40;
  for (int const count : {most, most + 1}) {
    std::string const name = mFolder.file("a.odf", OdfFile().with(176, std::to_string(count)).header());
    std::filesystem::resize_file(name, std::uintmax_t{16} << 20);
    EXPECT_EQ(mStore.read(name), 1);
    EXPECT_EQ(mStore.numSets(), count == most ? most : 0);
  }
}

// Records that are there may take more; the file is all hole but for its header.
TEST_F(KESOrientationBadFiles, RecordsThatAreThereMayTakeMoreThanSixtyFourMebibytes) {
  constexpr int count = (65 << 20) / 40;
  std::string const name = mFolder.file("a.odf", OdfFile().with(176, std::to_string(count)).header());
  std::filesystem::resize_file(name, 512 + std::uintmax_t{40} * count);
  EXPECT_EQ(mStore.read(name), 0);
  EXPECT_EQ(mStore.numSets(), count);
  std::filesystem::resize_file(name, 512 + std::uintmax_t{40} * count - 1);
  EXPECT_EQ(mStore.read(name), 1);
  EXPECT_EQ(mStore.numSets(), 0);
}

#ifndef __SANITIZE_ADDRESS__
TEST_F(KESOrientationBadFiles, RecordsThatTheMemoryDoesNotHoldAreNone) {
  constexpr int count = (400 << 20) / 40;
  std::string const name = mFolder.file("a.odf", OdfFile().with(176, std::to_string(count)).header());
  std::filesystem::resize_file(name, 512 + std::uintmax_t{40} * count);
  auto const limit = test::memoryLimit(rlim_t{100} << 20);
  EXPECT_EQ(mStore.read(name), 1);
  EXPECT_EQ(mStore.numSets(), 0);
}
#endif

// Ends of texts, blanks, signs, digits, letters, and bytes that are no ASCII.
TEST_F(KESOrientationBadFiles, AnyByteOfTheHeaderMayBeAnything) {
  std::string const bytes = OdfFile().bytes();
  for (std::size_t i = 0; i < test::odfHeaderSize; ++i) {
    for (char const value : {'\0', ' ', '-', '.', '9', 'e', 'z', '\n', '\x7F', '\xAC', '\xFF'}) {
      std::string changed = bytes;
      changed[i] = value;
      int const result = read(changed);
      bool const inCount = i >= 176 && i < 192;
      if (!inCount) {
        ASSERT_EQ(result, 0) << i;
        test::expectRecords(mStore, test::odfRecords(4));
      } else if (result == 1) {
        ASSERT_TRUE(std::all_of(mStore.records().begin(), mStore.records().end(), [](sensor::odf const& r) {
          return test::fieldsOf(r) == std::array<long, 13>{};
        })) << i;
      }
      double min = 0;
      double max = 0;
      mStore.zRange(min, max);
      mStore.CalculateInternalVectors();
      EXPECT_LE(mStore.compress(), 10);
    }
  }
}

TEST_F(KESOrientationBadFiles, AnyByteOfARecordChangesOnlyThat) {
  std::string const bytes = OdfFile().bytes();
  for (std::size_t i = test::odfHeaderSize; i < bytes.size(); ++i) {
    std::string changed = bytes;
    changed[i] = static_cast<char>(~changed[i]);
    ASSERT_EQ(read(changed), 0);
    std::size_t const record = (i - test::odfHeaderSize) / test::odfRecordSize;
    for (std::size_t k = 0; k < 4; ++k) {
      EXPECT_EQ(test::fieldsOf(mStore.records()[k]) != test::fieldsOf(test::odfRecords(4)[k]), k == record) << i;
    }
  }
}

}  // namespace
