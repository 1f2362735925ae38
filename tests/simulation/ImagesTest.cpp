// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RenderSupport.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <raster/Statistics.h>
#include <sensor/CameraFactory.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>
#include <simulation/CameraHead.h>
#include <simulation/Images.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace {

using simulation::FlightPlan;
using test::ElevationRaster;
using test::Image;
using test::RenderedFlight;

FlightPlan planOf(std::vector<std::string> const& bands) {
  FlightPlan plan = test::smallPlan();
  plan.lines = 200;
  plan.renderedBands = bands;
  return plan;
}

// A raster of 8 bits over all of the real terrain, whose values rise by 1 per 100 m to the east and by 2 to the south.
ElevationRaster pattern() {
  ElevationRaster raster;
  raster.columns = 320;
  raster.rows = 340;
  raster.geoTransform = {730000.0, 100.0, 0.0, 4070000.0, 0.0, -100.0};
  raster.system = "EPSG:32616";
  raster.type = GDT_UInt16;
  raster.fill([](int column, int row) { return 1000.0 + column + 2.0 * row; });
  return raster;
}

class Images : public testing::Test {
protected:
  RenderedFlight fly(FlightPlan const& plan, char const* name = "flight") const { return {plan, mFolder / name}; }
  std::string failure(FlightPlan const& plan) const {
    return test::messageOf([&] { simulation::simulateFlight(plan, mFolder / "flight"); });
  }

  test::TempFolder mFolder;
};

TEST_F(Images, AreWhereTheStripNamesThem) {
  RenderedFlight const flight = fly(planOf({"all"}));
  std::string message;
  EXPECT_TRUE(flight.strip.model().modelData()->isDataValid(message, true)) << message;
  for (std::string const& band : simulation::CameraHead::bandIds()) {
    Image const image = flight.image(band);
    EXPECT_EQ(image.width, flight.strip.band(band).samples());
    EXPECT_EQ(image.height, 200);
  }
  EXPECT_EQ(flight.image("GRNF16A").width, 375);
  EXPECT_EQ(test::entryCount(flight.folder + "/images"), 20) << "an image and its statistics per band, nothing else";
  EXPECT_EQ(test::entryCount(flight.folder), 8) << "the strip file, seven folders";
}

TEST_F(Images, AreTiledAndCompressedUnsigned16) {
  Image const image = fly(planOf({"PANN00A"})).image("PANN00A");
  EXPECT_TRUE(image.isUnsigned16);
  EXPECT_EQ(image.tileWidth, 256);
  EXPECT_EQ(image.tileHeight, 256);
  EXPECT_EQ(image.compression, "DEFLATE");
  EXPECT_EQ(image.noData, 0.0);
}

TEST_F(Images, OnlyThoseAskedForAreThere) {
  RenderedFlight const flight = fly(planOf({"PANF27B", "NIRF16A", "PANF27B"}));
  EXPECT_EQ(test::entryCount(flight.folder + "/images"), 4);
  EXPECT_TRUE(test::exists(flight.imageName("NIRF16A")));
  EXPECT_EQ(test::entryCount(fly(planOf({}), "none").folder + "/images"), 0);
}

TEST_F(Images, HaveTheirStatistics) {
  RenderedFlight const flight = fly(planOf({"PANN00A"}));
  sensor::KESImage const& entry = *flight.strip.model().img(flight.strip.band("PANN00A").index());
  ASSERT_TRUE(entry.checkForStatistics(0));
  std::unique_ptr<raster::Statistics> const statistics(entry.createStatistics());
  Image const image = flight.image("PANN00A");
  double sum = 0.0;
  double squares = 0.0;
  for (double const pixel : image.pixels) {
    sum += pixel;
    squares += pixel * pixel;
  }
  auto const count = static_cast<double>(image.pixels.size());
  auto const& layer = statistics->layer(0);
  EXPECT_EQ(layer.minimum, *std::min_element(image.pixels.begin(), image.pixels.end()));
  EXPECT_EQ(layer.maximum, *std::max_element(image.pixels.begin(), image.pixels.end()));
  EXPECT_NEAR(layer.mean, sum / count, 1e-6);
  EXPECT_NEAR(layer.standardDeviation, std::sqrt(squares / count - sum / count * sum / count), 1e-3);
  EXPECT_GT(layer.standardDeviation, 1000.0) << "nothing to match";
}

TEST_F(Images, DifferFromPixelToPixel) {
  Image const image = fly(planOf({"PANF27A"})).image("PANF27A");
  double squares = 0.0;
  for (int line = 0; line < image.height; ++line) {
    for (int sample = 1; sample < image.width; ++sample) {
      double const difference = image.at(sample, line) - image.at(sample - 1, line);
      squares += difference * difference;
    }
  }
  EXPECT_GT(std::sqrt(squares / static_cast<double>(image.pixels.size())), 200.0);
}

// Bilinear within a raster that is a plane: its own values, 0 off by rounding.
TEST_F(Images, TextureIsSampledAlone) {
  FlightPlan plan = planOf({"PANF27A", "PANB14A"});
  plan.texture = pattern().write(mFolder, "texture.tif");
  RenderedFlight const flight = fly(plan);
  std::unique_ptr<geo::coordSys> const utm(geo::coordSysFactory::getInstance()->createCoordSys("EPSG:32616"));
  for (std::string const& id : plan.renderedBands) {
    Image const image = flight.image(id);
    for (int line = 0; line < image.height; line += 19) {
      for (int sample = 0; sample < image.width; sample += 23) {
        geo::XYPoint const pixel(sample, line);
        auto ground = flight.ground(pixel, flight.strip.band(id).index(), {800.0, -400.0, 4.0});
        ASSERT_TRUE(ground);
        geo::coordSys::transform(&flight.strip.localSystem().platform(), utm.get(), *ground, *ground);
        double const column = (ground->x - 730000.0) / 100.0 - 0.5;
        double const row = (4070000.0 - ground->y) / 100.0 - 0.5;
        EXPECT_NEAR(image.at(sample, line), 1000.0 + column + 2.0 * row, 0.501);
      }
    }
  }
}

TEST_F(Images, TextureThatCoversNothingGivesZero) {
  ElevationRaster elsewhere = pattern();
  elsewhere.geoTransform[3] += 500000.0;
  FlightPlan plan = planOf({"PANN00A"});
  plan.texture = elsewhere.write(mFolder, "texture.tif");
  Image const image = fly(plan).image("PANN00A");
  EXPECT_EQ(std::count(image.pixels.begin(), image.pixels.end(), 0), 200 * 500);
}

TEST_F(Images, BandsThatTheCameraHasNotAreRefused) {
  EXPECT_EQ(
      failure(planOf({"PANN00A", "PANF28A"})),
      "no band \"PANF28A\" in the camera, which has PANF27A, PANF27B, PANN00A, PANN00B, PANB14A, PANB14B, REDF16A, "
      "GRNF16A, BLUF16A, NIRF16A");
  EXPECT_EQ(test::entryCount(mFolder.path()), 0);
}

TEST_F(Images, TexturesThatCantBeUsedAreRefused) {
  FlightPlan plan = planOf({"PANN00A"});
  plan.texture = mFolder / "none.tif";
  EXPECT_EQ(failure(plan), "can't use texture " + plan.texture + ": No such file or directory");
  EXPECT_FALSE(test::exists(mFolder / "flight"));
  ElevationRaster raster = pattern();
  raster.system.clear();
  plan.texture = raster.write(mFolder, "nowhere.tif");
  EXPECT_EQ(failure(plan), "can't use texture " + plan.texture + ": it has no coordinate system");
  EXPECT_FALSE(test::exists(mFolder / "flight"));
}

// On disks that hold the flight without its images, and then none, some or half of these.
TEST_F(Images, FullDiskLeavesNothingBehind) {
  std::int64_t needed = 0;
  for (auto const& entry : std::filesystem::recursive_directory_iterator(fly(planOf({})).folder)) {
    constexpr std::int64_t page = 4096;
    needed += entry.is_regular_file() ? (static_cast<std::int64_t>(entry.file_size()) / page + 1) * page : page;
  }
  for (std::int64_t const spare : {20000, 100000, 200000, 300000, 700000}) {
    test::SmallFileSystem const disk(needed + spare);
    if (!disk.isMounted()) {
      GTEST_SKIP() << "no file system may be mounted here";
    }
    std::string const message = test::messageOf([&] { simulation::simulateFlight(planOf({"all"}), disk / "flight"); });
    EXPECT_THAT(message, testing::MatchesRegex("can't write (statistics: )?" +
                                               (disk / "\\.flight\\.kes-[a-z2-7]{12}\\.part/images/.*")));
    EXPECT_EQ(test::entryCount(disk.path()), 0);
  }
}

// Cameras are known by their id, which follows from their samples.
TEST_F(Images, FlightsOfOtherWidthsFollowOneAnother) {
  FlightPlan plan = planOf({"PANN00A"});
  for (int const samples : {500, 64, 1024}) {
    plan.samples = samples;
    EXPECT_EQ(fly(plan, std::to_string(samples).c_str()).image("PANN00A").width, samples);
  }
}

TEST_F(Images, AnotherCameraIsNotMistaken) {
  FlightPlan plan = planOf({});
  plan.samples = 70;
  simulation::simulateFlight(plan, mFolder / "other");
  std::filesystem::rename(mFolder / "other/calibration/KESA0_00070", mFolder / "other/calibration/KESA0_00072");
  sensor::CameraFactory::instance()->addSearchPath(mFolder / "other/calibration");
  ASSERT_NE(sensor::CameraFactory::instance()->camera("00072", "KESA0", 3), nullptr);
  plan.renderedBands = {"PANN00A"};
  plan.samples = 72;
  EXPECT_MESSAGE(simulation::simulateFlight(plan, mFolder / "narrow"), "another camera is in use: KESA0_00072");
  EXPECT_FALSE(test::exists(mFolder / "narrow"));
}

TEST_F(Images, ProgressRisesToOne) {
  std::vector<double> reports;
  simulation::simulateFlight(planOf({"PANN00A", "PANN00B"}), mFolder / "flight",
                             [&](double done) { reports.push_back(done); });
  EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));
  EXPECT_NEAR(reports.back(), 1.0, 1e-12);
  EXPECT_GE(reports.size(), 5U);
}

}  // namespace
