// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RenderSupport.h"
#include "support/TempFolder.h"

#include <geo/coordSys.h>
#include <raster/Statistics.h>
#include <sensor/KESStripModel.h>
#include <simulation/CameraHead.h>
#include <simulation/Renderer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

using simulation::FlightPlan;
using test::Image;
using test::RenderedFlight;
using test::Search;

// The steepest that brightness can get, per metre: each octave has an amplitude of 65535 * 0.35 / octaves, and the
// interpolant a slope of 15/8 at the most, along both axes; the squares' sizes fall by half. Two millimetres off may
// cost that much.
double greatestDifference(double finestSquare, int octaves) {
  double const slope = 65535.0 * 0.35 / octaves * 1.875 * std::sqrt(2.0) * 2.0 / finestSquare;
  return 0.5 + 0.002 * slope;
}

struct Stride {
  int lines;
  int samples;
};

// Brightness of pixels over the whole image against the texture at the ground that was found without the renderer.
void expectTexture(RenderedFlight const& flight, std::string const& bandId, Stride const& stride, Search const& search,
                   double tolerance) {
  int const band = flight.strip.band(bandId).index();
  Image const image = flight.image(bandId);
  for (int line = 0; line < image.height; line += stride.lines) {
    for (int sample = 0; sample < image.width; sample += stride.samples) {
      auto const ground = flight.ground({static_cast<double>(sample), static_cast<double>(line)}, band, search);
      ASSERT_TRUE(ground) << bandId << ' ' << sample << ' ' << line;
      EXPECT_NEAR(image.at(sample, line), flight.brightness(*ground), tolerance)
          << bandId << ' ' << sample << ' ' << line;
    }
  }
}

class Renderer : public testing::Test {
protected:
  RenderedFlight fly(FlightPlan const& plan, char const* name = "flight") const { return {plan, mFolder / name}; }

  test::TempFolder mFolder;
};

// Pixels of 0.21 m: squares from 0.5 m to 64 m are eight octaves.
TEST_F(Renderer, PixelsAreTheTextureWhereTheirRaysMeetTheTerrain) {
  FlightPlan plan = test::smallPlan();
  plan.renderedBands = {"all"};
  RenderedFlight const flight = fly(plan);
  for (std::string const& band : simulation::CameraHead::bandIds()) {
    expectTexture(flight, band, {13, 17}, {800.0, -400.0, 4.0}, greatestDifference(0.5, 8));
  }
}

// Pixels of 2 cm: squares from 1/16 m to 64 m are eleven octaves. Ground of all images lies behind the wall for some
// rays.
TEST_F(Renderer, GroundBehindAWallIsNotSeen) {
  FlightPlan plan = test::planOverWall(test::walledGround().write(mFolder));
  plan.renderedBands = {"PANF27A", "PANN00B", "PANB14A"};
  RenderedFlight const flight = fly(plan);
  for (std::string const& band : plan.renderedBands) {
    expectTexture(flight, band, {29, 37}, {60.0, 30.0, 0.01}, greatestDifference(1.0 / 16, 11));
  }
}

// A tower of a wall, 150 m high and 40 m ahead of the flight's middle, far from the ground that the forward image looks
// at (102 m ahead) and higher than all there: it fills the image.
TEST_F(Renderer, WhatStandsBetweenCameraAndGroundIsSeen) {
  test::ElevationRaster tower = test::walledGround().fill([](int, int row) { return row == 160 ? 450.0 : 300.0; });
  FlightPlan plan = test::planOverWall(tower.write(mFolder));
  plan.renderedBands = {"PANF27A"};
  RenderedFlight const flight = fly(plan);
  expectTexture(flight, "PANF27A", {59, 73}, {200.0, 30.0, 0.02}, greatestDifference(1.0 / 16, 11));
  auto const ground = flight.ground({250.0, 150.0}, flight.strip.band("PANF27A").index(), {200.0, 30.0, 0.02});
  ASSERT_TRUE(ground);
  EXPECT_GT(ground->z, 80.0);
}

TEST_F(Renderer, RaysComeFromTheTrueOrientation) {
  FlightPlan plan = test::smallPlan();
  plan.renderedBands = {"PANN00A"};
  RenderedFlight const flight = fly(plan);
  int const band = flight.strip.band("PANN00A").index();
  Image const image = flight.image("PANN00A");
  auto const meanDifference = [&](kes::Strip const& strip) {
    double sum = 0.0;
    for (int line = 0; line < image.height; line += 3) {
      geo::XYPoint const pixel(250.0, line);
      sum +=
          std::fabs(image.at(250, line) - flight.brightness(*flight.ground(strip, pixel, band, {800.0, -400.0, 4.0})));
    }
    return sum / 100.0;
  };
  EXPECT_LT(meanDifference(flight.strip), 3.0);
  kes::StripOptions original;
  original.orientation = kes::Orientation::original;
  EXPECT_GT(meanDifference(kes::Strip(flight.folder + "/" + flight.files.strip, original)), 50.0)
      << "navigation's errors of half a pixel";
}

// A place that the nadir band has at a pixel's centre lies between four pixels of the others.
TEST_F(Renderer, BandsSeeTheSameGround) {
  FlightPlan plan = test::planOverWall(test::walledGround().fill([](int, int) { return 300.0; }).write(mFolder));
  plan.lines = 6500;
  plan.renderedBands = {"PANF27A", "PANN00A"};
  RenderedFlight const flight = fly(plan);
  Image const nadir = flight.image("PANN00A");
  Image const forward = flight.image("PANF27A");
  int const band = flight.strip.band("PANN00A").index();
  int compared = 0;
  for (int line = 0; line < nadir.height; line += 29) {
    auto const ground = flight.ground({250.0, static_cast<double>(line)}, band, {60.0, 30.0, 1.0});
    ASSERT_TRUE(ground);
    geo::XYPoint place;
    flight.strip.model().lsrToImage(*ground, flight.strip.band("PANF27A").index(), place);
    if (place.x >= 0.0 && place.x < 498.0 && place.y >= 0.0 && place.y < forward.height - 2.0) {
      int const i = static_cast<int>(place.x);
      int const j = static_cast<int>(place.y);
      double const u = place.x - i;
      double const v = place.y - j;
      double const between = (forward.at(i, j) * (1 - u) + forward.at(i + 1, j) * u) * (1 - v) +
                             (forward.at(i, j + 1) * (1 - u) + forward.at(i + 1, j + 1) * u) * v;
      EXPECT_NEAR(between, nadir.at(250, line), 400.0) << line;
      ++compared;
    }
  }
  EXPECT_GT(compared, 20);
}

TEST_F(Renderer, ImagesDontDependOnThreads) {
  FlightPlan plan = test::smallPlan();
  plan.renderedBands = {"PANB14B", "REDF16A"};
  plan.threads = 1;
  RenderedFlight const one = fly(plan, "one");
  plan.threads = 2;
  RenderedFlight const two = fly(plan, "two");
  plan.threads = 5;
  RenderedFlight const five = fly(plan, "five");
  for (std::string const& band : plan.renderedBands) {
    std::string const expected = test::contents(one.imageName(band));
    EXPECT_EQ(test::contents(two.imageName(band)), expected);
    EXPECT_EQ(test::contents(five.imageName(band)), expected);
  }
}

TEST_F(Renderer, RowsDontDependOnWhichAreAskedFor) {
  RenderedFlight const flight = fly(test::smallPlan());
  simulation::Renderer const renderer(flight.strip.band(0), flight.terrain.surface(), *flight.texture);
  std::vector<std::uint16_t> const all = renderer.rows(0, 30, 2);
  std::vector<std::uint16_t> const some = renderer.rows(20, 5, 1);
  EXPECT_TRUE(std::equal(some.begin(), some.end(), all.begin() + 10000)) << "after 20 rows of 500";
}

TEST_F(Renderer, TextureSeedChangesTheGroundAndNothingElse) {
  FlightPlan plan = test::smallPlan();
  plan.renderedBands = {"PANN00A"};
  RenderedFlight const first = fly(plan, "first");
  plan.textureSeed = 2;
  RenderedFlight const second = fly(plan, "second");
  EXPECT_NE(first.image("PANN00A").pixels, second.image("PANN00A").pixels);
  EXPECT_EQ(test::contents(first.folder + "/" + first.files.trueEop),
            test::contents(second.folder + "/" + second.files.trueEop));
}

// A swath that reaches beyond the elevation model: no ground, no brightness, and ground within.
TEST_F(Renderer, WithoutGroundPixelsAreZero) {
  test::ElevationRaster narrow = test::walledGround();
  narrow.columns = 6;
  narrow.geoTransform[0] = 500300.0;
  FlightPlan plan = test::planOverWall(narrow.fill([](int, int) { return 300.0; }).write(mFolder));
  plan.renderedBands = {"PANN00A"};
  RenderedFlight const flight = fly(plan);
  Image const image = flight.image("PANN00A");
  int const band = flight.strip.band("PANN00A").index();
  int empty = 0;
  for (int sample = 0; sample < image.width; ++sample) {
    auto const ground = flight.ground({static_cast<double>(sample), 100.0}, band, {60.0, 30.0, 1.0});
    EXPECT_EQ(image.at(sample, 100) == 0, !ground) << sample;
    empty += ground ? 0 : 1;
  }
  EXPECT_GT(empty, 50);
  EXPECT_LT(empty, 450);
}

}  // namespace
