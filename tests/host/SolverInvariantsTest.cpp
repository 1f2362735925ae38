// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RandomStrips.h"
#include "support/Matchers.h"
#include "support/SmallStrip.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

// What must hold of every form of the solver, on the same flights.

namespace {

using kes::Solver;
using kes::Status;

/// What a form promises.
struct Form {
  Solver solver;
  char const* name;
  double closure;         ///< Lines and samples.
  bool isOfSinglePoints;  ///< Whether a point's result has nothing to do with its neighbours.
};

void PrintTo(Form const& form, std::ostream* out) {
  *out << form.name;
}

class SolverInvariants : public testing::TestWithParam<Form> {
protected:
  static constexpr std::size_t POINTS = 60;

  /// Calls `check(band)` for bands of all kinds of all flights.
  template <class Check>
  static void forEachBand(Check check) {
    unsigned const end = GetParam().solver == Solver::precise ? test::NOISY_FLIGHTS_END : test::FLIGHTS;
    for (unsigned seed = 0; seed < end; ++seed) {
      kes::Strip const& strip = test::randomStrip(seed);
      for (char const* const id : test::BANDS) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", band " + id);
        check(strip.band(id), seed);
        if (testing::Test::HasFailure()) {
          return;
        }
      }
    }
  }

  static double height(kes::Band const&, unsigned seed) { return seed % 5 * 40.0 - 80.0; }
};

void expectSameBits(geo::XYPoint const& a, geo::XYPoint const& b) {
  EXPECT_THAT(a.x, test::SameBits(b.x));
  EXPECT_THAT(a.y, test::SameBits(b.y));
}

/// The greater size of a pixel on the ground, metres.
double pixelOf(kes::Band const& band) {
  return std::max(band.gsd(), band.gsd() / band.scale());
}

double distance(geo::XYZPoint const& a, geo::XYZPoint const& b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

// What is found may be an earlier line that saw the point as well; it closes on the ground, too.
TEST_P(SolverInvariants, ImageToGroundToImageCloses) {
  forEachBand([&](kes::Band const& band, unsigned seed) {
    auto const image = test::imagePoints(band, seed, POINTS);
    auto const options = test::atHeight(height(band, seed), GetParam().solver);
    auto const ground = test::toGround(band, image, options);
    auto const back = test::toImage(band, ground.points, test::by(GetParam().solver));
    auto const again = test::toGround(band, back.points, options);
    for (std::size_t i = 0; i < image.size(); ++i) {
      SCOPED_TRACE(testing::Message() << "sample " << image[i].x << ", line " << image[i].y);
      ASSERT_EQ(ground.status[i], Status::ok);
      ASSERT_TRUE(kes::hasResult(back.status[i]));
      ASSERT_LT(distance(again.points[i], ground.points[i]), GetParam().closure * pixelOf(band));
      if (!test::isRough(seed) && !test::isNoisy(seed)) {
        ASSERT_NEAR(back.points[i].y, image[i].y, GetParam().closure);
        ASSERT_NEAR(back.points[i].x, image[i].x, GetParam().closure);
      } else if (GetParam().solver == Solver::precise) {
        ASSERT_LT(back.points[i].y - image[i].y, GetParam().closure);
      }
    }
  });
}

// On the ground everywhere, and in the image where the view never goes back. Lines are floats in the library, and the
// line of a time with TDI is known to 0.1 ms there.
TEST_P(SolverInvariants, AgreesWithThePreciseForm) {
  constexpr double tolerance = 0.1;
  forEachBand([&](kes::Band const& band, unsigned seed) {
    auto const image = test::imagePoints(band, seed + 100, POINTS);
    double const z = height(band, seed);
    auto const ground = test::toGround(band, image, test::atHeight(z));
    auto const byForm = test::toGround(band, image, test::atHeight(z, GetParam().solver));
    auto const precise = test::toImage(band, ground.points);
    auto const solved = test::toImage(band, ground.points, test::by(GetParam().solver));
    auto const again = test::toGround(band, solved.points, test::atHeight(z));
    for (std::size_t i = 0; i < image.size(); ++i) {
      SCOPED_TRACE(testing::Message() << "sample " << image[i].x << ", line " << image[i].y);
      ASSERT_LT(distance(byForm.points[i], ground.points[i]), tolerance * pixelOf(band));
      ASSERT_LT(distance(again.points[i], ground.points[i]), tolerance * pixelOf(band));
      if (!test::isRough(seed) && !test::isNoisy(seed)) {
        ASSERT_NEAR(solved.points[i].y, precise.points[i].y, tolerance);
        ASSERT_NEAR(solved.points[i].x, precise.points[i].x, tolerance);
      }
    }
  });
}

TEST_P(SolverInvariants, NeitherOrderNorTilingNorThreadsMatter) {
  forEachBand([&](kes::Band const& band, unsigned seed) {
    std::size_t const count = seed == 3 ? 5000 : POINTS;
    auto const image = test::imagePoints(band, seed + 200, count);
    auto const ground = test::toGround(band, image, test::atHeight(height(band, seed), GetParam().solver));
    auto const whole = test::toImage(band, ground.points, test::by(GetParam().solver));
    auto const parallel = test::toImage(band, ground.points, test::by(GetParam().solver, 3));
    for (std::size_t i = 0; i < count; ++i) {
      expectSameBits(parallel.points[i], whole.points[i]);
      ASSERT_EQ(parallel.status[i], whole.status[i]);
    }
    if (!GetParam().isOfSinglePoints) {
      return;  // the positions of a run depend on those before
    }
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(seed));
    for (std::size_t const i : order) {
      auto const single = band.toImage(ground.points[i], test::by(GetParam().solver));
      expectSameBits(single.position, whole.points[i]);
      ASSERT_EQ(single.status, whole.status[i]);
      auto const place = band.toGround(image[i], test::atHeight(height(band, seed), GetParam().solver));
      ASSERT_THAT(place.position.x, test::SameBits(ground.points[i].x));
      ASSERT_THAT(place.position.y, test::SameBits(ground.points[i].y));
    }
  });
}

TEST_P(SolverInvariants, NeighboursOfBadPointsAreUnharmed) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  constexpr double infinity = std::numeric_limits<double>::infinity();
  forEachBand([&](kes::Band const& band, unsigned seed) {
    auto const image = test::imagePoints(band, seed + 300, POINTS);
    auto const ground = test::toGround(band, image, test::atHeight(height(band, seed)));
    auto const clean = test::toImage(band, ground.points, test::by(GetParam().solver));
    std::vector<geo::XYZPoint> mixed;
    for (std::size_t i = 0; i < ground.points.size(); ++i) {
      mixed.push_back(ground.points[i]);
      mixed.push_back(i % 3 == 0   ? geo::XYZPoint(nan, 0.0, 0.0)
                      : i % 3 == 1 ? geo::XYZPoint(ground.points[i].x, infinity, 0.0)
                                   : geo::XYZPoint(0.0, 0.0, -infinity));
    }
    auto const result = test::toImage(band, mixed, test::by(GetParam().solver));
    for (std::size_t i = 0; i < ground.points.size(); ++i) {
      expectSameBits(result.points[2 * i], clean.points[i]);
      ASSERT_EQ(result.status[2 * i], clean.status[i]);
      ASSERT_EQ(result.status[2 * i + 1], Status::notFinite);
      ASSERT_TRUE(std::isnan(result.points[2 * i + 1].x));
    }
  });
}

TEST_P(SolverInvariants, PointAboveTheAircraftHasNoSolution) {
  forEachBand([&](kes::Band const& band, unsigned seed) {
    kes::Strip const& strip = test::randomStrip(seed);
    for (double const above : {20.0, 500.0, 1e5}) {
      geo::XYZPoint const middle = band.toGround(geo::XYPoint(50.0, 150.0), test::atHeight(0.0)).position;
      geo::XYZPoint const point(middle.x, middle.y, strip.meanFlyingHeight() + above);
      ASSERT_EQ(band.toImage(point, test::by(GetParam().solver)).status, Status::noSolution);
      // Mirrored at the perspective centre.
      ASSERT_EQ(band.toGround(geo::XYPoint(50.0, 150.0), test::atHeight(point.z, GetParam().solver)).status,
                Status::noSolution);
    }
  });
}

/// A camera that is rolled about the flight to the east, so that it looks to one side.
kes::Band rolledBand(test::TempFolder const& folder, double roll) {
  test::SmallStrip small;
  small.sensorId = "Rolled";
  small.roll = roll;
  kes::StripOptions options;
  options.calibrations = {folder / "calibration"};
  return kes::Strip(small.write(folder), options).band(0);
}

// Rolled by 0.5, what is above a plane through the aircraft that falls to one side by that angle is behind the camera,
// also far below the aircraft at 1000 m.
TEST_P(SolverInvariants, PointBehindTheCameraHasNoSolution) {
  test::TempFolder const folder;
  kes::Band const band = rolledBand(folder, 0.5);
  double const middle = band.toGround(geo::XYPoint(50.0, 50.0), test::atHeight(0.0)).position.y;
  ASSERT_NEAR(std::fabs(middle), 1000.0 * std::tan(0.5), 0.1);
  double const away = middle > 0.0 ? -1.0 : 1.0;
  std::vector<geo::XYZPoint> points;
  for (double const far : {300.0, 3000.0, 30000.0}) {
    double const plane = 1000.0 - far * std::tan(0.5);
    for (double const above : {0.01, 1.0, 100.0}) {
      points.emplace_back(50.0, away * far, plane + above * far / 300.0);
      ASSERT_LT(points.back().z, 1000.0);
    }
  }
  points.emplace_back(50.0, middle, 0.0);
  auto const found = test::toImage(band, points, test::by(GetParam().solver));
  for (std::size_t i = 0; i + 1 < points.size(); ++i) {
    EXPECT_EQ(found.status[i], Status::noSolution) << points[i].y << ' ' << points[i].z;
    EXPECT_TRUE(std::isnan(found.points[i].x) && std::isnan(found.points[i].y));
  }
  EXPECT_EQ(found.status.back(), Status::ok);
}

// Rolled by 1.55, the middle sample looks 0.02 below the horizon. As a pixel is 0.002, one of the samples 25 away looks
// up.
TEST_P(SolverInvariants, LineOfSightThatGoesUpMeetsNoHeightBelow) {
  test::TempFolder const folder;
  kes::Band const band = rolledBand(folder, 1.55);
  for (double const height : {0.0, 900.0, 999.9}) {
    int up = 0;
    for (double const sample : {25.0, 75.0}) {
      geo::XYPoint const image(sample, 50.0);
      auto const ground = band.toGround(image, test::atHeight(height, GetParam().solver));
      bool const isUp = ground.status == Status::noSolution;
      up += isUp ? 1 : 0;
      EXPECT_TRUE(isUp ? std::isnan(ground.position.x) : ground.status == Status::ok) << sample << ' ' << height;
      // What looks up has no solution above the aircraft, either.
      EXPECT_EQ(band.toGround(image, test::atHeight(2000.0 - height, GetParam().solver)).status, Status::noSolution);
    }
    EXPECT_EQ(up, 1) << height;
  }
}

// The same above the anchor's ellipsoid and on a surface of that height: a line of sight meets nothing there.
TEST_P(SolverInvariants, HeightOrSurfaceAboveTheAircraftHasNoSolutionInAnySystem) {
  forEachBand([&](kes::Band const& band, unsigned seed) {
    kes::Strip const& strip = test::randomStrip(seed);
    auto const wgs84 = kes::CoordinateSystem::wgs84Degrees();
    double const aircraft = strip.meanFlyingHeight() + strip.trajectory().anchor().height;
    geo::XYPoint const image(50.0, 150.0);
    for (double const above : {100.0, 1e5}) {
      kes::ToGroundOptions options = test::atHeight(aircraft + above, GetParam().solver);
      options.system = wgs84;
      ASSERT_EQ(band.toGround(image, options).status, Status::noSolution);
      options.heights = kes::Surface::constant(wgs84, aircraft + above);
      auto const met = band.toGround(image, options);
      ASSERT_EQ(met.status, GetParam().solver == Solver::precise ? Status::noSurface : Status::noSolution);
      ASSERT_TRUE(std::isnan(met.position.x));
      auto const below = band.toGround(image, test::atHeight(0.0));
      kes::ToImageOptions back = test::by(GetParam().solver);
      back.heights = kes::ConstantHeight{strip.meanFlyingHeight() + above};
      ASSERT_EQ(band.toImage(below.position, back).status, Status::noSolution);
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Forms, SolverInvariants,
                         testing::Values(Form{Solver::precise, "Precise", 1e-6, true},
                                         Form{Solver::libraryPoint, "LibraryPoint", 0.1, true},
                                         Form{Solver::libraryRun, "LibraryRun", 0.1, false},
                                         Form{Solver::libraryLanes, "LibraryLanes", 0.1, false}),
                         [](auto const& form) { return form.param.name; });

}  // namespace
