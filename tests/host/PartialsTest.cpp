// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RandomStrips.h"
#include "ResidualReference.h"
#include "support/Matchers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

// Analytic derivatives against extrapolated differences of formulae written anew, in long double.

namespace {

using kes::Status;
using test::Inputs;
using test::Real;
using test::ResidualReference;

constexpr double RELATIVE = 1e-7;

/// Neighbouring inputs, and the matrix of their derivatives, in row-major order.
template <class Partials>
struct Matrix {
  char const* name;
  std::size_t firstInput;
  Real step;
  std::function<std::span<double const>(Partials const&)> of;
};

// Within one interval of all tables; smooth over so little.
constexpr Real METRES = 0.01L;
constexpr Real RADIANS = 1e-5L;
constexpr Real SECONDS = 2e-6L;
constexpr Real FOCAL_METRES = 1e-6L;
constexpr Real PIXELS = 0.01L;

template <class Partials>
std::vector<Matrix<Partials>> matricesOfCorrections() {
  return {
      {"position", Inputs::position, METRES, [](Partials const& p) { return std::span(p.byPosition); }},
      {"attitude", Inputs::attitudeTurn, RADIANS, [](Partials const& p) { return std::span(p.byAttitude); }},
      {"boresight", Inputs::boresightTurn, RADIANS, [](Partials const& p) { return std::span(p.byBoresight); }},
      {"lever arm", Inputs::leverArm, METRES, [](Partials const& p) { return std::span(p.byLeverArm); }},
      {"time", Inputs::time, SECONDS, [](Partials const& p) { return std::span(p.byTime); }},
      {"focal length", Inputs::focalLength, FOCAL_METRES, [](Partials const& p) { return std::span(p.byFocalLength); }},
      {"principal point", Inputs::principalPoint, FOCAL_METRES,
       [](Partials const& p) { return std::span(p.byPrincipalPoint); }},
      {"line", Inputs::line, FOCAL_METRES, [](Partials const& p) { return std::span(p.byLine); }},
      {"image", Inputs::image, PIXELS, [](Partials const& p) { return std::span(p.byImage); }}};
}

/// By central differences of two steps, which Richardson's extrapolation frees of their second order.
template <class Function>
auto derivative(Function const& function, Inputs const& inputs, std::size_t k, Real step) {
  auto const slope = [&](Real h) {
    Inputs above = inputs;
    Inputs below = inputs;
    above.values[k] += h;
    below.values[k] -= h;
    auto result = function(above);
    auto const other = function(below);
    for (std::size_t row = 0; row < result.size(); ++row) {
      result[row] = (result[row] - other[row]) / (2 * h);
    }
    return result;
  };
  auto result = slope(step / 2);
  auto const coarse = slope(step);
  for (std::size_t row = 0; row < result.size(); ++row) {
    result[row] = (4 * result[row] - coarse[row]) / 3;
  }
  return result;
}

/// Compares a matrix with the function's derivatives; the tolerance is relative to its greatest element.
template <class Function>
void expectDerivatives(std::span<double const> matrix, Function const& function, Inputs const& inputs,
                       std::size_t firstInput, Real step) {
  double greatest = 0.0;
  for (double const element : matrix) {
    greatest = std::max(greatest, std::fabs(element));
  }
  std::size_t const rows = function(inputs).size();
  std::size_t const columns = matrix.size() / rows;
  for (std::size_t column = 0; column < columns; ++column) {
    auto const expected = derivative(function, inputs, firstInput + column, step);
    for (std::size_t row = 0; row < rows; ++row) {
      EXPECT_NEAR(matrix[row * columns + column], static_cast<double>(expected[row]), RELATIVE * greatest)
          << "row " << row << ", column " << column;
    }
  }
}

kes::ModelCorrections randomCorrections(std::mt19937& random) {
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  auto const fill = [&](auto& values, double size) {
    for (double& value : values) {
      value = size * unit(random);
    }
  };
  kes::ModelCorrections corrections;
  fill(corrections.position, 0.5);
  fill(corrections.attitude, 0.01);
  fill(corrections.boresight, 0.02);
  fill(corrections.leverArm, 0.4);
  corrections.time = 1e-4 * unit(random);
  corrections.focalLength = 1e-4 * unit(random);
  fill(corrections.principalPoint, 5e-5);
  fill(corrections.line, 3e-5);
  return corrections;
}

/// Positions all over an image, after some where the integration time steps from a line to the next, in the band that
/// has TDI stages there.
std::vector<geo::XYPoint> candidates(kes::Band const& band, unsigned seed) {
  std::vector<geo::XYPoint> positions = test::imagePoints(band, seed + 900, 60);
  if (band.id() == "REDF16A") {
    int const quarter = band.lines() / 4;
    double const line = quarter + quarter / 2 - 1;
    positions.insert(positions.begin(), {{30.4, line + 0.3}, {90.6, line + 0.7}});
  }
  return positions;
}

/// Calls `check(band, reference, image, corrections)` for image positions of all kinds of bands, away from the kinks of
/// the model: without corrections, and with some of every kind.
template <class Check>
void forSmoothPositions(unsigned flights, Check const& check) {
  constexpr std::size_t perBand = 4;
  std::size_t checked = 0;
  for (unsigned seed = 0; seed < flights; ++seed) {
    kes::Strip const& strip = test::randomStrip(seed);
    for (char const* const id : test::BANDS) {
      kes::Band const band = strip.band(id);
      ResidualReference const reference(strip, id);
      std::mt19937 random(seed);
      std::size_t n = 0;
      for (geo::XYPoint const& image : candidates(band, seed)) {
        kes::ModelCorrections const corrections = n % 2 == 0 ? kes::ModelCorrections() : randomCorrections(random);
        if (n < perBand && reference.isSmooth(band, image, corrections)) {
          SCOPED_TRACE(testing::Message() << "seed " << seed << ", " << id << ", sample " << image.x << ", line "
                                          << image.y << ", corrections " << n % 2);
          check(band, reference, image, corrections);
          ++checked;
          ++n;
        }
      }
    }
  }
  EXPECT_GT(checked, 4U * flights * std::size(test::BANDS) - 10U);
}

constexpr double HEIGHT = 60.0;

TEST(Partials, ResidualAndItsDerivativesAreThoseOfALongDoubleForm) {
  forSmoothPositions(20, [](kes::Band const& band, ResidualReference const& reference, geo::XYPoint const& image,
                            kes::ModelCorrections const& corrections) {
    // Some pixels away from where the image position looks.
    geo::XYZPoint ground = band.toGround(image, test::atHeight(HEIGHT)).position;
    ground.x += 1.25;
    ground.y -= 0.75;
    auto const [partials, status] = band.partials(image, ground, corrections);
    ASSERT_EQ(status, Status::ok);
    Inputs const inputs(image, ground, corrections);
    auto const residual = [&](Inputs const& at) { return reference.residual(at); };
    // Integration times are floats: half of their last digit, on the way to the focal plane.
    constexpr double metres = 3e-12;
    for (std::size_t row = 0; row < 2; ++row) {
      EXPECT_NEAR(partials.residual[row], static_cast<double>(reference.residual(inputs)[row]), metres) << row;
    }
    auto matrices = matricesOfCorrections<kes::ResidualPartials>();
    matrices.push_back({"ground", Inputs::ground, METRES, [](auto const& p) { return std::span(p.byGround); }});
    for (auto const& matrix : matrices) {
      SCOPED_TRACE(matrix.name);
      expectDerivatives(matrix.of(partials), residual, inputs, matrix.firstInput, matrix.step);
    }
  });
}

TEST(Partials, GroundPositionAtAHeightMovesAsItsDerivativesSay) {
  forSmoothPositions(12, [](kes::Band const& band, ResidualReference const& reference, geo::XYPoint const& image,
                            kes::ModelCorrections const& corrections) {
    geo::XYZPoint const start = band.toGround(image, test::atHeight(HEIGHT)).position;
    geo::XYZPoint const ground = reference.groundOf(Inputs(image, start, corrections)).rounded();
    Inputs const inputs(image, ground, corrections);
    kes::GroundPartials const partials = kes::groundPartials(band.partials(image, ground, corrections).partials);
    auto const position = [&](Inputs const& at) {
      Inputs const seen = reference.groundOf(at);
      return std::array<Real, 3>{seen.values[Inputs::ground], seen.values[Inputs::ground + 1],
                                 seen.values[Inputs::ground + 2]};
    };
    auto matrices = matricesOfCorrections<kes::GroundPartials>();
    matrices.push_back({"height", Inputs::ground + 2, METRES, [](auto const& p) { return std::span(p.byHeight); }});
    for (auto const& matrix : matrices) {
      SCOPED_TRACE(matrix.name);
      expectDerivatives(matrix.of(partials), position, inputs, matrix.firstInput, matrix.step);
    }
  });
}

TEST(Partials, ImagePositionMovesWithTheGroundAsItsDerivativesSay) {
  forSmoothPositions(12, [](kes::Band const& band, ResidualReference const& reference, geo::XYPoint const& image,
                            kes::ModelCorrections const& corrections) {
    geo::XYZPoint const start = band.toGround(image, test::atHeight(HEIGHT)).position;
    geo::XYZPoint const ground = reference.groundOf(Inputs(image, start, corrections)).rounded();
    std::array<double, 6> const partials = kes::imageByGround(band.partials(image, ground, corrections).partials);
    auto const seen = [&](Inputs const& at) { return reference.imageOf(at); };
    constexpr Real millimetres = 0.001L;
    expectDerivatives(partials, seen, Inputs(image, ground, corrections), Inputs::ground, millimetres);
  });
}

TEST(Partials, WhatThePreciseFormFoundHasNoResidual) {
  for (unsigned seed = 0; seed < test::NOISY_FLIGHTS_END; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    for (char const* const id : test::BANDS) {
      kes::Band const band = test::randomStrip(seed).band(id);
      constexpr double pixel = 6.5e-6;
      std::vector<geo::XYPoint> const image = test::imagePoints(band, seed + 31, 20);
      auto const ground = test::toGround(band, image, test::atHeight(HEIGHT));
      auto const found = test::toImage(band, ground.points);
      for (std::size_t i = 0; i < image.size(); ++i) {
        auto const given = band.partials(image[i], ground.points[i]);
        auto const solved = band.partials(found.points[i], ground.points[i]);
        ASSERT_EQ(given.status, ground.status[i]);
        ASSERT_EQ(solved.status, found.status[i]);
        for (std::size_t row = 0; row < 2; ++row) {
          ASSERT_LT(std::fabs(given.partials.residual[row]), 1e-9 * pixel);
          ASSERT_LT(std::fabs(solved.partials.residual[row]), 1e-6 * pixel);
        }
      }
    }
  }
}

/// The bits of a result.
std::string bitsOf(kes::ResidualPartials const& partials) {
  std::string bits(sizeof partials, '\0');
  std::memcpy(bits.data(), &partials, sizeof partials);
  return bits;
}

TEST(Partials, AreTheSameBitsForAnyThreadsAndAnySplit) {
  kes::Band const band = test::randomStrip(3).band("REDF16A");
  std::vector<geo::XYPoint> const image = test::imagePoints(band, 17, 5000);
  auto const ground = test::toGround(band, image, test::atHeight(HEIGHT)).points;
  std::mt19937 random(5);
  std::vector<kes::ModelCorrections> corrections(image.size());
  std::generate(corrections.begin(), corrections.end(), [&] { return randomCorrections(random); });
  auto const partials = [&](int threads) {
    std::vector<kes::ResidualPartials> result(image.size());
    std::vector<Status> status(image.size());
    EXPECT_EQ(band.partials(image, ground, corrections, result, status, threads), image.size());
    return result;
  };
  std::vector<kes::ResidualPartials> const alone = partials(1);
  std::vector<kes::ResidualPartials> const together = partials(3);
  for (std::size_t i = 0; i < image.size(); ++i) {
    ASSERT_EQ(bitsOf(together[i]), bitsOf(alone[i])) << i;
    ASSERT_EQ(bitsOf(band.partials(image[i], ground[i], corrections[i]).partials), bitsOf(alone[i])) << i;
  }
}

TEST(Partials, EachPositionHasItsStatusAndDisturbsNoOther) {
  kes::Band const band = test::randomStrip(4).band("PANN00A");
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  geo::XYPoint const inside(20.0, 100.25);
  geo::XYZPoint const seen = band.toGround(inside, test::atHeight(HEIGHT)).position;
  kes::ModelCorrections const none;
  kes::ModelCorrections unknown;
  unknown.leverArm[1] = nan;
  kes::ModelCorrections endless;
  endless.focalLength = std::numeric_limits<double>::infinity();
  struct Case {
    geo::XYPoint image;
    geo::XYZPoint ground;
    kes::ModelCorrections corrections;
    Status status;
  };
  std::vector<Case> const cases{
      {inside, seen, none, Status::ok},
      {{-0.6, 100.25}, seen, none, Status::outsideImage},
      {{nan, 100.25}, seen, none, Status::notFinite},
      {inside, {seen.x, nan, seen.z}, none, Status::notFinite},
      {inside, seen, unknown, Status::notFinite},
      {inside, seen, endless, Status::notFinite},
      {{20.0, band.lines() + 256.0}, seen, none, Status::noSolution},
      {inside, {seen.x, seen.y, 1e5}, none, Status::noSolution},
      {inside, seen, none, Status::ok},
  };
  std::vector<geo::XYPoint> image;
  std::vector<geo::XYZPoint> ground;
  std::vector<kes::ModelCorrections> corrections;
  for (Case const& given : cases) {
    image.push_back(given.image);
    ground.push_back(given.ground);
    corrections.push_back(given.corrections);
  }
  std::vector<kes::ResidualPartials> partials(cases.size());
  std::vector<Status> status(cases.size());
  EXPECT_EQ(band.partials(image, ground, corrections, partials, status), 3U);
  for (std::size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(status[i], cases[i].status) << i;
    EXPECT_EQ(std::isnan(partials[i].residual[0]), !kes::hasResult(status[i])) << i;
    EXPECT_EQ(std::isnan(partials[i].byImage[3]), !kes::hasResult(status[i])) << i;
  }
  EXPECT_EQ(bitsOf(partials.back()), bitsOf(partials.front()));
}

TEST(Partials, NeedSpansOfOneSize) {
  kes::Band const band = test::randomStrip(4).band("PANN00A");
  std::vector<geo::XYPoint> const image(3);
  std::vector<geo::XYZPoint> const ground(3);
  std::vector<kes::ModelCorrections> const one(1);
  std::vector<kes::ResidualPartials> partials(3);
  std::vector<Status> status(3);
  auto const message = [](auto const& call) { return test::messageOf<std::invalid_argument>(call); };
  EXPECT_EQ(message([&] { band.partials(image, std::span(ground).first(2), {}, partials, status); }),
            "spans differ in size");
  EXPECT_EQ(message([&] { band.partials(image, ground, one, partials, status); }), "spans differ in size");
  EXPECT_EQ(message([&] { band.partials(image, ground, {}, std::span(partials).first(2), status); }),
            "spans differ in size");
  EXPECT_EQ(message([&] { band.partials(image, ground, {}, partials, std::span(status).first(2)); }),
            "spans differ in size");
}

}  // namespace
