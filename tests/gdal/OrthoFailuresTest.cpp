// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoSupport.h"
#include "support/Matchers.h"

#include <geo/coordSysFactory.h>

#include <cmath>
#include <filesystem>

// What can't be orthorectified: each is reported with its place, and leaves an older file as it was, and no other file.

namespace {

using kesgdal::OrthoPlan;
using test::OrthoFlight;

class OrthoFailure : public testing::Test {
protected:
  OrthoFailure() {
    mFlight.writePositions();
    mFlight.folder.file("ortho.tif", "older");
  }

  std::string failure(OrthoPlan const& plan) {
    int const before = test::entryCount(mFlight.folder.path());
    std::string message = test::messageOf([&] { mFlight.ortho(plan); });
    EXPECT_EQ(test::entryCount(mFlight.folder.path()), before);
    EXPECT_EQ(test::contents(mFlight.folder / "ortho.tif"), "older");
    return message;
  }
  std::string failure() { return failure(mFlight.plan()); }

  OrthoFlight mFlight;
};

TEST_F(OrthoFailure, MissingImageIsNamed) {
  std::string const name = mFlight.imageName("PANN00B");
  std::filesystem::remove(name);
  EXPECT_THAT(failure(), testing::StartsWith("image of band PANN00B: can't open " + name + ": "));
}

TEST_F(OrthoFailure, FileThatIsntAnImageIsNamed) {
  std::string const name = mFlight.folder.file("images/PANN00A.tif", "none");
  EXPECT_THAT(failure(), testing::StartsWith("image of band PANN00A: can't open " + name + ": "));
}

TEST_F(OrthoFailure, ImageOfAnotherSizeIsReported) {
  mFlight.small.lines = 299;
  mFlight.writeImage("PANN00A", [](int, int) { return 1.0; });
  EXPECT_EQ(failure(), "image of band PANN00A: " + mFlight.imageName("PANN00A") +
                           " has 101 x 299 pixels, the strip has 101 x 300");
}

TEST_F(OrthoFailure, ImageOfSeveralBandsIsReported) {
  GetGDALDriverManager()
      ->GetDriverByName("GTiff")
      ->Create(mFlight.imageName("PANN00A").c_str(), 101, 300, 3, GDT_Byte, nullptr)
      ->Release();
  EXPECT_EQ(failure(),
            "image of band PANN00A: " + mFlight.imageName("PANN00A") + " has 3 raster bands in place of one");
}

TEST_F(OrthoFailure, ComplexImageIsReported) {
  mFlight.writeImage(
      "PANN00A", [](int, int) { return 1.0; }, GDT_CFloat32);
  EXPECT_EQ(failure(), "image of band PANN00A: " + mFlight.imageName("PANN00A") + " has complex values");
}

// Of the largest blocks that are read, 16384 x 8192 of two bytes make 256 MiB. None of them is in the file.
TEST_F(OrthoFailure, ImageWhoseBlocksDontFitIntoMemoryIsReported) {
  std::vector<char const*> options{"TILED=YES", "SPARSE_OK=TRUE", "BLOCKXSIZE=16384", "BLOCKYSIZE=8208", nullptr};
  GetGDALDriverManager()
      ->GetDriverByName("GTiff")
      ->Create(mFlight.imageName("PANN00A").c_str(), 101, 300, 1, GDT_UInt16, const_cast<char**>(options.data()))
      ->Release();
  EXPECT_EQ(failure(), "image of band PANN00A: " + mFlight.imageName("PANN00A") +
                           " has blocks of 16384 x 8208 pixels, of which each takes more than 256 MiB; write it with "
                           "smaller tiles");
}

// Its beginning promises more than there is.
TEST_F(OrthoFailure, ImageThatIsCutIsReported) {
  std::filesystem::resize_file(mFlight.imageName("PANN00A"), 60000);
  EXPECT_THAT(failure(), testing::StartsWith("can't warp an image: "));
}

TEST_F(OrthoFailure, NoDataThatTheTypeCantHoldIsReported) {
  mFlight.writeImage(
      "PANN00A", [](int, int) { return 1.0; }, GDT_Byte);
  mFlight.writeImage(
      "PANN00B", [](int, int) { return 1.0; }, GDT_UInt16);
  EXPECT_EQ(failure(), "the images' type UInt16 can't hold the value -1 for no data");
  OrthoPlan plan = mFlight.plan();
  plan.noData = 0.5;
  EXPECT_EQ(failure(plan), "the images' type UInt16 can't hold the value 0.5 for no data");
}

TEST_F(OrthoFailure, PlanOfNothingIsReported) {
  OrthoPlan plan = mFlight.plan();
  plan.bands = {"PANN00A", "PANF27A"};
  EXPECT_EQ(failure(plan), "no band \"PANF27A\" in the strip, which has PANN00A, PANN00B");
  plan.bands.clear();
  EXPECT_EQ(failure(plan), "Can't orthorectify: neither bands nor threads may be none");
  plan = mFlight.plan();
  plan.threads = 0;
  EXPECT_EQ(failure(plan), "Can't orthorectify: neither bands nor threads may be none");
}

TEST_F(OrthoFailure, SizeOfAPixelIsReported) {
  EXPECT_EQ(failure(mFlight.plan(0.0)), "ground sampling distance of 0 m isn't above 0");
}

// Runs that would take a year, or as long as the pixels are large.
TEST_F(OrthoFailure, SizeOfAPixelOutOfProportionIsRefused) {
  ASSERT_EQ(mFlight.band(0).gsd(), 2.0);
  std::string const limits = " m isn't between 0.01 and 1024 times that of the image of band PANN00A, 2 m";
  EXPECT_EQ(failure(mFlight.plan(0.0199)), "ground sampling distance of 0.0199" + limits);
  EXPECT_EQ(failure(mFlight.plan(2049)), "ground sampling distance of 2049" + limits);
  EXPECT_EQ(failure(mFlight.plan(1e9)), "ground sampling distance of 1e+09" + limits);
}

TEST_F(OrthoFailure, MapThatIsNeitherProjectedNorGeographicIsReported) {
  mFlight.map = kes::CoordinateSystem("EPSG:4978");
  EXPECT_THAT(failure(), testing::EndsWith(" is neither projected nor geographic"));
}

TEST_F(OrthoFailure, TerrainElsewhereIsReported) {
  mFlight.relief.geoTransform[0] += 5000.0;
  mFlight.openTerrain();
  EXPECT_EQ(failure(), "elevation model \"" + mFlight.terrain->fileName() + "\" doesn't cover the strip");
}

TEST_F(OrthoFailure, TerrainWithoutAHeightIsReported) {
  mFlight.relief.noData = -1.0;
  mFlight.relief.fill([](int, int) { return -1.0; });
  mFlight.openTerrain();
  EXPECT_EQ(failure(), "elevation model \"" + mFlight.terrain->fileName() + "\" doesn't cover the strip");
}

// 8 m of terrain, on which no pixel of 64 m has its centre.
TEST_F(OrthoFailure, TerrainBetweenThePixelsIsReported) {
  mFlight.relief.columns = 2;
  mFlight.relief.rows = 2;
  mFlight.relief.fill([](int, int) { return 500.0; });
  geo::XYPoint const middle = mFlight.mapOf({150.0, 0.0, 0.0});
  mFlight.relief.geoTransform = {std::floor(middle.x / 64.0) * 64.0, 4.0, 0.0,
                                 std::floor(middle.y / 64.0) * 64.0, 0.0, -4.0};
  mFlight.openTerrain();
  EXPECT_EQ(failure(mFlight.plan(64.0)),
            "elevation model \"" + mFlight.terrain->fileName() + "\" doesn't cover the strip");
}

TEST_F(OrthoFailure, TerrainThatCantBeReadIsReported) {
  mFlight.cutTerrain();
  EXPECT_THAT(failure(), testing::StartsWith("Can't read elevation model \"" + mFlight.terrain->fileName() + "\": "));
}

// The footprint needs the terrain along the image's edges alone; what lies between is read when the pixels are made.
TEST(OrthoFailureWhileWarping, TerrainThatCantBeReadIsReported) {
  OrthoFlight flight({.lines = 800, .longitude = "0.26", .system = "EPSG:32633"});
  flight.writePositions();
  geo::XYPoint const origin = flight.mapOf({0.0, 0.0, 0.0});
  test::FormulaRaster formula(1000, 700, [](int, int) { return 500.0; });
  formula.geoTransform = {std::floor(origin.x) - 100.0, 1.0, 0.0, std::floor(origin.y) + 350.0, 0.0, -1.0};
  kes::Surface const terrain = kes::Surface::raster(formula.name(), 0);
  std::string const name = flight.folder / "ortho.tif";
  int const before = test::entryCount(flight.folder.path());
  std::string const message = test::messageOf([&] {
    kesgdal::writeOrthophoto(*flight.strip, flight.map, terrain, flight.plan(0.5), name,
                             [&](double) { formula.fails = true; });
  });
  EXPECT_THAT(message, testing::StartsWith("Can't read elevation model \"" + formula.name() + "\": "));
  EXPECT_EQ(test::entryCount(flight.folder.path()), before);
}

TEST_F(OrthoFailure, StripThatIsntLoadedIsReported) {
  mFlight.strip->unload();
  EXPECT_EQ(failure(), "Can't orthorectify: the strip's data aren't loaded");
}

// The message of an attempt to write to a place.
std::string writingTo(OrthoFlight const& flight, std::string const& name, OrthoPlan const& plan) {
  return test::messageOf([&] { kesgdal::writeOrthophoto(*flight.strip, flight.map, *flight.terrain, plan, name); });
}

TEST_F(OrthoFailure, PlacesThatCantBeWrittenAreReported) {
  std::string const nowhere = mFlight.folder / "none/ortho.tif";
  EXPECT_EQ(writingTo(mFlight, nowhere, mFlight.plan()), "can't write " + nowhere + ": No such file or directory");
  std::string const folder = mFlight.folder.folder("sub");
  EXPECT_EQ(writingTo(mFlight, folder, mFlight.plan()), "can't write " + folder + ": it is a folder");
}

TEST_F(OrthoFailure, WhatIsReadIsntReplaced) {
  for (std::string const& name :
       {mFlight.imageName("PANN00B"), mFlight.terrain->fileName(), mFlight.folder / "strip.stp"}) {
    std::string const before = test::contents(name);
    EXPECT_EQ(writingTo(mFlight, name, mFlight.plan()), "can't write " + name + ": it is read, too");
    EXPECT_EQ(test::contents(name), before);
  }
}

// From a disk without room for the first tile to one that lacks a few KB at the end.
TEST_F(OrthoFailure, FullDiskLeavesTheOlderFile) {
  test::SmallFileSystem const disk(8 << 20);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "can't mount a file system";
  }
  std::string const name = disk / "ortho.tif";
  OrthoPlan plan = mFlight.plan(0.5);
  plan.bands = {"PANN00A"};
  kesgdal::writeOrthophoto(*mFlight.strip, mFlight.map, *mFlight.terrain, plan, name);
  auto const size = static_cast<std::int64_t>(std::filesystem::file_size(name));
  std::string const older = test::contents(name);
  int failures = 0;
  for (std::int64_t spare = 0; spare < 7 << 19; spare += 64 << 10) {
    disk.fill(spare);
    try {
      kesgdal::writeOrthophoto(*mFlight.strip, mFlight.map, *mFlight.terrain, plan, name);
    } catch (std::runtime_error const& error) {
      ++failures;
      EXPECT_THAT(error.what(), testing::StartsWith("can't write " + name + ": ")) << spare;
    }
    EXPECT_TRUE(test::contents(name) == older) << spare;
    EXPECT_EQ(test::entryCount(disk.path()), 2) << spare;
    std::filesystem::remove(disk / "filler");
  }
  // The pixels before compression need more room than the file itself.
  EXPECT_GT(failures, static_cast<int>(size / (64 << 10)));
  EXPECT_LT(failures, 56);
}

}  // namespace
