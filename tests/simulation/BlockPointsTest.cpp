// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BlockSupport.h"
#include "RenderSupport.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <simulation/FlightFrame.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <set>
#include <utility>

namespace {

using simulation::BlockPlan;
using test::FlownBlock;
using test::nadir;
using test::smallBlock;

// Root mean square differences of measurements and projections, pixels.
struct Residuals {
  double sample = 0.0;
  double line = 0.0;
  int count = 0;
};

Residuals residualsOf(FlownBlock const& flown) {
  Residuals sum;
  flown.forEachMeasurement([&](auto const& strip, int band, auto const& ground, auto const& image) {
    geo::XYPoint place;
    strip.mapToImage({ground.x, ground.y, ground.z}, band, place);
    sum.sample += (image.x - place.x) * (image.x - place.x);
    sum.line += (image.y - place.y) * (image.y - place.y);
    ++sum.count;
  });
  return {std::sqrt(sum.sample / sum.count), std::sqrt(sum.line / sum.count), sum.count};
}

class BlockPoints : public testing::Test {
protected:
  FlownBlock fly(BlockPlan const& plan) const { return {plan, mFolder / "block"}; }

  test::TempFolder mFolder;
};

TEST_F(BlockPoints, GroundPointsLieOnTheTerrain) {
  FlownBlock const flown = fly(smallBlock());
  std::set<std::string> ids;
  for (geo::GroundPoint const& point : flown.block.groundPoints().points()) {
    geo::XYZPoint place;
    ASSERT_EQ(geo::coordSys::transform(flown.block.coordSys(), flown.terrain.source().coordSystem(),
                                       {point.x, point.y, point.z}, place),
              0);
    float height = 0.0F;
    ASSERT_TRUE(flown.terrain.source().height(place, height));
    EXPECT_NEAR(place.z, static_cast<double>(height), 1e-4);
    EXPECT_EQ(point.sx, 0.01);
    EXPECT_EQ(point.sy, 0.01);
    EXPECT_EQ(point.sz, 0.01);
    EXPECT_EQ(point.type, 0);
    ids.insert(point.id);
  }
  EXPECT_EQ(ids.size(), 60U);
  EXPECT_EQ(*ids.begin(), "P001");
  EXPECT_EQ(*ids.rbegin(), "P060");
}

// 0.01 m are 0.01 / 6378137 radians of longitude on the equator, by which the unit of a geographic system is defined.
TEST_F(BlockPoints, MapMayBeAnother) {
  BlockPlan plan = smallBlock();
  plan.crs = "EPSG:4326";
  FlownBlock const flown = fly(plan);
  geo::GroundPoint const& point = flown.block.groundPoints().points().front();
  EXPECT_NEAR(point.x, -84.2458, 0.02);
  EXPECT_NEAR(point.y, 36.5896, 0.02);
  EXPECT_NEAR(point.sx, 0.01 / 6378137.0 * 57.29577951308232, 1e-10);
  EXPECT_EQ(point.sz, 0.01);
  Residuals const residuals = residualsOf(flown);
  EXPECT_LT(residuals.sample, 0.4);
  EXPECT_LT(residuals.line, 0.4);
  plan.crs = "EPSG:0";
  EXPECT_THAT(test::messageOf([&] { simulation::simulateBlock(plan, mFolder / "none"); }),
              testing::StartsWith("Can't create coordinate system \"EPSG:0\": "));
  EXPECT_FALSE(test::exists(mFolder / "none"));
}

TEST_F(BlockPoints, MostGroundPointsLieInSeveralStrips) {
  FlownBlock const flown = fly(smallBlock());
  std::map<std::string, std::set<std::string>> stripsOf;
  for (std::string const& name : flown.stripNames()) {
    sensor::ImagePointList const list = flown.measurements(name, flown.strip(name).bandIndex(nadir));
    for (geo::ImagePoint const& image : list.points()) {
      stripsOf[image.id].insert(name);
    }
  }
  EXPECT_EQ(stripsOf.size(), 60U) << "all in one at least";
  auto const several =
      std::count_if(stripsOf.begin(), stripsOf.end(), [](auto const& p) { return p.second.size() > 1; });
  EXPECT_GE(several, 45);
}

// In each ninth of the block's rectangle, about its middle and along its heading.
TEST_F(BlockPoints, GroundPointsAreSpreadOut) {
  FlownBlock const flown = fly(smallBlock());
  simulation::FlightFrame const frame(flown.plan.flight, flown.terrain);
  std::unique_ptr<geo::coordSys> const local(geo::coordSysFactory::getInstance()->createLSR84(frame.middle()));
  double const heading = 20.0 * 0.017453292519943295;
  std::set<std::pair<int, int>> ninths;
  for (geo::GroundPoint const& point : flown.block.groundPoints().points()) {
    geo::XYZPoint place;
    geo::coordSys::transform(flown.block.coordSys(), local.get(), {point.x, point.y, point.z}, place);
    double const ahead = place.x * std::sin(heading) + place.y * std::cos(heading);
    double const right = place.x * std::cos(heading) - place.y * std::sin(heading);
    ninths.emplace(static_cast<int>(std::lround(ahead / frame.halfLength() * 1.5)),
                   static_cast<int>(std::lround(right / flown.plan.width() * 3.0)));
  }
  EXPECT_EQ(ninths.size(), 9U);
}

// Of n errors of 0.3 pixels, the root mean square has a standard deviation of 0.3 / sqrt(2n).
TEST_F(BlockPoints, MeasurementsAreProjectionsWithNoise) {
  BlockPlan plan = smallBlock();
  plan.points = 400;
  FlownBlock const flown = fly(plan);
  Residuals const residuals = residualsOf(flown);
  ASSERT_GT(residuals.count, 2000);
  double const bound = 4.0 * 0.3 / std::sqrt(2.0 * residuals.count);
  EXPECT_NEAR(residuals.sample, 0.3, bound);
  EXPECT_NEAR(residuals.line, 0.3, bound);
  flown.forEachMeasurement([](auto const& strip, int band, auto const&, auto const& image) {
    EXPECT_EQ(image.sx, 0.3);
    EXPECT_EQ(image.sy, 0.3);
    EXPECT_TRUE(image.active);
    EXPECT_TRUE(image.x >= 0.0 && image.x <= strip.imageWidth(band) - 1.0) << image.x;
    EXPECT_TRUE(image.y >= 0.0 && image.y <= strip.imageHeight(band) - 1.0) << image.y;
  });
}

// The adjusted orientation adds its 0.06 pixels to the noise of 0.3, the original one its 0.55.
TEST_F(BlockPoints, OrientationsOfTheStripsMissByTheirErrors) {
  BlockPlan plan = smallBlock();
  plan.points = 200;
  FlownBlock const flown = fly(plan);
  auto const residualsWith = [&](bool original) {
    for (std::string const& name : flown.stripNames()) {
      flown.block.strip(name)->unloadData();
      flown.block.strip(name)->loadData(original, false);
    }
    return residualsOf(flown);
  };
  Residuals const adjusted = residualsWith(false);
  EXPECT_NEAR(adjusted.sample, std::hypot(0.3, 0.06), 0.02);
  EXPECT_NEAR(adjusted.line, std::hypot(0.3, 0.06), 0.02);
  Residuals const original = residualsWith(true);
  EXPECT_NEAR(original.sample, std::hypot(0.3, 0.55), 0.25);
  EXPECT_NEAR(original.line, std::hypot(0.3, 0.55), 0.25);
}

// Back on the ground they are where the points are: files have three decimals, and the library takes lines below 8192
// to 1/4096. Ahead (27 degrees: 1.26), at a lower rate (9/8) and on low ground, pixels are less than twice as large as
// those straight below.
TEST_F(BlockPoints, MeasurementsWithoutNoiseAreProjections) {
  BlockPlan plan = smallBlock();
  plan.noise = 0.0;
  FlownBlock const flown = fly(plan);
  flown.forEachMeasurement([&](auto const& strip, int band, auto const& ground, auto const& image) {
    geo::XYZPoint expected;
    geo::coordSys::transform(flown.block.coordSys(), strip.lsrSystem(), {ground.x, ground.y, ground.z}, expected);
    geo::XYZPoint place;
    strip.imageToLsr({image.x, image.y}, static_cast<float>(expected.z), band, place);
    double const pixels = std::hypot(place.x - expected.x, place.y - expected.y) / static_cast<double>(strip.gsd(band));
    EXPECT_LT(pixels, 2.0 * std::hypot(0.0005, 0.0005 + 1.0 / 4096.0)) << ground.id;
    EXPECT_EQ(image.sx, 0.0);
  });
}

// One measurement's noise says nothing about another's: neither in the other direction, nor in the next band, nor the
// next strip.
TEST_F(BlockPoints, NoiseOfBandsIsTheirOwn) {
  BlockPlan plan = smallBlock();
  plan.points = 400;
  FlownBlock const flown = fly(plan);
  std::map<std::pair<std::string, int>, std::map<std::string, double>> errors;
  flown.forEachMeasurement([&](auto const& strip, int band, auto const& ground, auto const& image) {
    geo::XYPoint place;
    strip.mapToImage({ground.x, ground.y, ground.z}, band, place);
    errors[{strip.name(), band}][image.id] = (image.x - place.x) / 0.3;
  });
  double sum = 0.0;
  int count = 0;
  for (auto const& [image, ofImage] : errors) {
    for (auto const& [id, error] : ofImage) {
      auto const next = errors.find({image.first, image.second + 1});
      if (next != errors.end() && next->second.count(id) != 0) {
        sum += error * next->second.at(id);
        ++count;
      }
    }
  }
  ASSERT_GT(count, 1000);
  EXPECT_NEAR(sum / count, 0.0, 4.0 / std::sqrt(count));
}

// Every ground point that the sensor model has well inside an image is measured, but for those that walls hide.
TEST_F(BlockPoints, HiddenPointsArentMeasured) {
  test::ElevationRaster const ground = test::walledGround();
  BlockPlan plan;
  plan.flight = test::planOverWall(ground.write(mFolder, "dem.tif"));
  plan.flight.lines = 5000;
  plan.strips = 1;
  plan.points = 150;
  plan.noise = 0.0;
  FlownBlock const flown = fly(plan);
  sensor::KESStripModel const& strip = flown.strip("Line1");
  int const band = strip.bandIndex("PANB14A");
  sensor::ImagePointList const measurements = flown.measurements("Line1", band);
  int hidden = 0;
  int seen = 0;
  for (geo::GroundPoint const& point : flown.block.groundPoints().points()) {
    auto const place = test::placeInImage(strip, band, point);
    if (!place) {
      continue;
    }
    geo::XYZPoint local;
    geo::coordSys::transform(flown.block.coordSys(), strip.lsrSystem(), {point.x, point.y, point.z}, local);
    geo::XYZPoint above;
    strip.imageToLsr(*place, static_cast<float>(local.z + 100.0), band, above);
    auto const line = [&](double z) {
      double const w = (z - local.z) / (above.z - local.z);
      return geo::XYZPoint(local.x + (above.x - local.x) * w, local.y + (above.y - local.y) * w, z);
    };
    auto const met = test::firstMeeting(line, *strip.lsrSystem(), flown.terrain, {local.z + 40.0, local.z - 0.01, 0.1});
    bool const isHidden = met.value_or(local.z) > local.z + 0.1;
    geo::ImagePoint image;
    EXPECT_EQ(measurements.imagePoint(point.id, image), isHidden ? 1 : 0) << point.id;
    ++(isHidden ? hidden : seen);
  }
  EXPECT_GT(hidden, 10);
  EXPECT_GT(seen, 20);
}

}  // namespace
