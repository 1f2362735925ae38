// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LaneKernels.h"
#include "RandomStrips.h"
#include "support/Matchers.h"

#include <sensor/KESStripModel.h>

#include <gtest/gtest.h>

#include <hwy/targets.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

// The lanes beside the search and the formulae that they stand for, for each instruction set of this machine.

namespace {

using kes::Status;
using namespace kes::detail;

constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

struct InstructionSet {
  char const* name;
  std::int64_t target;
};

/// What the kernels are compiled for and this machine can run.
std::vector<InstructionSet> instructionSets() {
  std::vector<InstructionSet> sets;
  for (InstructionSet const& set :
       {InstructionSet{"None", HWY_SCALAR | HWY_EMU128}, InstructionSet{"Sse4", HWY_SSE4},
        InstructionSet{"Avx2", HWY_AVX2}, InstructionSet{"Avx512", HWY_AVX3}, InstructionSet{"Neon", HWY_NEON}}) {
    if ((hwy::SupportedTargets() & set.target) != 0) {
      sets.push_back(set);
    }
  }
  return sets;
}

/// A band, prepared as for the front door.
struct Prepared {
  Prepared(kes::Strip const& strip, std::string const& id)
      : band(strip.band(id)), limits{static_cast<double>(band.samples()), static_cast<double>(band.lines())},
        chain(strip.model(), band.index()), search(chain), tables(chain, search) {}

  kes::Band band;
  PixelLimits limits;
  ViewChain chain;
  LineSearch search;
  LaneTables tables;
};

Status statusOf(Prepared const& prepared, geo::XYPoint const& image, double time) {
  if (prepared.chain.orientation().isOutside(time)) {
    return Status::outsideOrientation;
  }
  return prepared.band.contains(image) ? Status::ok : Status::outsideImage;
}

class Lanes : public testing::TestWithParam<InstructionSet> {
protected:
  Lanes() { choose(GetParam().target); }
  ~Lanes() override { choose(0); }
  Lanes(Lanes const&) = delete;
  Lanes& operator=(Lanes const&) = delete;

  static void choose(std::int64_t target) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
  }

  struct Found {
    explicit Found(std::size_t count) : image(count), time(count), status(count), rest(count), isLeft(count) {}
    std::vector<geo::XYPoint> image;
    std::vector<double> time;
    std::vector<Status> status;
    std::vector<std::uint32_t> rest;
    std::vector<char> isLeft;
    std::size_t left = 0;
  };
  // In calls of `part` positions.
  static Found find(Prepared const& prepared, std::vector<geo::XYZPoint> const& ground, std::size_t part) {
    Found found(ground.size());
    for (std::size_t i = 0; i < ground.size(); i += part) {
      std::size_t const count = std::min(part, ground.size() - i);
      std::size_t const rest = findInLanes(prepared.tables, prepared.limits,
                                           {&ground[i], count, &found.image[i], &found.time[i], &found.status[i],
                                            &found.rest[i]});
      for (std::size_t k = 0; k < rest; ++k) {
        found.isLeft.at(i + found.rest[i + k]) = 1;
      }
      found.left += rest;
    }
    return found;
  }

  static void expectBitsOfTheSearch(Prepared const& prepared, std::vector<geo::XYZPoint> const& ground,
                                    Found const& found) {
    for (std::size_t i = 0; i < ground.size(); ++i) {
      if (found.isLeft[i] != 0) {
        continue;
      }
      SCOPED_TRACE(testing::Message() << "position " << i << ", " << ground[i].x << ' ' << ground[i].y << ' '
                                      << ground[i].z);
      LineSearch::Memory memory;
      auto const single = prepared.search.find(ground[i], memory);
      ASSERT_TRUE(single.isSolved);
      ASSERT_EQ(single.passes, passesInLanes);
      ASSERT_THAT(found.image[i].x, test::SameBits(single.sample));
      ASSERT_THAT(found.image[i].y, test::SameBits(single.line));
      ASSERT_THAT(found.time[i], test::SameBits(single.time));
      ASSERT_EQ(found.status[i], statusOf(prepared, found.image[i], single.time));
    }
  }
};

/// What no lane may return, among good positions or alone.
std::vector<geo::XYZPoint> hostile(geo::XYZPoint const& good, double flyingHeight) {
  return {{NAN_VALUE, good.y, good.z},   {good.x, NAN_VALUE, good.z},  {good.x, good.y, NAN_VALUE},
          {INFINITE, good.y, good.z},    {good.x, -INFINITE, good.z},  {good.x, good.y, INFINITE},
          {good.x, good.y, -INFINITE},   {1e300, good.y, good.z},      {good.x, -1e300, good.z},
          {good.x, good.y, -1e300},      {good.x, good.y, 1e300},      {good.x, good.y, flyingHeight},
          {good.x, good.y, flyingHeight + 1.0}, {good.x + 1e7, good.y, good.z}, {good.x, good.y - 1e9, good.z}};
}

/// Positions all over a band: some in rows, some in no order, beyond the image, and hostile ones.
std::vector<geo::XYZPoint> positions(Prepared const& prepared, unsigned seed, bool withHostile) {
  kes::Band const& band = prepared.band;
  std::vector<geo::XYPoint> image = test::imagePoints(band, seed, 40);
  for (int i = 0; i < 40; ++i) {
    image.emplace_back(0.3 * band.samples() + 0.9 * i, 50.0 + 0.37 * i);
  }
  for (double const line : {-250.0, -20.0, -0.5, band.lines() - 0.5, band.lines() + 100.0}) {
    image.emplace_back(0.5 * band.samples(), line);
    image.emplace_back(-0.7, line + 0.1);
    image.emplace_back(band.samples() - 0.6, line - 0.1);
  }
  std::vector<geo::XYZPoint> ground;
  for (geo::XYPoint const& point : image) {
    ground.push_back(band.toGround(point, test::atHeight(seed % 7 * 30.0)).position);
  }
  if (withHostile) {
    std::mt19937 random(seed);
    for (geo::XYZPoint const& bad : hostile(ground[3], prepared.tables.flyingHeight)) {
      auto const place = static_cast<std::ptrdiff_t>(random() % ground.size());
      ground.insert(ground.begin() + place, bad);
    }
  }
  return ground;
}

TEST_P(Lanes, FindThePositionsOfAllFlightsToTheBitOfTheSearch) {
  std::size_t all = 0;
  std::size_t left = 0;
  for (unsigned seed = 0; seed < test::NOISY_FLIGHTS_END; ++seed) {
    for (char const* const id : test::BANDS) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", band " + id);
      Prepared const prepared(test::randomStrip(seed), id);
      for (bool const withHostile : {false, true}) {
        auto const ground = positions(prepared, seed, withHostile);
        auto const found = find(prepared, ground, ground.size());
        expectBitsOfTheSearch(prepared, ground, found);
        if (HasFatalFailure()) {
          return;
        }
        if (!withHostile && seed < test::FLIGHTS && !test::isRough(seed)) {
          all += ground.size();
          left += found.left;
        }
      }
    }
  }
  std::cout << "left " << left << " of " << all << '\n';
}

INSTANTIATE_TEST_SUITE_P(Sets, Lanes, testing::ValuesIn(instructionSets()),
                         [](auto const& set) { return std::string(set.param.name); });

}  // namespace
