// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/PointFiles.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

using sensor::GroundPointList;
using sensor::ImagePointList;
using test::ground;
using test::image;

constexpr int numPoints = 2000;

GroundPointList manyGroundPoints() {
  return GroundPointList(std::vector<geo::GroundPoint>(numPoints, ground("P", 1, 2, 3, 4, 5, 6, 7)));
}

ImagePointList manyImagePoints() {
  return {std::vector<geo::ImagePoint>(numPoints, image("Q", 1, 2, 3, 4, true)), "S1", "PANN00A"};
}

TEST(PointListSaving, WhatIsNoFileIsNotWritten) {
  test::TempFolder const folder;
  std::string const fifo = folder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  ImagePointList list("S1", "PANN00A");
  for (std::string const& name : {folder / "no/such", folder.path(), fifo, std::string("/dev/null"), std::string()}) {
    EXPECT_EQ(manyGroundPoints().write(name, false), 1) << name;
    EXPECT_EQ(list.write(name, 3), 1) << name;
    EXPECT_EQ(list.fileName(), "");
  }
  // A list without a file.
  EXPECT_EQ(list.write(), 1);
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

class PointListOnFullDisk : public testing::TestWithParam<int> {
protected:
  void SetUp() override {
    if (!mDisk.isMounted()) {
      GTEST_SKIP() << "no file system may be mounted here";
    }
    std::ofstream(mName) << mOld;
    mDisk.fill(GetParam());
  }
  void TearDown() override {
    if (mDisk.isMounted()) {
      EXPECT_EQ(test::contents(mName), mOld);
      // The filler and the old file; no temporary one.
      EXPECT_EQ(test::entryCount(mDisk.path()), 2);
    }
  }

  test::SmallFileSystem mDisk{std::int64_t{512} * 1024};
  std::string mName = mDisk / "points";
  std::string mOld = "\"OLD\" 1 2 3 4 1\n";
};

TEST_P(PointListOnFullDisk, OldGroundPointsStay) {
  EXPECT_EQ(manyGroundPoints().write(mName, false), 1);
}

TEST_P(PointListOnFullDisk, OldImagePointsAndTheListsFileStay) {
  test::TempFolder const folder;
  ImagePointList list = manyImagePoints();
  ASSERT_EQ(list.write(folder / "own", 3), 0);
  EXPECT_EQ(list.write(mName, 3), 1);
  EXPECT_EQ(list.fileName(), folder / "own");
}

// The shorter of the texts has 60 kB.
INSTANTIATE_TEST_SUITE_P(Spare, PointListOnFullDisk, testing::Values(0, 4096, 16384, 49152));

// A signal kills the process at the write that would make a file larger than `size`.
void writeUpTo(rlim_t size, std::function<int()> const& write) {
  std::signal(SIGXFSZ, SIG_DFL);
  rlimit const noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  rlimit const limit{size, size};
  setrlimit(RLIMIT_FSIZE, &limit);
  std::_Exit(write());
}

class PointListKilledDeathTest : public testing::Test {
protected:
  // Kills the writing of a file at each 4 KiB of what it writes, and once not at all.
  static void expectOldFileUntilTheEnd(std::string const& name, std::function<int()> const& write) {
    ASSERT_EQ(write(), 0);
    std::string const whole = test::contents(name);
    std::string const old = "the old file";
    std::ofstream(name) << old;
    ASSERT_GE(whole.size(), 60000U);
    for (std::size_t size = 0; size < whole.size(); size += 4096) {
      EXPECT_EXIT(writeUpTo(size, write), testing::KilledBySignal(SIGXFSZ), "") << size;
      ASSERT_EQ(test::contents(name), old) << size;
    }
    EXPECT_EXIT(writeUpTo(whole.size(), write), testing::ExitedWithCode(0), "");
    EXPECT_EQ(test::contents(name), whole);
  }

  test::TempFolder mFolder;
};

TEST_F(PointListKilledDeathTest, OldGroundPointsStay) {
  std::string const name = mFolder / "points.gpt";
  expectOldFileUntilTheEnd(name, [&] { return manyGroundPoints().write(name, false); });
}

TEST_F(PointListKilledDeathTest, OldImagePointsStay) {
  std::string const name = mFolder / "points.ipt";
  expectOldFileUntilTheEnd(name, [&] { return manyImagePoints().write(name, 3); });
}

}  // namespace
