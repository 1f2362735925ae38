// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "InstructionSets.h"
#include "SurfaceHit.h"
#include "support/Matchers.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

// Lines of sight of a call are worked on in lanes, a single one isn't: both come to the same bits.

namespace {

using kes::Status;
using test::SurfaceHit;

class SightLanes : public SurfaceHit {
protected:
  static constexpr std::size_t COUNT = 700;  // no multiple of any number of lanes

  // Cells of 1 m in 5 by 4 tiles, whose middle is the ground of the image of the band that looks ahead.
  SightLanes() {
    mRaster.columns = 600;
    mRaster.rows = 480;
    mRaster.geoTransform = {mOrigin.x - 10.0, 1.0, 0.0, mOrigin.y + 240.0, 0.0, -1.0};
    mRaster.noData = -9999.0;
    mRaster.type = GDT_Float32;
    mOptions.system = mMap;
  }

  kes::Band band() const { return mStrip->band("PANF27A"); }
  double hills(int column, int row) const {
    return groundHeight() + 30.0 + 15.0 * std::sin(0.02 * column) * std::cos(0.03 * row);
  }
  // With walls, of which lines of sight graze some.
  double rough(int column, int row) const {
    return hills(column, row) + 4.0 * std::sin(1.3 * column) * std::cos(0.9 * row) + (column % 37 == 0 ? 25.0 : 0.0);
  }

  // What a call for all positions returns is what calls for each of them return.
  void expectBitsOfSingleLines(std::size_t leastHits, std::size_t leastMisses) {
    std::vector<double> const heights = mHeights;
    auto const image = test::imagePoints(band(), 3, COUNT);
    test::GroundResult single;
    for (std::size_t i = 0; i < COUNT; ++i) {
      if (!heights.empty()) {
        mOptions.heights = kes::ConstantHeight{heights[i]};
      }
      auto const one = test::toGround(band(), {image[i]}, mOptions);
      single.points.push_back(one.points[0]);
      single.status.push_back(one.status[0]);
    }
    if (!heights.empty()) {
      mOptions.heights = kes::HeightPerPoint{heights};
    }
    auto const hits = static_cast<std::size_t>(std::count(single.status.begin(), single.status.end(), Status::ok));
    EXPECT_GE(hits, leastHits);
    EXPECT_GE(COUNT - hits, leastMisses);
    for (test::InstructionSet const& set : test::instructionSets()) {
      SCOPED_TRACE(set.name);
      test::ChosenInstructionSet const chosen(set);
      auto const together = test::toGround(band(), image, mOptions);
      ASSERT_EQ(together.status, single.status);
      for (std::size_t i = 0; i < COUNT; ++i) {
        ASSERT_THAT(together.points[i].x, test::SameBits(single.points[i].x)) << i;
        ASSERT_THAT(together.points[i].y, test::SameBits(single.points[i].y)) << i;
        ASSERT_THAT(together.points[i].z, test::SameBits(single.points[i].z)) << i;
      }
    }
  }

  void expectBitsOfSingleLines(std::function<double(int, int)> const& height, std::size_t leastHits,
                               std::size_t leastMisses) {
    mRaster.fill(height);
    mOptions.heights = surface();
    expectBitsOfSingleLines(leastHits, leastMisses);
  }

  kes::ToGroundOptions mOptions;
  std::vector<double> mHeights;
};

TEST_F(SightLanes, MeetHills) {
  expectBitsOfSingleLines([&](int column, int row) { return hills(column, row); }, COUNT, 0);
}

TEST_F(SightLanes, MeetWalls) {
  expectBitsOfSingleLines([&](int column, int row) { return rough(column, row); }, COUNT, 0);
}

TEST_F(SightLanes, LeaveHoles) {
  expectBitsOfSingleLines(
      [&](int column, int row) {
        bool const isPit = column % 40 < 20 && row % 40 < 20;
        return isPit && column % 80 < 40 ? -9999.0 : rough(column, row) - (isPit ? 15.0 : 0.0);
      },
      400, 50);
}

TEST_F(SightLanes, MeetATurnedRaster) {
  mRaster.geoTransform = {mOrigin.x - 60.0, 0.97, 0.35, mOrigin.y + 200.0, 0.41, -1.2};
  expectBitsOfSingleLines([&](int column, int row) { return rough(column, row); }, 400, 0);
}

TEST_F(SightLanes, MeetCoarseCells) {
  mRaster.columns = 12;
  mRaster.rows = 10;
  mRaster.geoTransform = {mOrigin.x - 10.0, 50.0, 0.0, mOrigin.y + 240.0, 0.0, -50.0};
  expectBitsOfSingleLines([&](int column, int row) { return rough(35 * column, 7 * row); }, COUNT, 0);
}

TEST_F(SightLanes, MeetCellsInDegrees) {
  constexpr double CELL = 1e-5;
  mRaster.system = "EPSG:4326";
  mRaster.geoTransform = {15.0 - 10.0 * CELL, CELL, 0.0, 0.6 / DEGREE + 240.0 * CELL, 0.0, -CELL};
  expectBitsOfSingleLines([&](int column, int row) { return rough(column, row); }, COUNT, 0);
}

// The raster ends amid the image, with steep sides.
TEST_F(SightLanes, MissWhatLiesBesideTheRaster) {
  mRaster.columns = 300;
  mRaster.rows = 220;
  expectBitsOfSingleLines([&](int column, int row) { return rough(column, row) + (row % 2 == 0 ? 60.0 : 0.0); }, 100,
                          100);
}

// The raster begins amid the image, so that some lines of sight come in below its surface.
TEST_F(SightLanes, PassBelowTheEdgeOfTheRaster) {
  mRaster.geoTransform[0] = mOrigin.x + 270.0;
  expectBitsOfSingleLines([&](int column, int) { return groundHeight() + (column % 8 == 7 ? 0.0 : 40.0); }, 50, 100);
}

// Above the camera, so that lines of sight begin at its height.
TEST_F(SightLanes, PassAPeakAboveTheCamera) {
  expectBitsOfSingleLines(
      [&](int column, int row) { return rough(column, row) + (column > 590 && row > 470 ? 2000.0 : 0.0); }, COUNT, 0);
}

// Spikes keep the paths so long that they are walked in several straight parts. Some of them end beside the raster.
TEST_F(SightLanes, MeetGroundFarBelowSpikes) {
  mRaster.columns = 1800;
  expectBitsOfSingleLines(
      [&](int column, int row) { return groundHeight() - 5000.0 + (column % 300 == 0 && row % 3 == 0 ? 4900.0 : 0.0); },
      400, 100);
}

TEST_F(SightLanes, EndInAnotherSystemThanTheSurfaces) {
  mOptions.system = kes::CoordinateSystem("EPSG:4326");
  expectBitsOfSingleLines([&](int column, int row) { return rough(column, row); }, COUNT, 0);
}

TEST_F(SightLanes, EndAtHeightsOfAMap) {
  for (std::size_t i = 0; i < COUNT; ++i) {
    mHeights.push_back(i % 97 == 0   ? std::numeric_limits<double>::quiet_NaN()
                       : i % 41 == 0 ? groundHeight() + 1e4  // above the camera
                                     : groundHeight() + static_cast<double>(i % 13));
  }
  expectBitsOfSingleLines(650, 20);
}

TEST_F(SightLanes, EndAtHeightsOfGeographicPositions) {
  mOptions.system = kes::CoordinateSystem("EPSG:4979");
  for (std::size_t i = 0; i < COUNT; ++i) {
    mHeights.push_back(groundHeight() - 200.0 + static_cast<double>(i));
  }
  expectBitsOfSingleLines(650, 0);
}

}  // namespace
