// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BlockSupport.h"
#include "RenderSupport.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>

namespace {

using simulation::BlockPlan;
using test::FlownBlock;
using test::nadir;
using test::smallBlock;
namespace fs = std::filesystem;

std::map<std::string, std::string> filesOf(std::string const& folder) {
  std::map<std::string, std::string> files;
  for (auto const& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) {
      files[fs::relative(entry.path(), folder).string()] = test::contents(entry.path().string());
    }
  }
  return files;
}

class Block : public testing::Test {
protected:
  FlownBlock fly(BlockPlan const& plan, char const* name = "block") const { return {plan, mFolder / name}; }
  std::string failure(BlockPlan const& plan) const {
    return test::messageOf([&] { simulation::simulateBlock(plan, mFolder / "block"); });
  }

  test::TempFolder mFolder;
};

TEST_F(Block, OpensWithAllItsStripsAndPoints) {
  FlownBlock const flown = fly(smallBlock());
  EXPECT_EQ(flown.stripNames(), (std::vector<std::string>{"Cross1", "Line1", "Line2", "Line3"}));
  EXPECT_EQ(flown.block.displayName(), "Block");
  EXPECT_EQ(flown.block.groundPoints().numPoints(), 60);
  EXPECT_EQ(flown.block.groundPointFile(), "control/controls.gpt");
  EXPECT_EQ(flown.block.elevationSourceNames(), std::vector<std::string>{KESSENSOR_TERRAIN});
  for (std::string const& name : flown.stripNames()) {
    std::string message;
    EXPECT_TRUE(flown.strip(name).modelData()->isDataValid(message, false)) << message;
    EXPECT_EQ(flown.strip(name).numBands(), 10);
    EXPECT_EQ(flown.strip(name).modelData()->camera().sensorId(), "00900");
  }
}

// Nothing but the elevation model is named by an absolute path, and strips have no camera of their own.
TEST_F(Block, CanBeMoved) {
  simulation::simulateBlock(smallBlock(), mFolder / "block");
  fs::rename(mFolder / "block", mFolder / "moved");
  sensor::BlockModelData const block(mFolder / "moved/block.blf", true, false, false);
  EXPECT_EQ(block.numStrips(), 4);
  EXPECT_EQ(block.groundPoints().numPoints(), 60);
  EXPECT_EQ(test::contents(mFolder / "moved/block.blf").find(mFolder.path()), std::string::npos);
  EXPECT_TRUE(test::exists(mFolder / "moved/calibration/KESA0_00900/v003/PANN00A.cam"));
  EXPECT_FALSE(test::exists(mFolder / "moved/Line1/calibration"));
  EXPECT_EQ(test::entryCount(mFolder.path()), 1);
}

TEST_F(Block, FollowsFromItsSeed) {
  simulation::simulateBlock(smallBlock(), mFolder / "one");
  simulation::simulateBlock(smallBlock(), mFolder / "two");
  BlockPlan other = smallBlock();
  other.flight.seed = 4;
  simulation::simulateBlock(other, mFolder / "three");
  auto const first = filesOf(mFolder / "one");
  EXPECT_EQ(first, filesOf(mFolder / "two"));
  auto const third = filesOf(mFolder / "three");
  for (char const* file : {"control/controls.gpt", "Line2/truth/flight.eop", "Cross1/Cross1_PANN00A.ipt"}) {
    EXPECT_NE(first.at(file), third.at(file)) << file;
  }
}

TEST_F(Block, StripsAreFlownToAndFroAndAcross) {
  FlownBlock const flown = fly(smallBlock());
  auto const azimuth = [&](char const* name) { return flown.strip(name).flightAzimuth() * 57.29578F; };
  EXPECT_NEAR(azimuth("Line1"), 20.0F, 2.0F);
  EXPECT_NEAR(azimuth("Line2"), 200.0F, 2.0F);
  EXPECT_NEAR(azimuth("Line3"), 20.0F, 2.0F);
  EXPECT_NEAR(azimuth("Cross1"), 110.0F, 2.0F);
  EXPECT_GT(flown.strip("Line2").gpsTime({0, 0}, 0).value(),
            flown.strip("Line1").gpsTime({0, 5999}, 0).value() + 100.0);
}

// At the mean terrain, a strip's neighbour has 30 per cent of its width. Drifts and tilts of some metres, slopes, and
// different mean heights change that.
TEST_F(Block, NeighboursOverlap) {
  BlockPlan plan = smallBlock();
  plan.flight.samples = 4000;
  FlownBlock const flown = fly(plan);
  for (auto const& [name, neighbour] : {std::pair("Line1", "Line2"), std::pair("Line2", "Line3")}) {
    sensor::KESStripModel const& strip = flown.strip(name);
    sensor::KESStripModel const& other = flown.strip(neighbour);
    int const band = strip.bandIndex(nadir);
    int shared = 0;
    int all = 0;
    for (int line = 600; line < 5400; line += 200) {
      for (int sample = 20; sample < 4000; sample += 40, ++all) {
        geo::XYZPoint map;
        strip.imageToMap({static_cast<double>(sample), static_cast<double>(line)},
                         static_cast<float>(strip.meanTerrainHeight() + strip.eop()->anchorPoint().z), band, map);
        geo::GroundPoint point;
        point.x = map.x;
        point.y = map.y;
        point.z = map.z;
        shared += test::placeInImage(other, band, point) ? 1 : 0;
      }
    }
    EXPECT_NEAR(static_cast<double>(shared) / all, 0.3, 0.06) << name;
  }
}

// UTM zone 16 goes from 90 to 84 degrees west, and the terrain lies at 84.4 to 84.1.
TEST_F(Block, MapIsTheUtmZoneOfTheTerrain) {
  FlownBlock const flown = fly(smallBlock());
  std::unique_ptr<geo::coordSys> const utm(geo::coordSysFactory::getInstance()->createCoordSys("EPSG:32616"));
  std::unique_ptr<geo::coordSys> const geographic(geo::coordSysFactory::getInstance()->createGEO84(false, false));
  geo::XYZPoint middle = flown.terrain.middle();
  geo::XYZPoint other;
  geo::coordSys::transform(geographic.get(), utm.get(), middle, other);
  geo::coordSys::transform(geographic.get(), flown.block.coordSys(), middle, middle);
  EXPECT_EQ(middle.x, other.x);
  EXPECT_EQ(middle.y, other.y);
}

TEST_F(Block, RendersImagesOfAllStrips) {
  BlockPlan plan = smallBlock();
  plan.flight.lines = 200;
  plan.flight.samples = 100;
  plan.crossStrips = 1;
  plan.strips = 2;
  plan.points = 4;
  plan.flight.renderedBands = {nadir};
  FlownBlock const flown = fly(plan);
  ASSERT_EQ(flown.files.strips.size(), 3U);
  EXPECT_EQ(flown.files.strips[1].images, std::vector<std::string>{"Line2/images/Line2_PANN00A.tif"});
  for (simulation::FlightFiles const& files : flown.files.strips) {
    test::Image const image(flown.folder + "/" + files.images.at(0));
    EXPECT_EQ(image.width, 100);
    EXPECT_GT(*std::min_element(image.pixels.begin(), image.pixels.end()), 0);
  }
}

TEST_F(Block, LiesOnTheTerrainOrIsntFlown) {
  BlockPlan plan = smallBlock();
  plan.flight.lines = 200000;
  EXPECT_THAT(failure(plan), testing::MatchesRegex("strip \"Line1\" leaves the elevation model " + plan.flight.dem +
                                                   " at longitude -84\\.[0-9]{5}, latitude 36\\.[0-9]{5}"));
  plan = smallBlock();
  plan.flight.samples = 12000;
  plan.strips = 18;
  EXPECT_THAT(failure(plan), testing::StartsWith("strip \"Line1\" leaves the elevation model "));
  plan = smallBlock();
  plan.crossStrips = 0;
  plan.flight.heading = 0.0;
  plan.flight.east = 1e5;
  EXPECT_THAT(failure(plan), testing::StartsWith("strip \"Line1\" leaves the elevation model "));
  EXPECT_EQ(test::entryCount(mFolder.path()), 0);
}

// Bands that look ahead see farther than the strip is long: 27 degrees from 2000 m up, 1 km.
TEST_F(Block, BandsThatLookAheadSeeTerrainToo) {
  test::ElevationRaster raster;
  raster.columns = 100;
  raster.rows = 100;
  raster.geoTransform = {500000.0, 20.0, 0.0, 5400000.0, 0.0, -20.0};
  raster.fill([](int, int) { return 300.0; });
  BlockPlan plan = smallBlock();
  plan.flight.dem = raster.write(mFolder, "dem.tif");
  plan.flight.lines = 1000;
  plan.flight.heading = 0.0;
  plan.strips = 1;
  plan.crossStrips = 0;
  EXPECT_THAT(failure(plan), testing::StartsWith("strip \"Line1\" leaves the elevation model "));
  plan.flight.height = 1000.0;
  EXPECT_NO_THROW(fly(plan));
}

TEST_F(Block, PlansThatCantBeFlownLeaveNothing) {
  BlockPlan plan = smallBlock();
  plan.overlap = 91.0;
  EXPECT_EQ(failure(plan), "the overlap must be from 0 to 90 per cent");
  plan = smallBlock();
  plan.flight.renderedBands = {"PANX"};
  EXPECT_THAT(failure(plan), testing::StartsWith("no band \"PANX\" in the camera"));
  plan = smallBlock();
  plan.flight.dem = mFolder / "none.tif";
  EXPECT_EQ(failure(plan), "Can't open elevation model \"" + plan.flight.dem + "\": No such file or directory");
  EXPECT_EQ(test::entryCount(mFolder.path()), 0);
  mFolder.file("block/precious.txt", "mine");
  EXPECT_EQ(failure(smallBlock()), mFolder / "block exists and is not an empty folder");
  EXPECT_EQ(test::contents(mFolder / "block/precious.txt"), "mine");
}

// On disks that fill up at any of the files.
TEST_F(Block, FullDiskLeavesNothingBehind) {
  BlockPlan plan = smallBlock();
  plan.flight.lines = 200;
  plan.flight.samples = 100;
  std::int64_t needed = 0;
  simulation::simulateBlock(plan, mFolder / "block");
  for (auto const& entry : fs::recursive_directory_iterator(mFolder / "block")) {
    constexpr std::int64_t page = 4096;
    needed += entry.is_regular_file() ? (static_cast<std::int64_t>(entry.file_size()) + page - 1) / page * page : 0;
  }
  for (std::int64_t const room : {needed / 10, needed / 2, needed - 30 * 4096, needed - 4 * 4096, needed - 4096}) {
    test::SmallFileSystem const disk(room);
    if (!disk.isMounted()) {
      GTEST_SKIP() << "no file system may be mounted here";
    }
    EXPECT_NE(test::messageOf([&] { simulation::simulateBlock(plan, disk / "block"); }), "") << room;
    EXPECT_EQ(test::entryCount(disk.path()), 0) << room;
  }
}

TEST_F(Block, ProgressRisesToOne) {
  std::vector<double> reports;
  BlockPlan plan = smallBlock();
  plan.points = 3;
  simulation::simulateBlock(plan, mFolder / "block", [&](double done) { reports.push_back(done); });
  EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));
  EXPECT_NEAR(reports.back(), 1.0, 1e-12);
  EXPECT_GE(reports.size(), 5U);
}

}  // namespace
