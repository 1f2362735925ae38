// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "MosaicSupport.h"

#include <algorithm>
#include <cmath>

// Orthophotos of several strips.

namespace {

using kesgdal::OrthoPlan;
using kesgdal::Resampling;
using test::OrthoFlight;
using test::Raster;
using test::TwoFlights;

constexpr double middle = 50.0;  // of 101 samples

// Where a flight has a pixel, by the formula. Whether a position on the very edge belongs to the image is left to the
// solver's tolerance.
struct Sight {
  geo::XYPoint image;
  double distance;
  bool isInside;
  bool isDoubtful;

  Sight(OrthoFlight const& flight, geo::XYPoint const& map)
      : image(flight.image(flight.ground(map).value())), distance(std::abs(image.x - middle)),
        isInside(flight.isInside(image)), isDoubtful(isInside != flight.isInside(image, isInside ? -0.02 : 0.02)) {}
};

struct Counts {
  int first = 0;
  int second = 0;
  int both = 0;
  int neither = 0;
};

// Compares each third column and row of both bands with the strip that is nearer to its middle.
Counts expectNearest(TwoFlights const& flights, Raster const& ortho) {
  Counts counts;
  for (int row = 0; row < ortho.rows; row += 3) {
    for (int column = 0; column < ortho.columns; column += 3) {
      Sight const first(flights.first, ortho.centre(column, row));
      Sight const second(flights.second, ortho.centre(column, row));
      if (first.isDoubtful || second.isDoubtful || std::abs(first.distance - second.distance) < 0.01) {
        continue;
      }
      double const sample = ortho.at(column, row, 1);
      double const line = ortho.at(column, row, 2);
      counts.both += first.isInside && second.isInside;
      if (!first.isInside && !second.isInside) {
        ++counts.neither;
        EXPECT_EQ(sample, -1.0);
        EXPECT_EQ(line, -1.0);
        continue;
      }
      bool const isFirst = first.isInside && (!second.isInside || first.distance < second.distance);
      ++(isFirst ? counts.first : counts.second);
      Sight const& shown = isFirst ? first : second;
      double const base = isFirst ? 1000.0 : 2000.0;
      EXPECT_NEAR(sample, base + shown.image.x, 0.52) << column << ' ' << row;
      EXPECT_NEAR(line, base + shown.image.y, 0.52) << column << ' ' << row;
      if (flights.first.isInside(shown.image, -0.5)) {
        EXPECT_NEAR(sample, base + shown.image.x, 0.002) << column << ' ' << row;
        EXPECT_NEAR(line, base + shown.image.y, 0.01) << column << ' ' << row;
      }
    }
  }
  return counts;
}

// Pixels so small that there are several blocks, and others.
TEST(OrthoMosaic, EachPixelShowsTheStripThatHasItNearestToItsMiddle) {
  TwoFlights const flights;
  for (double const gsd : {0.3, 0.9}) {
    Counts const counts = expectNearest(flights, flights.ortho(flights.first.plan(gsd)));
    double const squareMetres = 9.0 * gsd * gsd;
    EXPECT_GT(counts.first * squareMetres, 25000.0) << gsd;
    EXPECT_GT(counts.second * squareMetres, 25000.0) << gsd;
    EXPECT_GT(counts.both * squareMetres, 15000.0) << gsd;
    EXPECT_GT(counts.neither * squareMetres, 5000.0) << gsd;
  }
}

TEST(OrthoMosaic, OrderOfTheStripsDoesntMatter) {
  TwoFlights const flights;
  OrthoPlan const plan = flights.first.plan(0.7);
  std::string const forward = flights.bytes(plan, flights.strips());
  EXPECT_TRUE(flights.bytes(plan, TwoFlights::strips({&flights.second, &flights.first})) == forward);
}

TEST(OrthoMosaic, FirstOfThoseThatAreAsNearIsShown) {
  TwoFlights const flights({.direction = 1.3});
  OrthoPlan const plan = flights.first.plan();
  Raster const ortho = flights.ortho(plan);
  EXPECT_TRUE(flights.ortho(plan, TwoFlights::strips({&flights.first})).pixels == ortho.pixels);
  EXPECT_TRUE(flights.ortho(plan, TwoFlights::strips({&flights.second})).pixels != ortho.pixels);
}

TEST(OrthoMosaic, GridIsThatOfAllStrips) {
  TwoFlights const flights;
  OrthoPlan const plan = flights.first.plan(2.0);
  Raster const first = flights.ortho(plan, TwoFlights::strips({&flights.first}));
  Raster const second = flights.ortho(plan, TwoFlights::strips({&flights.second}));
  Raster const both = flights.ortho(plan);
  auto const right = [](Raster const& raster) { return raster.centre(raster.columns, 0).x; };
  auto const bottom = [](Raster const& raster) { return raster.centre(0, raster.rows).y; };
  EXPECT_EQ(both.geoTransform[0], std::min(first.geoTransform[0], second.geoTransform[0]));
  EXPECT_EQ(both.geoTransform[3], std::max(first.geoTransform[3], second.geoTransform[3]));
  EXPECT_EQ(right(both), std::max(right(first), right(second)));
  EXPECT_EQ(bottom(both), std::min(bottom(first), bottom(second)));
  EXPECT_LT(first.geoTransform[0], second.geoTransform[0]);
  EXPECT_LT(right(first), right(second));
}

// Samples 30 to 69 of the first image have no data.
TEST(OrthoMosaic, HolesOfAnImageAreFilledFromTheOther) {
  TwoFlights const flights;
  flights.first.writeImage(
      "PANN00A", [](int sample, int) { return sample >= 30 && sample < 70 ? 7.0 : 1000.0 + sample; }, GDT_UInt16, 7.0);
  OrthoPlan plan = flights.first.plan(0.9);
  plan.bands = {"PANN00A"};
  plan.noData = 0.0;
  plan.resampling = Resampling::NEAREST;
  Raster const ortho = flights.ortho(plan);
  int filled = 0;
  int open = 0;
  for (int row = 0; row < ortho.rows; ++row) {
    for (int column = 0; column < ortho.columns; ++column) {
      Sight const first(flights.first, ortho.centre(column, row));
      Sight const second(flights.second, ortho.centre(column, row));
      if (first.isDoubtful || second.isDoubtful || !first.isInside || std::abs(first.image.x - 49.5) > 19.9) {
        continue;
      }
      double const value = ortho.at(column, row);
      ++(second.isInside ? filled : open);
      if (second.isInside) {
        EXPECT_NEAR(value, 2000.0 + second.image.x, 0.52);
      } else {
        EXPECT_EQ(value, 0.0);
      }
    }
  }
  EXPECT_GT(filled, 5000);
  EXPECT_GT(open, 1500);
}

// Where an image has no value at all, NaN, it has no data when that is the value for it.
TEST(OrthoMosaic, ValueForNoDataMayBeNone) {
  TwoFlights const flights;
  flights.first.writeImage("PANN00A", [](int sample, int) { return sample < 70 ? std::nan("") : 1000.0 + sample; });
  OrthoPlan plan = flights.first.plan();
  plan.bands = {"PANN00A"};
  plan.noData = std::nan("");
  plan.resampling = Resampling::NEAREST;
  Raster const ortho = flights.ortho(plan);
  int filled = 0;
  for (int row = 0; row < ortho.rows; ++row) {
    for (int column = 0; column < ortho.columns; ++column) {
      Sight const first(flights.first, ortho.centre(column, row));
      Sight const second(flights.second, ortho.centre(column, row));
      if (first.isInside && first.image.x < 69.0 && second.isInside && !second.isDoubtful) {
        ++filled;
        EXPECT_NEAR(ortho.at(column, row), 2000.0 + second.image.x, 0.52);
      }
    }
  }
  EXPECT_GT(filled, 2000);
}

TEST(OrthoMosaic, TypeIsTheSmallestThatHoldsTheImagesOfAllStrips) {
  TwoFlights const flights;
  flights.first.writeImage(
      "PANN00A", [](int, int) { return 200.0; }, GDT_Byte);
  flights.second.writeImage(
      "PANN00A", [](int, int) { return 40000.0; }, GDT_UInt16);
  OrthoPlan plan = flights.first.plan(3.0);
  plan.bands = {"PANN00A"};
  plan.noData = 0.0;
  Raster const both = flights.ortho(plan);
  EXPECT_EQ(both.type, GDT_UInt16);
  for (double const value : {0.0, 200.0, 40000.0}) {
    EXPECT_GT(std::count(both.pixels.begin(), both.pixels.end(), value), 1000) << value;
  }
  EXPECT_EQ(flights.ortho(plan, TwoFlights::strips({&flights.first})).type, GDT_Byte);
}

// The strips have one band in common.
TEST(OrthoMosaic, BandsAreThoseOfTheStripsThatHaveThem) {
  TwoFlights const flights({.direction = 1.5, .longitude = "-1.399984", .bands = {"PANN00C", "PANN00A"}});
  OrthoPlan plan = flights.first.plan();
  plan.bands = {"PANN00B", "PANN00A", "PANN00C"};
  Raster const ortho = flights.ortho(plan);
  EXPECT_EQ(ortho.descriptions, plan.bands);
  int common = 0;
  for (int row = 0; row < ortho.rows; ++row) {
    for (int column = 0; column < ortho.columns; ++column) {
      Sight const first(flights.first, ortho.centre(column, row));
      Sight const second(flights.second, ortho.centre(column, row));
      if (!first.isDoubtful && !second.isDoubtful) {
        EXPECT_NEAR(ortho.at(column, row, 1), first.isInside ? 1000.0 + first.image.y : -1.0, 0.52);
        EXPECT_EQ(ortho.at(column, row, 2) == -1.0, !first.isInside && !second.isInside);
        EXPECT_NEAR(ortho.at(column, row, 3), second.isInside ? 2000.0 + second.image.x : -1.0, 0.52);
        common += first.isInside && second.isInside;
      }
    }
  }
  EXPECT_GT(common, 5000);
}

// The other strip lies a kilometre aside, after the end of the terrain.
TEST(OrthoMosaic, StripBesideTheTerrainIsLeftOut) {
  TwoFlights const flights({.direction = 1.5, .longitude = "-1.3998"});
  OrthoPlan const plan = flights.first.plan();
  std::string const both = flights.bytes(plan, flights.strips());
  EXPECT_TRUE(both == flights.bytes(plan, TwoFlights::strips({&flights.first})));
}

TEST(OrthoMosaic, FileDoesntDependOnTheThreads) {
  TwoFlights const flights;
  OrthoPlan plan = flights.first.plan(0.2);
  std::string const one = flights.bytes(plan, flights.strips());
  EXPECT_GT(one.size(), 100000U);
  plan.threads = 3;
  EXPECT_TRUE(flights.bytes(plan, flights.strips()) == one);
}

TEST(OrthoMosaic, OneOfSeveralStripsIsTheFileOfOne) {
  TwoFlights const flights;
  OrthoPlan const plan = flights.first.plan();
  std::string const one = flights.bytes(plan, TwoFlights::strips({&flights.second}));
  kesgdal::writeOrthophoto(*flights.second.strip, flights.first.map, *flights.first.terrain, plan, flights.output());
  EXPECT_TRUE(test::contents(flights.output()) == one);
}

TEST(OrthoMosaic, ProgressRisesToTheEnd) {
  TwoFlights const flights;
  OrthoPlan plan = flights.first.plan(0.4);
  plan.threads = 3;
  std::vector<double> reported;
  flights.write(plan, flights.strips(), [&](double done) { reported.push_back(done); });
  EXPECT_TRUE(std::is_sorted(reported.begin(), reported.end()));
  EXPECT_GT(reported.front(), 0.0);
  EXPECT_LT(reported.front(), 0.3);
  EXPECT_EQ(reported.back(), 1.0);
}

}  // namespace
