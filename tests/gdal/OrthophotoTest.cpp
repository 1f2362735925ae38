// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoSupport.h"

#include <geo/coordSysFactory.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

namespace {

using kesgdal::OrthoPlan;
using kesgdal::Resampling;
using test::OrthoFlight;
using test::Raster;

constexpr double pi = 3.14159265358979323846;

// How the pixels of an orthophoto compare with a function of the image position that its centre has by the formula.
struct Comparison {
  int seen = 0;
  int holes = 0;
  double greatest = 0.0;
  int wrongHoles = 0;
};

// `border`: pixels from the image's edge in which values aren't compared, since interpolation lacks neighbours there.
template <class Expected>
Comparison compare(OrthoFlight const& flight, Raster const& ortho, int band, double border, Expected expected) {
  Comparison result;
  for (int row = 0; row < ortho.rows; ++row) {
    for (int column = 0; column < ortho.columns; ++column) {
      double const value = ortho.at(column, row, band);
      auto const ground = flight.ground(ortho.centre(column, row));
      if (!ground) {
        result.wrongHoles += value != *ortho.noData;
        continue;
      }
      geo::XYPoint const image = flight.image(*ground);
      bool const hole = value == *ortho.noData;
      // Whether a position on the very edge belongs to the image is left to the solver's tolerance.
      result.wrongHoles += flight.isInside(image, hole ? -0.02 : 0.02) == hole;
      hole ? ++result.holes : ++result.seen;
      if (flight.isInside(image, -border)) {
        result.greatest = std::max(result.greatest, std::abs(value - expected(image)));
      }
    }
  }
  return result;
}

Comparison compareSamples(OrthoFlight const& flight, Raster const& ortho) {
  return compare(flight, ortho, 1, 0.5, [](geo::XYPoint const& image) { return 100.0 + image.x; });
}

Comparison compareLines(OrthoFlight const& flight, Raster const& ortho) {
  return compare(flight, ortho, 2, 0.5, [](geo::XYPoint const& image) { return 100.0 + image.y; });
}

// Linear brightness stays what it is between pixels: each pixel of the orthophoto says which place of the image it
// shows.
TEST(Orthophoto, EachPixelShowsThePlaceOfTheImageThatSawItsGround) {
  for (double const direction : {0.0, 0.5, 2.2}) {
    OrthoFlight flight(direction);
    flight.writePositions();
    for (Resampling const resampling : {Resampling::BILINEAR, Resampling::CUBIC}) {
      OrthoPlan plan = flight.plan(0.9);
      plan.resampling = resampling;
      Raster const ortho = flight.ortho(plan);
      Comparison const samples = compareSamples(flight, ortho);
      Comparison const lines = compareLines(flight, ortho);
      EXPECT_GT(samples.seen, 60000);
      EXPECT_GT(samples.holes, 1000);
      EXPECT_EQ(samples.wrongHoles, 0);
      EXPECT_EQ(lines.wrongHoles, 0);
      EXPECT_LT(samples.greatest, 0.002);
      EXPECT_LT(lines.greatest, 0.01);
    }
  }
}

TEST(Orthophoto, NearestTakesThePixelAroundThePosition) {
  OrthoFlight flight(0.3);
  flight.writePositions();
  OrthoPlan plan = flight.plan(0.9);
  plan.resampling = Resampling::NEAREST;
  Raster const ortho = flight.ortho(plan);
  EXPECT_LT(compareSamples(flight, ortho).greatest, 0.502);
  EXPECT_LT(compareLines(flight, ortho).greatest, 0.51);
  EXPECT_EQ(ortho.at(ortho.columns / 2, ortho.rows / 2, 1), std::round(ortho.at(ortho.columns / 2, ortho.rows / 2, 1)));
}

// A wave of six lines. Interpolated at the image's own resolution, a cubic function leaves a few per cent of it; a
// filter that is as much wider as the box around a strip that runs across the map at 45 degrees leaves less than half.
TEST(Orthophoto, SharpnessDoesntDependOnTheDirectionOfFlight) {
  for (double const direction : {0.0, pi / 4.0}) {
    OrthoFlight flight({.direction = direction, .lines = 1500});
    flight.relief.geoTransform[1] = 10.0;
    flight.relief.geoTransform[5] = -12.0;
    flight.relief.geoTransform[3] += 1000.0;
    flight.openTerrain();
    auto const wave = [](double line) { return 500.0 + 400.0 * std::sin(2.0 * pi * line / 6.0); };
    flight.writeImage("PANN00A", [&](int, int line) { return wave(line); });
    OrthoPlan plan = flight.plan(1.0);
    plan.bands = {"PANN00A"};
    Comparison const lines =
        compare(flight, flight.ortho(plan), 1, 8.0, [&](geo::XYPoint const& image) { return wave(image.y); });
    EXPECT_GT(lines.seen, 250000);
    EXPECT_EQ(lines.wrongHoles, 0);
    EXPECT_LT(lines.greatest, 40.0) << direction;
  }
}

// Pixels of 8 m are four samples wide and eight lines long: a pattern of single pixels comes to its mean.
TEST(Orthophoto, CoarserPixelsAreMeansOfTheImage) {
  OrthoFlight flight(0.2);
  flight.writeImage("PANN00A", [](int sample, int line) { return (sample + line) % 2 == 0 ? 200.0 : 100.0; });
  OrthoPlan plan = flight.plan(8.0);
  plan.bands = {"PANN00A"};
  for (Resampling const resampling : {Resampling::BILINEAR, Resampling::CUBIC}) {
    plan.resampling = resampling;
    Raster const ortho = flight.ortho(plan);
    EXPECT_LT(compare(flight, ortho, 1, 16.0, [](geo::XYPoint const&) { return 150.0; }).greatest, 5.0);
  }
}

TEST(Orthophoto, CoarserPixelsStayInPlace) {
  OrthoFlight flight({.direction = 0.5, .lines = 600});
  flight.relief.geoTransform[1] = 6.0;
  flight.relief.geoTransform[5] = -8.0;
  flight.relief.geoTransform[3] += 400.0;
  flight.openTerrain();
  flight.writePositions();
  for (auto const& [resampling, tolerance] :
       {std::pair(Resampling::BILINEAR, 0.1), std::pair(Resampling::CUBIC, 0.03)}) {
    for (double const gsd : {1.02, 1.5, 2.5, 4.0, 7.0}) {
      OrthoPlan plan = flight.plan(gsd);
      plan.resampling = resampling;
      Raster const ortho = flight.ortho(plan);
      double const border = 2.0 * gsd + 1.0;
      auto const sample = [](geo::XYPoint const& image) { return 100.0 + image.x; };
      auto const line = [](geo::XYPoint const& image) { return 100.0 + image.y; };
      EXPECT_LT(compare(flight, ortho, 1, border, sample).greatest, tolerance) << gsd;
      EXPECT_LT(compare(flight, ortho, 2, border, line).greatest, tolerance) << gsd;
    }
  }
}

// Blocks of 64 pixels, each of which needs 64 * 64 lines or fewer.
TEST(Orthophoto, VeryCoarsePixelsAreMadeInSmallBlocks) {
  OrthoFlight flight({.direction = 0.2, .lines = 900});
  flight.relief.geoTransform[1] = 12.0;
  flight.relief.geoTransform[5] = -12.0;
  flight.relief.geoTransform[3] += 500.0;
  flight.openTerrain();
  flight.writePositions();
  OrthoPlan plan = flight.plan(64.0);
  plan.resampling = Resampling::BILINEAR;
  Comparison const lines =
      compare(flight, flight.ortho(plan), 2, 64.0, [](geo::XYPoint const& image) { return 100.0 + image.y; });
  EXPECT_GT(lines.seen, 40);
  EXPECT_EQ(lines.wrongHoles, 0);
}

TEST(Orthophoto, FileStatesBandsMapAndNoData) {
  OrthoFlight flight;
  flight.writePositions();
  OrthoPlan plan = flight.plan(1.5);
  plan.bands = {"PANN00B", "PANN00A", "PANN00B"};
  Raster const ortho = flight.ortho(plan);
  EXPECT_EQ(ortho.descriptions, (std::vector<std::string>{"PANN00B", "PANN00A", "PANN00B"}));
  EXPECT_EQ(ortho.epsg, 32617);
  EXPECT_EQ(ortho.layout, "COG");
  EXPECT_EQ(ortho.noData, -1.0);
  EXPECT_EQ(ortho.type, GDT_Float32);
  for (int const i : {0, 3}) {
    double const pixels = ortho.geoTransform[static_cast<std::size_t>(i)] / 1.5;
    EXPECT_EQ(pixels, std::round(pixels));
  }
  EXPECT_EQ(ortho.geoTransform[1], 1.5);
  EXPECT_EQ(ortho.geoTransform[5], -1.5);
  for (int row = 0; row < ortho.rows; ++row) {
    for (int column = 0; column < ortho.columns; ++column) {
      ASSERT_EQ(ortho.at(column, row, 1), ortho.at(column, row, 3));
    }
  }
}

TEST(Orthophoto, TypeIsTheSmallestThatHoldsAllImages) {
  OrthoFlight flight;
  OrthoPlan plan = flight.plan(3.0);
  plan.noData = 0.0;
  flight.writeImage(
      "PANN00A", [](int, int) { return 200.0; }, GDT_Byte);
  flight.writeImage(
      "PANN00B", [](int, int) { return 40000.0; }, GDT_UInt16);
  Raster const both = flight.ortho(plan);
  EXPECT_EQ(both.type, GDT_UInt16);
  EXPECT_EQ(both.at(both.columns / 2, both.rows / 2, 1), 200.0);
  EXPECT_EQ(both.at(both.columns / 2, both.rows / 2, 2), 40000.0);
  plan.bands = {"PANN00A"};
  EXPECT_EQ(flight.ortho(plan).type, GDT_Byte);
}

TEST(Orthophoto, PixelsOfTheImageThatHaveTheValueForNoDataBecomeTheNextOne) {
  OrthoFlight flight;
  flight.writeImage(
      "PANN00A", [](int, int) { return 0.0; }, GDT_UInt16);
  OrthoPlan plan = flight.plan(3.0);
  plan.bands = {"PANN00A"};
  plan.noData = 0.0;
  Raster const ortho = flight.ortho(plan);
  EXPECT_EQ(ortho.at(ortho.columns / 2, ortho.rows / 2), 1.0);
  EXPECT_EQ(ortho.at(0, 0), 0.0);
}

TEST(Orthophoto, PixelsOfTheImageWithoutDataStayWithout) {
  OrthoFlight flight;
  flight.relief.fill([](int, int) { return 500.0; });
  flight.openTerrain();
  flight.writeImage(
      "PANN00A", [](int, int line) { return line < 150 ? 7.0 : 500.0; }, GDT_UInt16, 7.0);
  OrthoPlan plan = flight.plan(1.0);
  plan.bands = {"PANN00A"};
  plan.noData = 0.0;
  Raster const ortho = flight.ortho(plan);
  Comparison const before = compare(flight, ortho, 1, 200.0, [](geo::XYPoint const&) { return 0.0; });
  EXPECT_GT(before.holes, 200 * 150);
  for (int row = 0; row < ortho.rows; ++row) {
    for (int column = 0; column < ortho.columns; ++column) {
      double const value = ortho.at(column, row);
      ASSERT_TRUE(value == 0.0 || value == 500.0) << value;
    }
  }
}

// The terrain has cells of 4 m by 5 m; single ones of them, between the positions that a block is looked at by first.
TEST(Orthophoto, TerrainOfSingleCellsIsSeenWhole) {
  OrthoFlight flight(0.5);
  flight.relief.noData = -1.0;
  flight.relief.fill([](int column, int row) { return column % 7 == 3 && row % 5 == 2 ? 520.0 : -1.0; });
  flight.openTerrain();
  flight.writePositions();
  Raster const ortho = flight.ortho(flight.plan(0.5));
  Comparison const samples = compareSamples(flight, ortho);
  EXPECT_GT(samples.seen, 3000);
  EXPECT_EQ(samples.wrongHoles, 0);
  EXPECT_LT(samples.greatest, 0.002);
}

// All of it lies between positions of the sparse grid, which are 8 m apart; one in three of such cells meets one.
TEST(Orthophoto, TerrainOfOneCellIsSeen) {
  for (int const column : {140, 151, 163, 170}) {
    OrthoFlight flight;
    flight.relief.noData = -1.0;
    flight.relief.fill([&](int i, int j) { return i == column && j == 101 ? 500.0 : -1.0; });
    flight.openTerrain();
    flight.writePositions();
    // 20 square metres.
    EXPECT_NEAR(compareSamples(flight, flight.ortho(flight.plan(0.5))).seen, 80, 1) << column;
  }
}

// Looking ahead, the top of a needle is seen 150 lines before its foot: from lines that a block doesn't need by
// its sparse grid of positions, which passes most of the needles.
TEST(Orthophoto, NeedlesBetweenThePositionsOfTheSparseGridAreSeen) {
  OrthoFlight flight({.direction = 0.0, .lines = 1500, .look = 0.5});
  flight.relief.columns = 1500;
  flight.relief.rows = 160;
  flight.relief.geoTransform = {flight.mapOf({400.0, 0.0, 0.0}).x,    1.2, 0.0,
                                flight.mapOf({1000.0, 120.0, 0.0}).y, 0.0, -1.5};
  flight.relief.fill([](int column, int row) { return column % 11 == 3 && row % 7 == 4 ? 800.0 : 500.0; });
  flight.openTerrain();
  flight.writePositions();
  OrthoPlan plan = flight.plan(0.5);
  plan.resampling = Resampling::BILINEAR;
  Comparison const lines = compareLines(flight, flight.ortho(plan));
  EXPECT_GT(lines.seen, 500000);
  EXPECT_EQ(lines.wrongHoles, 0);
  EXPECT_LT(lines.greatest, 0.02);
}

TEST(Orthophoto, TerrainThatCoversAPartGivesThatPart) {
  OrthoFlight flight(0.5);
  flight.relief.columns = 150;
  flight.relief.fill([](int, int row) { return 500.0 + row % 3; });
  flight.openTerrain();
  flight.writePositions();
  Comparison const samples = compareSamples(flight, flight.ortho(flight.plan(1.0)));
  EXPECT_GT(samples.seen, 10000);
  EXPECT_EQ(samples.wrongHoles, 0);
  EXPECT_LT(samples.greatest, 0.002);
}

TEST(Orthophoto, MapMayBeGeographicAndTheTerrainElsewhere) {
  OrthoFlight flight(0.5);
  flight.writePositions();
  kes::CoordinateSystem const degrees("EPSG:4326");
  kesgdal::writeOrthophoto(*flight.strip, degrees, *flight.terrain, flight.plan(1.0), flight.folder / "ortho.tif");
  Raster const ortho(flight.folder / "ortho.tif");
  EXPECT_EQ(ortho.epsg, 4326);
  EXPECT_NEAR(ortho.geoTransform[1], 1.0 / 111319.49079327358, 1e-12);
  int compared = 0;
  for (int row = 5; row < ortho.rows; row += 10) {
    for (int column = 5; column < ortho.columns; column += 10) {
      geo::XYPoint const centre = ortho.centre(column, row);
      std::vector<geo::XYZPoint> map{{centre.x, centre.y, 0.0}};
      degrees.transform(flight.map, map, map);
      geo::XYPoint const image = flight.image(*flight.ground({map[0].x, map[0].y}));
      if (flight.isInside(image, -1.0)) {
        ++compared;
        EXPECT_NEAR(ortho.at(column, row, 1), 100.0 + image.x, 0.002);
        EXPECT_NEAR(ortho.at(column, row, 2), 100.0 + image.y, 0.01);
      }
    }
  }
  EXPECT_GT(compared, 300);
}

std::string bytesOf(OrthoFlight& flight, int threads) {
  OrthoPlan plan = flight.plan(0.2);
  plan.bands = {"PANN00B"};
  plan.noData = 0.0;
  plan.threads = threads;
  flight.ortho(plan);
  return test::contents(flight.folder / "ortho.tif");
}

TEST(Orthophoto, FileDoesntDependOnTheThreads) {
  OrthoFlight flight(0.8);
  flight.writeImage(
      "PANN00B", [](int sample, int line) { return sample * line % 251; }, GDT_Byte);
  std::string const one = bytesOf(flight, 1);
  EXPECT_GT(one.size(), 100000U);
  EXPECT_TRUE(bytesOf(flight, 5) == one);
}

TEST(Orthophoto, ProgressRisesToTheEnd) {
  OrthoFlight flight;
  flight.writePositions();
  OrthoPlan plan = flight.plan(0.4);
  plan.threads = 3;
  std::vector<double> reported;
  flight.ortho(plan, [&](double done) { reported.push_back(done); });
  EXPECT_TRUE(std::is_sorted(reported.begin(), reported.end()));
  EXPECT_GT(reported.size(), 3U);
  EXPECT_GT(reported.front(), 0.0);
  EXPECT_EQ(reported.back(), 1.0);
}

TEST(Orthophoto, OlderFileIsReplacedWithWhatLiesBesideIt) {
  OrthoFlight flight;
  flight.writePositions();
  flight.folder.file("ortho.tif", "older");
  flight.folder.file("ortho.tif.aux.xml", "older");
  flight.folder.file("ortho.tif.ovr", "older");
  int const before = test::entryCount(flight.folder.path());
  Raster const ortho = flight.ortho(flight.plan());
  EXPECT_EQ(ortho.bands, 2);
  EXPECT_EQ(test::entryCount(flight.folder.path()), before - 2);
  EXPECT_EQ(std::filesystem::status(flight.folder / "ortho.tif").permissions() & std::filesystem::perms::others_read,
            std::filesystem::perms::others_read);
}

}  // namespace
