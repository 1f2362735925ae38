// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"
#include "ElevationSupport.h"
#include "support/Matchers.h"

#include <climits>
#include <thread>

namespace {

using dsm::RasterElevationSource;
using geo::XYZPoint;
using test::FormulaRaster;
using test::heightAt;

/// Cells on a side of a tile, less the one it shares with its neighbour.
constexpr int TILE = 128;
/// More than a tile takes, and less than two.
constexpr std::size_t TILE_BYTES = 80'000;

double hills(int column, int row) {
  return 500.0 + 200.0 * std::sin(0.013 * column) * std::cos(0.017 * row) + 0.25 * ((column * 7 + row * 13) % 31);
}

/// The position at a column and row of a raster of formulae.
XYZPoint at(double column, double row) {
  return {500000.0 + column, 5400000.0 - row, 0.0};
}

/// In the middle of tile (i, j).
XYZPoint tile(int i, int j) {
  return at(TILE * i + 0.5 * TILE, TILE * j + 0.5 * TILE);
}

TEST(RasterElevationCache, TileIsReadOnce) {
  FormulaRaster raster(1000, 1000, hills);
  RasterElevationSource const dem(raster.name());
  EXPECT_EQ(raster.readings, 0);
  for (int i = 0; i < 100; ++i) {
    heightAt(dem, at(200.0 + 0.3 * i, 300.0 - 0.2 * i));
  }
  EXPECT_EQ(raster.readings, 1);
}

TEST(RasterElevationCache, HeightsAcrossTilesAreBilinear) {
  FormulaRaster raster(400, 300, hills);
  RasterElevationSource const dem(raster.name());
  test::Random random(11);
  for (int i = 0; i < 20000; ++i) {
    double const x = random.between(0.0, 398.999);
    double const y = random.between(0.0, 298.999);
    int const column = static_cast<int>(x);
    int const row = static_cast<int>(y);
    double const right = x - column;
    double const down = y - row;
    double const expected = (1.0 - down) * ((1.0 - right) * hills(column, row) + right * hills(column + 1, row)) +
                            down * ((1.0 - right) * hills(column, row + 1) + right * hills(column + 1, row + 1));
    EXPECT_NEAR(heightAt(dem, at(x + 0.5, y + 0.5)).value(), expected, 1e-4) << x << " " << y;
  }
}

TEST(RasterElevationCache, EveryCellIsWhereItBelongs) {
  FormulaRaster raster(300, 270, [](int column, int row) { return column + 1000.0 * row; });
  RasterElevationSource const dem(raster.name());
  for (int row = 0; row < raster.rows; ++row) {
    for (int column = 0; column < raster.columns; ++column) {
      ASSERT_EQ(heightAt(dem, at(column + 0.5, row + 0.5)), static_cast<float>(column + 1000 * row));
    }
  }
}

// Sizes around those where another column or row of tiles begins.
TEST(RasterElevationCache, EdgesOfRastersOfAllSizesAreFound) {
  for (int size : {1, 2, TILE - 1, TILE, TILE + 1, 2 * TILE - 1, 2 * TILE, 2 * TILE + 1}) {
    FormulaRaster raster(size, size, [](int column, int row) { return column + 1000.0 * row; });
    RasterElevationSource const dem(raster.name());
    float const last = static_cast<float>(size - 1);
    EXPECT_EQ(heightAt(dem, at(0.0, 0.0)), 0.0F);
    EXPECT_EQ(heightAt(dem, at(size, 0.0)), last);
    EXPECT_EQ(heightAt(dem, at(0.0, size)), 1000.0F * last);
    EXPECT_EQ(heightAt(dem, at(size, size)), 1001.0F * last);
    EXPECT_EQ(dem.heightRange()->highest, 1001.0F * last);
  }
}

TEST(RasterElevationCache, TilesUsedLastAreKept) {
  FormulaRaster raster(TILE * 40, TILE * 40, hills);
  RasterElevationSource const dem(raster.name(), 2000 * TILE_BYTES);
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 1600; ++i) {
      heightAt(dem, tile(i % 40, i / 40));
    }
    EXPECT_EQ(raster.readings, 1600);
  }
}

// A row of 40 tiles goes past a cache of one and the thread's own, which together hold less than half of it.
TEST(RasterElevationCache, MemoryIsBounded) {
  FormulaRaster raster(TILE * 40, TILE * 2, [](int column, int row) { return column + 0.5 * row; });
  for (std::size_t const size : {std::size_t{0}, TILE_BYTES}) {
    RasterElevationSource const dem(raster.name(), size);
    raster.readings = 0;
    for (int round = 0; round < 3; ++round) {
      for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(heightAt(dem, tile(i, 0)), static_cast<float>(TILE * i + 63.5 + 0.5 * 63.5));
      }
    }
    EXPECT_GE(raster.readings, 100);
  }
}

// Every fourth tile has the thread's own place of the first one, which thus has to come from the shared cache each
// time.
TEST(RasterElevationCache, TileInUseOutlastsThoseThatAreNot) {
  FormulaRaster raster(TILE * 801, TILE, [](int, int) { return 1.0; });
  RasterElevationSource const dem(raster.name(), 64 * TILE_BYTES);
  heightAt(dem, tile(0, 0));
  for (int i = 1; i <= 200; ++i) {
    heightAt(dem, tile(4 * i, 0));
    heightAt(dem, tile(0, 0));
  }
  EXPECT_EQ(raster.readings, 201);
}

TEST(RasterElevationCache, SourcesDoNotMixTheirTiles) {
  FormulaRaster low(300, 300, [](int, int) { return 1.0; });
  FormulaRaster high(300, 300, [](int, int) { return 2.0; });
  FormulaRaster highest(300, 300, [](int, int) { return 3.0; });
  RasterElevationSource const first(low.name());
  RasterElevationSource const second(high.name());
  RasterElevationSource const third(highest.name());
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(heightAt(first, tile(0, 0)), 1.0F);
    EXPECT_EQ(heightAt(second, tile(0, 0)), 2.0F);
    EXPECT_EQ(heightAt(third, tile(0, 0)), 3.0F);
  }
}

// A new source may well come to lie where the old one was.
TEST(RasterElevationCache, NewSourceKnowsNothingOfAnOldOne) {
  for (int i = 1; i <= 10; ++i) {
    FormulaRaster raster(300, 300, [i](int, int) { return i; });
    auto const dem = std::make_unique<RasterElevationSource>(raster.name());
    EXPECT_EQ(heightAt(*dem, tile(0, 0)), static_cast<float>(i));
  }
}

TEST(RasterElevationCache, HugeRasterIsReadWhereItIsAsked) {
  FormulaRaster raster(INT_MAX, INT_MAX, [](int column, int row) { return column % 1000 + row % 7; });
  raster.geoTransform = {0.0, 1e-3, 0.0, 0.0, 0.0, -1e-3};
  RasterElevationSource const dem(raster.name());
  for (int const cell : {0, 100'000'007, INT_MAX - 1}) {
    XYZPoint const place(1e-3 * (cell + 0.5), -1e-3 * (cell + 0.5), 0.0);
    EXPECT_NEAR(heightAt(dem, place).value(), cell % 1000 + cell % 7, 0.01);
  }
  EXPECT_EQ(heightAt(dem, {1e-3 * (INT_MAX + 1.0), -1.0, 0.0}), std::nullopt);
  EXPECT_EQ(raster.readings, 3);
}

class RasterElevationThreads : public testing::Test {
protected:
  static constexpr int THREADS = 8;
  static constexpr int SIDE = 2000;

  /// The heights along a way of its own through the raster.
  static std::vector<float> walk(RasterElevationSource const& dem, unsigned seed, int count) {
    test::Random random(seed);
    std::vector<float> heights;
    heights.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
      heights.push_back(heightAt(dem, at(random.between(0, SIDE), random.between(0, SIDE))).value());
    }
    return heights;
  }

  /// Eight threads, two of each way, see what one sees.
  static void expectSameAsAlone(FormulaRaster& raster, std::size_t cacheSize, int count) {
    std::vector<std::vector<float>> alone;
    for (unsigned seed = 0; seed < THREADS / 2; ++seed) {
      alone.push_back(walk(RasterElevationSource(raster.name()), seed, count));
    }
    RasterElevationSource const dem(raster.name(), cacheSize);
    std::vector<std::vector<float>> together(THREADS);
    std::vector<std::thread> threads;
    threads.reserve(THREADS);
    for (unsigned i = 0; i < THREADS; ++i) {
      threads.emplace_back([&, i] { together[i] = walk(dem, i / 2, count); });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    for (std::size_t i = 0; i < together.size(); ++i) {
      EXPECT_TRUE(together[i] == alone[i / 2]) << i;
    }
    EXPECT_FALSE(raster.haveReadersMet);
  }
};

TEST_F(RasterElevationThreads, SeeTheSameHeights) {
  FormulaRaster raster(SIDE, SIDE, hills);
  expectSameAsAlone(raster, RasterElevationSource::DEFAULT_CACHE_SIZE, 5000);
}

TEST_F(RasterElevationThreads, SeeTheSameHeightsWhileTilesComeAndGo) {
  FormulaRaster raster(SIDE, SIDE, hills);
  expectSameAsAlone(raster, 20 * TILE_BYTES, 400);
}

TEST_F(RasterElevationThreads, ReadATileOnceForAll) {
  FormulaRaster raster(SIDE, SIDE, hills);
  RasterElevationSource const dem(raster.name());
  std::vector<std::thread> threads;
  threads.reserve(THREADS);
  for (int i = 0; i < THREADS; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < 100; ++j) {
        heightAt(dem, tile(j % 10, j / 10));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(raster.readings, 100);
}

TEST_F(RasterElevationThreads, RangeIsFoundOnceForAll) {
  FormulaRaster raster(TILE * 3 - 1, TILE * 2 - 1, hills);
  RasterElevationSource const dem(raster.name());
  std::vector<std::thread> threads;
  std::atomic<int> good{0};
  threads.reserve(THREADS);
  for (int i = 0; i < THREADS; ++i) {
    threads.emplace_back([&] { good += dem.heightRange().has_value() ? 1 : 0; });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(good, THREADS);
  EXPECT_EQ(raster.readings, 6);
}

}  // namespace
