// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RandomStrips.h"
#include "ResidualReference.h"
#include "support/Matchers.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

// How accurate ground positions are, by the partial derivatives; AccuracyDrawsTest.cpp has draws of errors.

namespace {

using kes::Status;
using test::Real;
using test::ResidualReference;

constexpr double HEIGHT = 60.0;

kes::TrajectoryAccuracy constantAccuracy() {
  return {{0.03, 0.05, 0.07}, {2e-5, 3e-5, 5e-5}};
}

/// Random positions of a band with their errors by given standard deviations.
struct Positions {
  Positions(kes::Band const& band, kes::AccuracyOptions const& options)
      : image(test::imagePoints(band, 41, 3000)), ground(test::toGround(band, image, test::atHeight(HEIGHT)).points),
        errors(image.size()), covariances(image.size()), status(image.size()) {
    results = band.accuracy(image, ground, options, errors, covariances, status);
  }
  std::vector<geo::XYPoint> image;
  std::vector<geo::XYZPoint> ground;
  std::vector<kes::GroundErrors> errors;
  std::vector<kes::Covariance> covariances;
  std::vector<Status> status;
  std::size_t results = 0;
};

TEST(Accuracy, ErrorsAreThePartialDerivativesTimesTheStandardDeviations) {
  for (char const* const id : test::BANDS) {
    kes::Strip const& strip = test::randomStrip(6);
    kes::Band const band = strip.band(id);
    ResidualReference const reference(strip, id);
    kes::AccuracyOptions options;
    options.trajectory = constantAccuracy();
    options.imageSigma = 1e-3;
    options.heightSigma = 0.25;
    Positions const positions(band, options);
    std::size_t compared = 0;
    for (std::size_t i = 0; i < positions.image.size() && compared < 50; ++i) {
      geo::XYPoint const& image = positions.image[i];
      if (!reference.isSmooth(band, image, {})) {
        continue;
      }
      ++compared;
      SCOPED_TRACE(testing::Message() << id << ", sample " << image.x << ", line " << image.y);
      kes::GroundPartials const partials = kes::groundPartials(band.partials(image, positions.ground[i]).partials);
      kes::GroundErrors const& errors = positions.errors[i];
      auto const pose = reference.band().pose(reference.band().exposure(image.y).time);
      auto const up = test::Reference::turned(
          {pose.attitude[0], -pose.attitude[1], -pose.attitude[2], -pose.attitude[3]}, {0, 0, 1});
      Real const cosine = std::hypot(up[1], up[2]);
      std::array<test::Reference::Vector, 3> const axes{{{1, 0, 0}, {0, up[2] / cosine, -up[1] / cosine}, up}};
      std::array<double, 3> const ofPosition{0.03, 0.05, 0.07};
      std::array<double, 3> const ofAttitude{2e-5, 3e-5, 5e-5};
      for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t k = 0; k < 3; ++k) {
          EXPECT_NEAR(errors.trajectory[6 * row + k], ofPosition[k] * partials.byPosition[3 * row + k], 1e-12);
          // The axis of an angle in the camera's axes.
          auto const axis = test::Reference::turned(pose.attitude, axes[k]);
          double expected = 0.0;
          for (std::size_t n = 0; n < 3; ++n) {
            expected += partials.byAttitude[3 * row + n] * static_cast<double>(axis[n]) * ofAttitude[k];
          }
          EXPECT_NEAR(errors.trajectory[6 * row + 3 + k], expected, 1e-10);
        }
        for (std::size_t k = 0; k < 2; ++k) {
          EXPECT_NEAR(errors.measuring[3 * row + k], 1e-3 * partials.byImage[2 * row + k], 1e-9);
        }
        EXPECT_NEAR(errors.measuring[3 * row + 2], 0.25 * partials.byHeight[row], 1e-11);
      }
    }
    EXPECT_EQ(compared, 50U);
  }
}

TEST(Accuracy, AxesAreThoseOfTheSystem) {
  kes::Strip const& strip = test::randomStrip(5);
  kes::Band const band = strip.band("PANF27A");
  kes::AccuracyOptions options;
  options.trajectory = constantAccuracy();
  options.imageSigma = 0.5;
  options.heightSigma = 0.3;
  Positions const local(band, options);
  constexpr double earthRadius = 6.37e6;
  for (std::string const definition : {"EPSG:32616", "EPSG:2274", "EPSG:4979"}) {
    SCOPED_TRACE(definition);
    kes::CoordinateSystem const system(definition);
    std::vector<geo::XYZPoint> ground(local.ground.size());
    band.localSystem().transform(system, local.ground, ground);
    options.system = system;
    std::vector<kes::GroundErrors> errors(ground.size());
    std::vector<Status> status(ground.size());
    ASSERT_EQ(band.accuracy(local.image, ground, options, errors, {}, status), ground.size());
    for (std::size_t i = 0; i < ground.size(); i += 300) {
      // A displaced position of the local system, in the other one.
      auto const compare = [&](auto const& from, auto const& to, std::size_t k) {
        std::size_t const columns = from.size() / 3;
        constexpr double exaggeration = 1000.0;
        geo::XYZPoint const& at = local.ground[i];
        geo::XYZPoint const moved(at.x + exaggeration * from[k], at.y + exaggeration * from[columns + k], at.z);
        geo::XYZPoint there;
        band.localSystem().transform(system, {&moved, 1}, {&there, 1});
        double const unit = system.horizontalUnit().metres;
        double const shrink = definition == "EPSG:4979" ? std::cos(ground[i].y * M_PI / 180.0) : 1.0;
        double const x = (there.x - ground[i].x) * unit * shrink / exaggeration;
        double const y = (there.y - ground[i].y) * unit / exaggeration;
        double const length = std::hypot(x, y);
        // Scale of the map and curvature of the ellipsoid.
        EXPECT_NEAR(to[k], x, 0.01 * length) << i << ' ' << k;
        EXPECT_NEAR(to[columns + k], y, 0.01 * length) << i << ' ' << k;
        EXPECT_EQ(to[2 * columns + k], 0.0);
      };
      for (std::size_t k = 0; k < 6; ++k) {
        compare(local.errors[i].trajectory, errors[i].trajectory, k);
      }
      compare(local.errors[i].measuring, errors[i].measuring, 0);
      compare(local.errors[i].measuring, errors[i].measuring, 1);
      EXPECT_EQ(errors[i].measuring[8], 0.3);
      double const distance = std::hypot(local.ground[i].x, local.ground[i].y);
      double const tilt = distance / earthRadius + 1e-9;
      auto const& m = errors[i].measuring;
      EXPECT_NEAR(std::hypot(m[2], m[5]), std::hypot(local.errors[i].measuring[2], local.errors[i].measuring[5]),
                  0.3 * 2.0 * tilt);
    }
  }
}

TEST(Accuracy, WithoutDeviationsOfRecordsTheFilesDefaultOnesHold) {
  kes::Strip const& strip = test::randomStrip(2);
  kes::Band const band = strip.band("NIRF16A");
  ASSERT_FALSE(strip.trajectory().hasStandardDeviations());
  kes::AccuracyOptions given;
  given.trajectory = strip.trajectory().accuracyAt(band.startTime());
  ASSERT_TRUE(given.trajectory.has_value());
  Positions const byDefault(band, {});
  Positions const byOptions(band, given);
  EXPECT_GT(byDefault.covariances[7].xx, 0.0);
  EXPECT_EQ(byDefault.errors[7].trajectory, byOptions.errors[7].trajectory);
  EXPECT_EQ(byDefault.covariances[7].zz, 0.0);
}

TEST(Accuracy, IsTheSameBitsForAnyThreadsAndAnySplit) {
  kes::Band const band = test::randomStrip(4).band("REDF16A");
  for (bool const isLocal : {true, false}) {
    kes::AccuracyOptions options;
    options.imageSigma = 0.5;
    options.heightSigma = 0.1;
    std::vector<geo::XYPoint> const image = test::imagePoints(band, 41, 3000);
    std::vector<geo::XYZPoint> ground = test::toGround(band, image, test::atHeight(HEIGHT)).points;
    if (!isLocal) {
      options.system = kes::CoordinateSystem("EPSG:32616");
      band.localSystem().transform(*options.system, ground, ground);
    }
    std::vector<kes::Covariance> alone(image.size());
    std::vector<kes::Covariance> together(image.size());
    std::vector<Status> status(image.size());
    EXPECT_EQ(band.accuracy(image, ground, options, {}, alone, status), image.size());
    options.threads = 3;
    EXPECT_EQ(band.accuracy(image, ground, options, {}, together, status), image.size());
    for (std::size_t i = 0; i < image.size(); ++i) {
      kes::Covariance single{};
      kes::GroundErrors errors{};
      band.accuracy({&image[i], 1}, {&ground[i], 1}, options, {&errors, 1}, {&single, 1}, {&status[i], 1});
      for (kes::Covariance const& other : {together[i], single, errors.covariance()}) {
        ASSERT_THAT(other.xx, test::SameBits(alone[i].xx)) << i;
        ASSERT_THAT(other.xy, test::SameBits(alone[i].xy)) << i;
        ASSERT_THAT(other.xz, test::SameBits(alone[i].xz)) << i;
        ASSERT_THAT(other.yy, test::SameBits(alone[i].yy)) << i;
        ASSERT_THAT(other.yz, test::SameBits(alone[i].yz)) << i;
        ASSERT_THAT(other.zz, test::SameBits(alone[i].zz)) << i;
      }
    }
  }
}

TEST(Accuracy, EachPositionHasItsStatus) {
  kes::Band const band = test::randomStrip(4).band("PANN00A");
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  geo::XYPoint const inside(20.0, 100.25);
  geo::XYZPoint const seen = band.toGround(inside, test::atHeight(HEIGHT)).position;
  std::vector<geo::XYPoint> const image{inside, {-0.6, 100.25}, {nan, 1.0}, inside, {20.0, -256.5}, inside, inside};
  std::vector<geo::XYZPoint> const ground{seen, seen, seen, {nan, 0.0, 0.0}, seen, {seen.x, seen.y, 1e5}, seen};
  std::vector<Status> const expected{Status::ok,         Status::outsideImage, Status::notFinite, Status::notFinite,
                                     Status::noSolution, Status::noSolution,   Status::ok};
  std::vector<kes::GroundErrors> errors(image.size());
  std::vector<kes::Covariance> covariances(image.size());
  std::vector<Status> status(image.size());
  EXPECT_EQ(band.accuracy(image, ground, {}, errors, covariances, status), 3U);
  EXPECT_EQ(status, expected);
  for (std::size_t i = 0; i < image.size(); ++i) {
    EXPECT_EQ(std::isnan(errors[i].time), !kes::hasResult(status[i])) << i;
    EXPECT_EQ(std::isnan(covariances[i].xx), !kes::hasResult(status[i])) << i;
    EXPECT_EQ(std::isnan(covariances[i].zz), !kes::hasResult(status[i])) << i;
  }
  // Beyond the map's domain.
  kes::AccuracyOptions options;
  options.system = kes::CoordinateSystem("EPSG:32616");
  std::vector<geo::XYZPoint> const away(image.size(), {1e30, 1e30, 0.0});
  EXPECT_EQ(band.accuracy(image, away, options, errors, covariances, status), 0U);
  EXPECT_EQ(status[0], Status::notTransformable);
}

TEST(Accuracy, BadOptionsAreRefused) {
  kes::Band const band = test::randomStrip(4).band("PANN00A");
  auto const messageOf = [&](kes::AccuracyOptions const& options) {
    return test::messageOf<std::invalid_argument>([&] { band.accuracy({}, {}, options, {}, {}, {}); });
  };
  std::string const expected = "standard deviations must be finite and not negative";
  kes::AccuracyOptions options;
  options.imageSigma = -0.1;
  EXPECT_EQ(messageOf(options), expected);
  options = {};
  options.heightSigma = std::numeric_limits<double>::infinity();
  EXPECT_EQ(messageOf(options), expected);
  options = {};
  options.trajectory = constantAccuracy();
  options.trajectory->attitude.kappa = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(messageOf(options), expected);
  for (double const time : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(test::messageOf<std::invalid_argument>([&] { std::ignore = kes::relativeCovariance({}, {}, time); }),
              "the correlation time must be positive");
    kes::CorrelationTimes const times{{1.0, 1.0, 1.0}, {1.0, time, 1.0}};
    EXPECT_EQ(test::messageOf<std::invalid_argument>([&] { std::ignore = kes::relativeCovariance({}, {}, times); }),
              "the correlation time must be positive");
  }
}

TEST(Accuracy, NeedsSpansOfOneSize) {
  kes::Band const band = test::randomStrip(4).band("PANN00A");
  std::vector<geo::XYPoint> const image(3);
  std::vector<geo::XYZPoint> const ground(3);
  std::vector<kes::GroundErrors> errors(2);
  std::vector<kes::Covariance> covariances(2);
  std::vector<Status> status(3);
  auto const message = [](auto const& call) { return test::messageOf<std::invalid_argument>(call); };
  std::string const expected = "spans differ in size";
  EXPECT_EQ(message([&] { band.accuracy(image, std::span(ground).first(2), {}, {}, {}, status); }), expected);
  EXPECT_EQ(message([&] { band.accuracy(image, ground, {}, errors, {}, status); }), expected);
  EXPECT_EQ(message([&] { band.accuracy(image, ground, {}, {}, covariances, status); }), expected);
  EXPECT_EQ(message([&] { band.accuracy(image, ground, {}, {}, {}, std::span(status).first(2)); }), expected);
}

}  // namespace
