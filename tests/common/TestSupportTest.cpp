// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Bytes.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sys/statvfs.h>

// The other tests are worth what these helpers are: they have to fail where they should.
namespace {

using testing::Not;

TEST(TestSupport, SameBitsTellsTheZerosApartAndKnowsNan) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THAT(0.0, Not(test::SameBits(-0.0)));
  EXPECT_THAT(nan, test::SameBits(nan));
  EXPECT_THAT(1.0F, Not(test::SameBits(std::nextafter(1.0F, 2.0F))));
}

TEST(TestSupport, UnitsInTheLastPlaceCountAcrossZeroAndPowersOfTwo) {
  float const least = std::numeric_limits<float>::denorm_min();
  EXPECT_EQ(test::ordinal(0.0F), test::ordinal(-0.0F));
  EXPECT_EQ(test::ordinal(least) - test::ordinal(-least), 2);
  EXPECT_EQ(test::ordinal(1.0F) - test::ordinal(std::nextafter(1.0F, 0.0F)), 1);
  EXPECT_THAT(1.0F, test::WithinUlps(std::nextafter(1.0F, 0.0F), 1));
  EXPECT_THAT(1.0F, Not(test::WithinUlps(1.0F + 2.0F * std::numeric_limits<float>::epsilon(), 1)));
  EXPECT_THAT(-1.0F, Not(test::WithinUlps(1.0F, 1000)));
}

TEST(TestSupport, MessageIsTheWholeText) {
  EXPECT_EQ(test::messageOf([] { throw std::runtime_error("a b"); }), "a b");
}

TEST(TestSupport, BytesStandAsInMemory) {
  std::string const bytes = (test::Bytes() << std::int16_t{0x0201} << 1.5F << std::string("ab")).str();
  EXPECT_EQ(bytes, std::string("\x01\x02\x00\x00\xC0\x3F"
                               "ab",
                               8));
  EXPECT_EQ(test::valueAt<float>(bytes, 2), 1.5F);
  EXPECT_EQ(test::valueAt<std::int32_t>(bytes, 6), 0);
}

TEST(TestSupport, FolderIsOnesOwnAndGoesWithAllThatItHolds) {
  std::string path;
  {
    test::TempFolder const folder;
    test::TempFolder const other;
    path = folder.path();
    EXPECT_NE(path, other.path());
    folder.file("deep/er/file", "x");
    EXPECT_EQ(test::entryCount(path), 1);
    EXPECT_EQ(test::contents(folder / "deep/er/file"), "x");
  }
  EXPECT_FALSE(test::exists(path));
}

TEST(TestSupport, SmallDiskHasNoMoreRoomThanItIsLeft) {
  test::SmallFileSystem const disk(65536);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system can be mounted here";
  }
  disk.fill(8192);
  struct statvfs state {};
  ASSERT_EQ(statvfs(disk.path().c_str(), &state), 0);
  EXPECT_EQ(state.f_bavail * state.f_bsize, 8192U);
  std::ofstream out(disk / "more");
  out << std::string(8193, 'x');
  out.close();
  EXPECT_FALSE(out);
}

}  // namespace
