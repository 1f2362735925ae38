// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "InstructionSets.h"
#include "LargeTable.h"
#include "PreparedBand.h"
#include "RandomStrips.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

// Flights whose tables don't fit into the nearer caches, which lanes read in another way.

namespace {

using namespace kes::detail;
using test::Prepared;

constexpr int LINES = 12000;
constexpr std::size_t LEAST_ROWS = (std::size_t{1} << 14U) + 1;

class LongFlight : public test::WithInstructionSet {
protected:
  static Prepared const& prepared() {
    static test::TempFolder const folder;
    static std::optional<Prepared> made;
    if (!made) {
      kes::StripOptions options;
      options.calibrations = {test::calibrations()};
      made.emplace(kes::Strip(test::writeFlight(folder.path(), 2, LINES, 1.0), options), "PANN00A");
    }
    return *made;
  }

  /// Checks what the lanes find of ground positions, and that they leave next to nothing.
  static void expectBitsOfTheSearch(std::vector<geo::XYPoint> const& image) {
    auto const ground = test::toGround(prepared().band, image, test::atHeight(60.0)).points;
    std::size_t const count = ground.size();
    std::vector<geo::XYPoint> found(count);
    std::vector<double> time(count);
    std::vector<kes::Status> status(count);
    std::vector<std::uint32_t> rest(count);
    rest.resize(findInLanes(prepared().tables, prepared().limits,
                            {ground.data(), count, found.data(), time.data(), status.data(), rest.data()}));
    EXPECT_LT(rest.size(), count / 50);
    std::vector<bool> isLeft(count);
    for (std::uint32_t const i : rest) {
      isLeft[i] = true;
    }
    for (std::size_t i = 0; i < count; ++i) {
      if (!isLeft[i]) {
        LineSearch::Memory memory;
        Found const single = prepared().search.find(ground[i], memory);
        ASSERT_THAT(found[i].x, test::SameBits(single.sample)) << i;
        ASSERT_THAT(found[i].y, test::SameBits(single.line)) << i;
        ASSERT_THAT(time[i], test::SameBits(single.time)) << i;
      }
    }
  }
};

TEST_P(LongFlight, HasScatteredPositionsWhereTheSearchHasThem) {
  ASSERT_GE(prepared().tables.rows.size(), LEAST_ROWS);
  expectBitsOfTheSearch(test::imagePoints(prepared().band, 5, 3001));
}

TEST_P(LongFlight, HasNeighboursWhereTheSearchHasThem) {
  std::vector<geo::XYPoint> image;
  for (int i = 0; i < 3001; ++i) {
    image.emplace_back(1.3 + i % 50, 7000.0 + 0.02 * i);
  }
  expectBitsOfTheSearch(image);
}

// Rows in the same places over the flight, one after the other: blocks of both kinds.
TEST_P(LongFlight, HasRowsThatJumpWhereTheSearchHasThem) {
  std::vector<geo::XYPoint> image;
  for (int i = 0; i < 3001; ++i) {
    image.emplace_back(1.3 + i % 40, 300.0 + i / 400 % 2 * 9000.0 + 0.02 * i);
  }
  expectBitsOfTheSearch(image);
}

INSTANTIATE_TEST_SUITE_P(Sets, LongFlight, testing::ValuesIn(test::instructionSets()),
                         [](auto const& set) { return std::string(set.param.name); });

TEST(LargeTable, HoldsWhatIsAddedToIt) {
  constexpr std::size_t COUNT = 1U << 20U;
  LargeTable<double> table;
  for (std::size_t i = 0; i < COUNT; ++i) {
    table.push_back(static_cast<double>(i));
  }
  LargeTable<double> const copy = table;
  table.clear();
  EXPECT_EQ(std::accumulate(copy.begin(), copy.end(), 0.0), 0.5 * COUNT * (COUNT - 1.0));
}

TEST(LargeTable, BeginsWithALargePageOnceItFillsOne) {
  constexpr std::size_t PAGE = std::size_t{2} << 20U;
  auto const placeInPage = [](LargeTable<double> const& table) {
    return reinterpret_cast<std::uintptr_t>(table.data()) % PAGE;
  };
  EXPECT_EQ(placeInPage(LargeTable<double>(PAGE / sizeof(double))), 0U);
  EXPECT_EQ(placeInPage(LargeTable<double>(3 * PAGE / sizeof(double) + 1)), 0U);
}

}  // namespace
