// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LongDoubleReference.h"
#include "RandomStrips.h"
#include "support/Matchers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

// The precise form against formulae written anew, in long double, from the files' numbers.

namespace {

using kes::Status;
using test::Real;
using test::Reference;

constexpr double TOLERANCE = 1e-6;  // lines and samples

// Lines that see a point twice are between a sixteenth of a line and some lines apart; the reference misses closer
// ones, and there the form may be earlier, where the point lies on the sensor line all the same.
TEST(PreciseSolver, FindsTheFirstLineOfALongDoubleSearch) {
  int revisited = 0;
  for (unsigned seed = 0; seed < test::NOISY_FLIGHTS_END; ++seed) {
    kes::Strip const& strip = test::randomStrip(seed);
    for (char const* const id : {"PANN00A", "NIRF16A", "GRNF16A", "PANB14A"}) {
      kes::Band const band = strip.band(id);
      Reference const reference(strip, id);
      for (geo::XYPoint const& image : test::imagePoints(band, seed + 500, 6)) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", " << id << ", sample " << image.x << ", line "
                                        << image.y);
        geo::XYZPoint const ground = band.toGround(image, test::atHeight(60.0)).position;
        auto const found = band.toImage(ground);
        ASSERT_TRUE(kes::hasResult(found.status));
        // Beyond the outermost calibrated pixels, a chord goes on that the reference doesn't know.
        if (found.position.x < 0.0 || found.position.x > band.samples() - 1.0) {
          continue;
        }
        // Further back than the view ever swings.
        Real const from = std::max(static_cast<Real>(-kes::Band::lineMargin), static_cast<Real>(image.y) - 100.0L);
        Real const first = reference.firstLine(ground, from, static_cast<Real>(image.y) + 1.0L);
        revisited += first < image.y - 0.01L ? 1 : 0;
        if (found.position.y < static_cast<double>(first) - TOLERANCE) {
          Real const rest = reference.see(ground, static_cast<Real>(found.position.y)).ahead;
          ASSERT_LT(std::fabs(rest) / 6.5e-6L, TOLERANCE);
          ASSERT_TRUE(test::isRough(seed) || test::isNoisy(seed));
          continue;
        }
        ASSERT_NEAR(found.position.y, static_cast<double>(first), TOLERANCE);
        ASSERT_NEAR(found.position.x, static_cast<double>(reference.see(ground, first).sample), TOLERANCE);
      }
    }
  }
  EXPECT_GT(revisited, 50);
}

// Neighbours a tenth of a line apart, where the view goes back and forth over them: in a run forward and backward, and
// alone.
TEST(PreciseSolver, DenseRunsOverRevisitedGroundAreMadeOfSinglePoints) {
  for (unsigned seed = test::FLIGHTS; seed < test::NOISY_FLIGHTS_END; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    kes::Band const band = test::randomStrip(seed).band("PANN00A");
    std::vector<geo::XYPoint> image;
    for (double line = 60.0; line < 360.0; line += 0.1) {
      image.emplace_back(70.0, line);
    }
    std::vector<geo::XYZPoint> ground = test::toGround(band, image, test::atHeight(0.0)).points;
    auto const forward = test::toImage(band, ground);
    std::reverse(ground.begin(), ground.end());
    auto const backward = test::toImage(band, ground);
    for (std::size_t i = 0; i < ground.size(); ++i) {
      std::size_t const k = ground.size() - 1 - i;
      geo::XYPoint const single = band.toImage(ground[i]).position;
      ASSERT_THAT(backward.points[i].y, test::SameBits(single.y)) << k;
      ASSERT_THAT(backward.points[i].x, test::SameBits(single.x)) << k;
      ASSERT_THAT(forward.points[k].y, test::SameBits(single.y)) << k;
      ASSERT_THAT(forward.points[k].x, test::SameBits(single.x)) << k;
    }
  }
}

TEST(PreciseSolver, FindsPointsInTheMarginAndNoneBeyond) {
  for (unsigned seed = 0; seed < 8; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    kes::Band const band = test::randomStrip(seed).band("PANN00A");
    double const last = band.lines() - 1.0;
    for (double const line : {-255.9, -100.3, -1.2, last + 0.7, last + 100.1, last + 255.9}) {
      auto const ground = band.toGround(geo::XYPoint(20.0, line), test::atHeight(0.0));
      ASSERT_TRUE(kes::hasResult(ground.status));
      ASSERT_NE(ground.status, Status::ok);
      auto const found = band.toImage(ground.position);
      ASSERT_EQ(found.status, ground.status);
      ASSERT_NEAR(found.position.y, line, TOLERANCE);
    }
    EXPECT_EQ(band.toGround(geo::XYPoint(20.0, -256.1), test::atHeight(0.0)).status, Status::noSolution);
    EXPECT_EQ(band.toGround(geo::XYPoint(20.0, last + 256.1), test::atHeight(0.0)).status, Status::noSolution);
    // Well beyond either end of the flight.
    geo::XYZPoint const a = band.toGround(geo::XYPoint(20.0, 0.0), test::atHeight(0.0)).position;
    geo::XYZPoint const b = band.toGround(geo::XYPoint(20.0, last), test::atHeight(0.0)).position;
    for (double const part : {-3.0, 4.0, 1000.0, -1e6}) {
      geo::XYZPoint const far(a.x + part * (b.x - a.x), a.y + part * (b.y - a.y), 0.0);
      EXPECT_EQ(band.toImage(far).status, Status::noSolution) << part;
    }
  }
}

TEST(PreciseSolver, StatusDistinguishesImageAndOrientation) {
  kes::Strip const& strip = test::randomStrip(4);
  kes::Band const band = strip.band("PANN00A");
  EXPECT_EQ(band.toGround(geo::XYPoint(-0.5, 10.0), test::atHeight(0.0)).status, Status::ok);
  EXPECT_EQ(band.toGround(geo::XYPoint(-0.6, 10.0), test::atHeight(0.0)).status, Status::outsideImage);
  EXPECT_EQ(band.toGround(geo::XYPoint(band.samples() - 0.5, 10.0), test::atHeight(0.0)).status, Status::outsideImage);
  EXPECT_EQ(band.toGround(geo::XYPoint(3.0, -0.6), test::atHeight(0.0)).status, Status::outsideImage);
  EXPECT_EQ(band.toGround(geo::XYPoint(3.0, band.lines() - 0.5), test::atHeight(0.0)).status, Status::outsideImage);
  // The orientation begins a second before the first line.
  double const cycle = (band.endTime() - band.startTime()) / (band.lines() - 1.0);
  double const before = (strip.trajectory().startTime() - band.startTime()) / cycle;
  if (before > -255.0) {
    EXPECT_EQ(band.toGround(geo::XYPoint(3.0, before + 0.1), test::atHeight(0.0)).status, Status::outsideImage);
    EXPECT_EQ(band.toGround(geo::XYPoint(3.0, before - 0.1), test::atHeight(0.0)).status, Status::outsideOrientation);
  }
}

TEST(PreciseSolver, PointsFarDownAndFarAsideAreFoundToo) {
  kes::Band const band = test::randomStrip(9).band("NIRF16A");
  for (double const height : {-3000.0, -20000.0, -1e6}) {
    for (double const sample : {-5000.0, 30.0, 9000.0}) {
      auto const ground = band.toGround(geo::XYPoint(sample, 200.0), test::atHeight(height));
      auto const found = band.toImage(ground.position);
      ASSERT_TRUE(kes::hasResult(found.status)) << height << ' ' << sample;
      auto const again = band.toGround(found.position, test::atHeight(height));
      EXPECT_NEAR(again.position.x, ground.position.x, 1e-6 * std::fabs(height)) << height << ' ' << sample;
      EXPECT_NEAR(again.position.y, ground.position.y, 1e-6 * std::fabs(height)) << height << ' ' << sample;
    }
  }
}

}  // namespace
