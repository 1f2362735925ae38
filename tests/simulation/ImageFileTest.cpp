// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RenderSupport.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <simulation/ImageFile.h>
#include <simulation/Random.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace {

using simulation::ImageFile;

// Rows of pixels that don't compress.
std::vector<std::uint16_t> noise(std::size_t width, std::size_t rows) {
  simulation::Random random(1, 0);
  std::vector<std::uint16_t> pixels(width * rows);
  std::generate(pixels.begin(), pixels.end(), [&] { return static_cast<std::uint16_t>(random.uniform(0.0, 65535.0)); });
  return pixels;
}

TEST(ImageFile, HoldsWhatWasWritten) {
  test::TempFolder const folder;
  ImageFile file(folder / "a.tif", 300, 530);
  std::vector<std::uint16_t> const pixels = noise(300, 530);
  constexpr std::ptrdiff_t tiles = 256 * 300;
  file.write({pixels.begin(), pixels.begin() + tiles});
  file.write({pixels.begin() + tiles, pixels.begin() + 2 * tiles});
  file.write({pixels.begin() + 2 * tiles, pixels.end()});
  EXPECT_FALSE(test::exists(folder / "a.tif")) << "not before it is whole";
  file.finish();
  test::Image const image(folder / "a.tif");
  EXPECT_EQ(image.width, 300);
  EXPECT_EQ(image.height, 530);
  EXPECT_EQ(image.pixels, pixels);
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST(ImageFile, UnfinishedLeavesNothing) {
  test::TempFolder const folder;
  {
    ImageFile file(folder / "a.tif", 300, 600);
    file.write(noise(300, 256));
  }
  EXPECT_EQ(test::entryCount(folder.path()), 0);
}

TEST(ImageFile, ReplacesAnOldFileWhenItIsWhole) {
  test::TempFolder const folder;
  folder.file("a.tif", "old");
  ImageFile file(folder / "a.tif", 20, 10);
  file.write(noise(20, 10));
  EXPECT_EQ(test::contents(folder / "a.tif"), "old");
  file.finish();
  EXPECT_EQ(test::Image(folder / "a.tif").pixels, noise(20, 10));
}

TEST(ImageFile, PlacesThatCantBeWrittenSaySo) {
  test::TempFolder const folder;
  EXPECT_MESSAGE(ImageFile(folder / "none/a.tif", 10, 10),
                 "can't write " + (folder / "none/a.tif") + ": No such file or directory");
}

// Files of 300 to 600 KB against 500 KB: the disk fills at every moment from the first tile to the directory at the
// end.
TEST(ImageFile, FullDiskIsNoticed) {
  int failures = 0;
  for (int rows = 256; rows <= 512; rows += 16) {
    test::SmallFileSystem const disk(512000);
    if (!disk.isMounted()) {
      GTEST_SKIP() << "no file system may be mounted here";
    }
    std::ofstream(disk / "a.tif") << "old";
    std::vector<std::uint16_t> const pixels = noise(600, static_cast<std::size_t>(rows));
    try {
      ImageFile file(disk / "a.tif", 600, rows);
      file.write(pixels);
      file.finish();
      EXPECT_EQ(test::Image(disk / "a.tif").pixels, pixels);
    } catch (std::runtime_error const& error) {
      EXPECT_EQ(error.what(), "can't write " + (disk / "a.tif"));
      EXPECT_EQ(test::contents(disk / "a.tif"), "old");
      ++failures;
    }
    EXPECT_EQ(test::entryCount(disk.path()), 1);
  }
  EXPECT_GT(failures, 3);
  EXPECT_LT(failures, 15);
}

}  // namespace
