// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ElevationSupport.h"
#include "support/Matchers.h"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace {

using dsm::RasterElevationSource;
using test::ElevationRaster;
using test::heightAt;
using testing::HasSubstr;
using testing::StartsWith;

/// Six cells at most of a tile, and all that a model needs.
ElevationRaster good() {
  ElevationRaster raster;
  raster.fill([](int column, int row) { return 10.0 * column + row; });
  return raster;
}

class RasterElevationFile : public testing::Test {
protected:
  static std::string refusal(std::string const& path) {
    return test::messageOf([&] { RasterElevationSource const dem(path); });
  }
  /// The reason for which a raster is refused, without the words around it.
  std::string reason(ElevationRaster const& raster) {
    std::string const path = raster.write(mFolder);
    std::string const text = refusal(path);
    std::string const start = opening(path);
    EXPECT_THAT(text, StartsWith(start));
    return text.substr(std::min(start.size(), text.size()));
  }
  static std::string opening(std::string const& path) { return "Can't open elevation model \"" + path + "\": "; }

  test::TempFolder mFolder;
};

TEST_F(RasterElevationFile, MissingFile) {
  EXPECT_EQ(refusal(mFolder / "none.tif"), opening(mFolder / "none.tif") + "No such file or directory");
}

TEST_F(RasterElevationFile, WhatIsNoRaster) {
  for (std::string const& path :
       {mFolder.file("empty.tif", ""), mFolder.file("text.tif", "heights: 1 2 3"), mFolder.folder("folder.tif")}) {
    EXPECT_THAT(refusal(path), StartsWith(opening(path))) << path;
    EXPECT_THAT(refusal(path), HasSubstr("not recognized as")) << path;
  }
  EXPECT_THAT(refusal(""), StartsWith(opening("")));
}

TEST_F(RasterElevationFile, PipesAndDevicesAreNotWaitedFor) {
  std::string const pipe = mFolder / "pipe.tif";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (std::string const& path : {pipe, std::string("/dev/zero")}) {
    EXPECT_EQ(refusal(path), opening(path) + "it is a pipe or a device");
  }
}

TEST_F(RasterElevationFile, FileThatMayNotBeRead) {
  std::string const path = good().write(mFolder);
  std::filesystem::permissions(path, std::filesystem::perms::none);
  if (std::ifstream(path).good()) {
    GTEST_SKIP() << "this user may read everything";
  }
  EXPECT_EQ(refusal(path), opening(path) + "Permission denied");
}

TEST_F(RasterElevationFile, DatasetWithoutABand) {
  test::FormulaRaster raster(2, 2, [](int, int) { return 1.0; });
  raster.hasBand = false;
  EXPECT_EQ(refusal(raster.name()), opening(raster.name()) + "it has no raster band");
}

TEST_F(RasterElevationFile, ComplexNumbers) {
  auto raster = good();
  raster.type = GDT_CFloat32;
  EXPECT_EQ(reason(raster), "its first band holds complex numbers");
}

TEST_F(RasterElevationFile, NoCoordinateSystem) {
  auto raster = good();
  raster.system = "";
  EXPECT_EQ(reason(raster), "it has no coordinate system");
}

TEST_F(RasterElevationFile, SystemsThatAreNoMap) {
  auto raster = good();
  raster.system = "EPSG:4978";
  EXPECT_EQ(reason(raster), "its coordinate system is geocentric");
  raster.system = "LOCAL_CS[\"site\",UNIT[\"metre\",1]]";
  EXPECT_EQ(reason(raster), "it isn't a coordinate reference system of positions on the Earth");
}

TEST_F(RasterElevationFile, SystemWhoseGridIsMissing) {
  auto raster = good();
  raster.system = "EPSG:26917+5703";  // NAD83 in zone 17, NAVD88
  EXPECT_THAT(reason(raster), HasSubstr("no transformation to WGS 84 without the missing grid "));
}

TEST_F(RasterElevationFile, NoPlaceOnTheGround) {
  std::string const path = mFolder.file(
      "nowhere.vrt",
      "<VRTDataset rasterXSize=\"2\" rasterYSize=\"2\"><SRS>EPSG:32633</SRS><VRTRasterBand band=\"1\"/></VRTDataset>");
  EXPECT_EQ(refusal(path), opening(path) + "it has no geotransform");
}

TEST_F(RasterElevationFile, GeotransformThatIsNoPlane) {
  auto raster = good();
  for (auto const& geoTransform : {std::array<double, 6>{500000.0, 2.0, 4.0, 5400000.0, 1.0, 2.0},
                                   std::array<double, 6>{500000.0, 1e-300, 0.0, 5400000.0, 0.0, 1e-300}}) {
    raster.geoTransform = geoTransform;
    EXPECT_EQ(reason(raster), "its geotransform can't be inverted");
  }
}

TEST_F(RasterElevationFile, UnitThatIsNoLength) {
  auto raster = good();
  for (std::string const unit : {"degree", "kg", "Celsius", "metres per second"}) {
    raster.unit = unit;
    EXPECT_EQ(reason(raster), "the unit of its heights, \"" + unit + "\", is no unit of length");
  }
}

TEST_F(RasterElevationFile, ScaleAndOffsetThatAreNone) {
  auto raster = good();
  raster.scale = 0.0;
  EXPECT_EQ(reason(raster), "its scale and offset make no heights of its values");
  raster.scale = 1.0;
  raster.offset = std::numeric_limits<double>::infinity();
  EXPECT_EQ(reason(raster), "its scale and offset make no heights of its values");
}

TEST_F(RasterElevationFile, OpeningLeavesNothingBeside) {
  auto const raster = good();
  {
    RasterElevationSource const dem(raster.write(mFolder));
    EXPECT_NE(heightAt(dem, raster.at(1.0, 1.0)), std::nullopt);
    EXPECT_NE(dem.heightRange(), std::nullopt);
  }
  EXPECT_EQ(test::entryCount(mFolder.path()), 1);
}

// 300 by 300 cells of a byte each, in strips; the file ends behind the first 100 lines or so.
TEST_F(RasterElevationFile, CutFileFailsWhereItEndsAndServesWhatItHas) {
  ElevationRaster raster;
  raster.columns = 300;
  raster.rows = 300;
  raster.type = GDT_Byte;
  raster.options = {"BLOCKYSIZE=1"};
  raster.fill([](int, int row) { return row % 100 + 1.0; });
  std::string const path = raster.write(mFolder);
  std::filesystem::resize_file(path, std::filesystem::file_size(path) - std::uintmax_t{150} * 300);
  RasterElevationSource const dem(path);
  EXPECT_EQ(heightAt(dem, raster.at(10.0, 0.5)), 1.0F);
  float height = 77.0F;
  std::string const text = test::messageOf([&] { static_cast<void>(dem.height(raster.at(10.0, 290.0), height)); });
  EXPECT_THAT(text, StartsWith("Can't read elevation model \"" + path + "\": "));
  EXPECT_EQ(height, 77.0F);
  EXPECT_THAT(test::messageOf([&] { static_cast<void>(dem.heightRange()); }),
              StartsWith("Can't read elevation model \"" + path + "\": "));
}

TEST_F(RasterElevationFile, EveryCutAndEveryByteChangedIsRefusedOrGivesHeights) {
  auto const raster = good();
  std::string const bytes = test::contents(raster.write(mFolder));
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::string changed = bytes;
    changed[i] = static_cast<char>(changed[i] ^ 0x5a);
    for (std::string const& contents : {bytes.substr(0, i), changed}) {
      std::string const path = mFolder.file("bad.tif", contents);
      try {
        RasterElevationSource const dem(path);
        float height = 0.0F;
        if (dem.height(raster.at(2.0, 2.0), height)) {
          EXPECT_TRUE(std::isfinite(height));
        }
      } catch (std::runtime_error const& error) {
        EXPECT_THAT(error.what(), HasSubstr("elevation model \"" + path + "\": "));
      }
    }
  }
}

TEST_F(RasterElevationFile, FailedReadingIsTriedAgain) {
  test::FormulaRaster raster(300, 300, [](int column, int row) { return column + 1000.0 * row; });
  RasterElevationSource const dem(raster.name());
  geo::XYZPoint const place(500000.0 + 10.5, 5400000.0 - 20.5, 0.0);
  raster.fails = true;
  std::string const message = "Can't read elevation model \"" + raster.name() + "\": the disk is gone";
  for (int call = 0; call < 2; ++call) {
    float height = 5.0F;
    EXPECT_MESSAGE(static_cast<void>(dem.height(place, height)), message);
    EXPECT_EQ(height, 5.0F);
  }
  EXPECT_MESSAGE(static_cast<void>(dem.heightRange()), message);
  raster.fails = false;
  EXPECT_EQ(heightAt(dem, place), 20010.0F);
  EXPECT_EQ(dem.heightRange()->highest, 299299.0F);
  raster.fails = true;
  EXPECT_EQ(heightAt(dem, place), 20010.0F);  // it is kept
}

}  // namespace
