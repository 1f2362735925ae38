// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/FileReplacement.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <memory>

namespace {

using files::FileReplacement;

struct Case {
  char const* name;
  std::int64_t spare;
  std::int64_t size;
  std::int64_t piece;
};

void PrintTo(Case const& c, std::ostream* out) {
  *out << c.size << " bytes in pieces of " << c.piece << " where " << c.spare << " have room";
}

// The disk counts in pages of 4 KiB; the file's buffer holds 16 KiB.
class FullDisk : public testing::TestWithParam<Case> {
protected:
  void SetUp() override {
    if (!disk.isMounted()) {
      GTEST_SKIP() << "no file system can be mounted here";
    }
    std::ofstream(name) << old;
    disk.fill(GetParam().spare);
  }

  void TearDown() override {
    if (disk.isMounted()) {
      EXPECT_EQ(test::contents(name), old);
      // The filler and the old file; no temporary one.
      EXPECT_EQ(test::entryCount(disk.path()), 2);
    }
  }

  void writeAll(FileReplacement& file) const {
    std::string const contents(static_cast<std::size_t>(GetParam().size), 'n');
    for (std::int64_t at = 0; at < GetParam().size; at += GetParam().piece) {
      file.write(contents.data() + at, std::min(GetParam().piece, GetParam().size - at));
    }
  }

  test::SmallFileSystem disk{std::int64_t{512} * 1024};
  std::string name = disk / "file";
  std::string old = "the old file";
};

TEST_P(FullDisk, KeepsTheOldFileAndNoTemporary) {
  FileReplacement file(name);
  writeAll(file);
  EXPECT_FALSE(file.commit());
}

TEST_P(FullDisk, FlushTellsAndTheFailureIsRemembered) {
  FileReplacement file(name);
  writeAll(file);
  EXPECT_FALSE(file.flush());
  file.write("more");
  EXPECT_FALSE(file.flush());
  EXPECT_FALSE(file.commit());
}

TEST_P(FullDisk, WholeReplacementInOneCallFails) {
  EXPECT_FALSE(files::replaceFile(name, std::string(static_cast<std::size_t>(GetParam().size), 'n')));
}

INSTANTIATE_TEST_SUITE_P(FileReplacement, FullDisk,
                         testing::Values(Case{"NoRoomAtAll", 0, 1, 1},                          //
                                         Case{"WithinTheFirstBuffer", 4096, 9000, 100},         //
                                         Case{"BehindTheFirstBuffer", 16384, 16385, 1000},      //
                                         Case{"WithinALaterBuffer", 65536, 200000, 1000},       //
                                         Case{"WithinTheLastBuffer", 196608, 200000, 1000},     //
                                         Case{"OneByteTooMany", 196608, 196609, 1000},          //
                                         Case{"WithinOneLargeWrite", 65536, 200000, 200000},    //
                                         Case{"AtTheEndOfOneLargeWrite", 65536, 65537, 65537},  //
                                         Case{"BehindALargeWrite", 65536, 65600, 65536}),
                         [](auto const& instance) { return instance.param.name; });

// The disk that the cases above fill has room for just what it is told.
TEST(FileReplacement, FillsTheLastByteOfADisk) {
  test::SmallFileSystem const disk(std::int64_t{512} * 1024);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system can be mounted here";
  }
  std::ofstream(disk / "file") << "old";
  disk.fill(65536);
  std::string const contents(65536, 'n');
  EXPECT_TRUE(files::replaceFile(disk / "file", contents));
  EXPECT_EQ(test::contents(disk / "file"), contents);
}

}  // namespace
