// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoSupport.h"

#include <cmath>
#include <filesystem>
#include <limits>

// Orthophotos of images that lie otherwise in their files, or are seen otherwise, than most.

namespace {

using kesgdal::OrthoPlan;
using kesgdal::Resampling;
using test::OrthoFlight;
using test::Raster;

// Writes an image again, with other options.
void rewrite(std::string const& name, std::vector<char const*> options) {
  options.push_back(nullptr);
  {
    GDALDatasetUniquePtr const old(GDALDataset::Open(name.c_str()));
    GDALDriver* const tiff = GetGDALDriverManager()->GetDriverByName("GTiff");
    GDALDatasetUniquePtr const made(
        tiff->CreateCopy((name + "~").c_str(), old.get(), 0, options.data(), nullptr, nullptr));
    ASSERT_NE(made, nullptr);
  }
  std::filesystem::rename(name + "~", name);
}

// 101 samples and 300 lines: tiles of 16 and 64 pixels are cut by both edges of the image.
TEST(OrthoImages, BlocksOfTheImagesFileDontMatter) {
  OrthoFlight flight(0.7);
  flight.writeImage(
      "PANN00A", [](int sample, int line) { return 1 + sample * line % 997; }, GDT_UInt16, 5.0);
  OrthoPlan plan = flight.plan(0.8);
  plan.bands = {"PANN00A"};
  plan.noData = 0.0;
  std::vector<double> const lines = flight.ortho(plan).pixels;
  for (std::vector<char const*> const& options : std::vector<std::vector<char const*>>{
           {"TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=64", "COMPRESS=DEFLATE"}, {"BLOCKYSIZE=300"}, {"BLOCKYSIZE=7"}}) {
    rewrite(flight.imageName("PANN00A"), options);
    EXPECT_TRUE(flight.ortho(plan).pixels == lines) << options.front();
  }
}

// Each pixel needs 200 lines to both sides, and some of them all 12000.
TEST(OrthoImages, PixelsOfTheSizeOfManyLinesAreTheirMeans) {
  OrthoFlight flight({.lines = 12000});
  flight.relief.geoTransform[1] = 70.0;
  flight.relief.geoTransform[5] = -12.0;
  flight.relief.geoTransform[3] += 500.0;
  flight.relief.fill([](int, int) { return 500.0; });
  flight.openTerrain();
  flight.writePositions();
  OrthoPlan plan = flight.plan(100.0);
  Raster const ortho = flight.ortho(plan);
  int compared = 0;
  for (int row = 0; row < ortho.rows; ++row) {
    for (int column = 0; column < ortho.columns; ++column) {
      auto const ground = flight.ground(ortho.centre(column, row));
      geo::XYPoint const image = ground ? flight.image(*ground) : geo::XYPoint(-1.0, -1.0);
      if (flight.isInside(image) && image.y > 250.0 && image.y < 11750.0) {
        EXPECT_NEAR(ortho.at(column, row, 2), 100.0 + image.y, 0.1);
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 150);
}

// Ground that falls from one row of pixels to the next by so much that they are seen far from each other: 9000 of 12000
// lines, which at 101 samples are too many to be read at once.
TEST(OrthoImages, NeighboursThatAreSeenFarFromEachOtherAreReadApart) {
  OrthoFlight flight({.lines = 12000, .look = 2.0});
  flight.relief.columns = 500;
  flight.relief.rows = 700;
  flight.relief.geoTransform = {flight.mapOf({-2000.0, 0.0, 0.0}).x,   30.0, 0.0,
                                flight.mapOf({12600.0, 700.0, 0.0}).y, 0.0,  -2.0};
  flight.relief.fill([](int, int row) { return row % 2 == 0 ? 500.0 : -4000.0; });
  flight.openTerrain();
  flight.writePositions();
  Raster const ortho = flight.ortho(flight.plan(20.0));
  double least = std::numeric_limits<double>::infinity();
  double greatest = -least;
  int seen = 0;
  for (int row = 0; row < ortho.rows; ++row) {
    for (int column = 0; column < ortho.columns; ++column) {
      auto const ground = flight.ground(ortho.centre(column, row));
      geo::XYPoint const image = ground ? flight.image(*ground) : geo::XYPoint(-1.0, -1.0);
      if (std::abs(image.x - 50.0) < 29.0 && image.y > 45.0 && image.y < 11950.0) {
        EXPECT_NEAR(ortho.at(column, row, 1), 100.0 + image.x, 0.05);
        EXPECT_NEAR(ortho.at(column, row, 2), 100.0 + image.y, 0.5);
        least = std::min(least, image.y);
        greatest = std::max(greatest, image.y);
        ++seen;
      }
    }
  }
  EXPECT_GT(seen, 1000);
  EXPECT_GT(greatest - least, 8000.0);
}

TEST(OrthoImages, ValuesThatArentFiniteAreNoData) {
  OrthoFlight flight;
  flight.relief.fill([](int, int) { return 500.0; });
  flight.openTerrain();
  double const infinity = std::numeric_limits<double>::infinity();
  flight.writeImage("PANN00A", [&](int sample, int line) {
    return line < 150 ? 40.0 : sample % 3 == 0 ? std::nan("") : sample % 3 == 1 ? infinity : -infinity;
  });
  OrthoPlan plan = flight.plan(0.7);
  plan.bands = {"PANN00A"};
  Raster const ortho = flight.ortho(plan);
  int data = 0;
  int none = 0;
  for (int row = 0; row < ortho.rows; ++row) {
    for (int column = 0; column < ortho.columns; ++column) {
      geo::XYPoint const image = flight.image(*flight.ground(ortho.centre(column, row)));
      if (flight.isInside(image, -0.1)) {
        bool const isData = image.y < 149.5;
        if (std::abs(image.y - 149.5) > 0.1) {
          EXPECT_EQ(ortho.at(column, row), isData ? 40.0 : -1.0) << image.y;
        }
        ++(isData ? data : none);
      }
    }
  }
  EXPECT_GT(data, 50000);
  EXPECT_GT(none, 50000);
}

}  // namespace
