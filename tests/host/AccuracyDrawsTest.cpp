// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RandomStrips.h"
#include "ResidualReference.h"
#include "support/TempFolder.h"

#include <sensor/EOPData.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <memory>
#include <random>
#include <string>

// Covariances of ground positions against a hundred thousand draws of errors.

namespace {

using kes::Status;
using test::ResidualReference;

constexpr double HEIGHT = 60.0;
constexpr double METRES = 0.02;
constexpr double RADIANS = 1.5e-5;

/// A flight whose standard deviations differ from axis to axis and grow from record to record.
class Flight {
public:
  explicit Flight(unsigned seed) {
    std::string const file = test::writeFlight(mFolder.path(), seed, 500, 1.0);
    kes::StripOptions options;
    options.calibrations = {test::calibrations()};
    options.standardDeviations = true;
    std::string const orientation = kes::Strip(file, options).trajectory().fileName();
    sensor::EOPData data(orientation, true, true);
    for (int i = 0; i < data.numSets(); ++i) {
      auto const grown = static_cast<float>(1.0 + 0.002 * i);
      data.setStdDevs(i, 0.7F * grown * float(METRES), 1.4F * float(METRES), 1.1F * grown * float(METRES),
                      0.8F * float(RADIANS), 1.5F * grown * float(RADIANS), 4.0F * float(RADIANS));
    }
    data.write(orientation, 0);
    mStrip = std::make_unique<kes::Strip>(file, options);
  }
  kes::Strip const& strip() const { return *mStrip; }

private:
  test::TempFolder mFolder;
  std::unique_ptr<kes::Strip> mStrip;
};

Flight const& flight(unsigned seed) {
  static std::map<unsigned, std::unique_ptr<Flight>> made;
  std::unique_ptr<Flight>& entry = made[seed];
  if (entry == nullptr) {
    entry = std::make_unique<Flight>(seed);
  }
  return *entry;
}

std::array<double, 6> deviationsAt(kes::Strip const& strip, double time) {
  kes::TrajectoryAccuracy const a = *strip.trajectory().accuracyAt(time);
  return {a.position.x, a.position.y, a.position.z, a.attitude.omega, a.attitude.phi, a.attitude.kappa};
}

/// A line of sight with errors, written anew: the ray's rotation about x by omega, y by phi and z by kappa.
class Draws {
public:
  Draws(kes::Strip const& strip, char const* id) : mReference(strip, id) {}

  double time(double line) const { return static_cast<double>(mReference.band().exposure(line).time); }

  /// Where an image position with errors (of position, metres, and omega, phi, kappa, radians) sees a height.
  geo::XYZPoint ground(geo::XYPoint const& image, std::array<double, 6> const& errors, double height) const {
    auto const [t, correction] = mReference.band().exposure(image.y);
    auto const pose = mReference.band().pose(t);
    // The ground's axes in the camera are the rotation's rows.
    auto const x = test::Reference::turned(pose.attitude, {1, 0, 0});
    auto const y = test::Reference::turned(pose.attitude, {0, 1, 0});
    auto const z = test::Reference::turned(pose.attitude, {0, 0, 1});
    auto const omega = static_cast<double>(std::atan2(-y[2], z[2])) + errors[3];
    auto const phi = static_cast<double>(std::asin(x[2])) + errors[4];
    auto const kappa = static_cast<double>(std::atan2(-x[1], x[0])) + errors[5];
    auto const focal = mReference.band().focal(image.x);
    auto const fx = static_cast<double>(focal[0] + mReference.band().pixelSize() * correction);
    auto const fy = static_cast<double>(focal[1]);
    auto const f = static_cast<double>(mReference.band().focalLength());
    geo::XYZPoint ray(std::cos(kappa) * fx - std::sin(kappa) * fy, std::sin(kappa) * fx + std::cos(kappa) * fy, -f);
    ray = {std::cos(phi) * ray.x + std::sin(phi) * ray.z, ray.y, -std::sin(phi) * ray.x + std::cos(phi) * ray.z};
    ray = {ray.x, std::cos(omega) * ray.y - std::sin(omega) * ray.z, std::sin(omega) * ray.y + std::cos(omega) * ray.z};
    auto const centre = [&](std::size_t i) { return static_cast<double>(pose.position[i]) + errors[i]; };
    double const s = (height - centre(2)) / ray.z;
    return {centre(0) + s * ray.x, centre(1) + s * ray.y, height};
  }

private:
  ResidualReference mReference;
};

/// Of drawn differences: the covariance matrix about zero.
class Scatter {
public:
  void add(geo::XYZPoint const& d) {
    std::array<double, 6> const products{d.x * d.x, d.x * d.y, d.x * d.z, d.y * d.y, d.y * d.z, d.z * d.z};
    for (std::size_t i = 0; i < 6; ++i) {
      mSums[i] += products[i];
    }
    ++mCount;
  }
  /// Standard deviations to 2 %; covariances to 2 % of the greatest that they could be.
  void expect(kes::Covariance const& c) const {
    std::array<double, 6> const given{c.xx, c.xy, c.xz, c.yy, c.yz, c.zz};
    std::array<double, 6> const scale{c.xx, std::sqrt(c.xx * c.yy), std::sqrt(c.xx * c.zz),
                                      c.yy, std::sqrt(c.yy * c.zz), c.zz};
    for (std::size_t i = 0; i < 6; ++i) {
      bool const isVariance = i == 0 || i == 3 || i == 5;
      EXPECT_NEAR(given[i], mSums[i] / mCount, (isVariance ? 0.04 : 0.02) * scale[i]) << i;
    }
  }

private:
  std::array<double, 6> mSums{};
  int mCount = 0;
};

geo::XYZPoint difference(geo::XYZPoint const& a, geo::XYZPoint const& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

constexpr int DRAWS = 100000;

TEST(Accuracy, CovarianceIsThatOfDrawnErrors) {
  for (unsigned const seed : {2U, 4U, 7U}) {
    kes::Strip const& strip = flight(seed).strip();
    ASSERT_TRUE(strip.trajectory().hasStandardDeviations());
    for (char const* const id : {"PANF27A", "PANN00A", "PANB14A", "REDF16A"}) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << ", " << id);
      kes::Band const band = strip.band(id);
      Draws const draws(strip, id);
      geo::XYPoint const image(0.11 * band.samples(), 163.7);
      geo::XYZPoint const ground = band.toGround(image, test::atHeight(HEIGHT)).position;
      kes::AccuracyOptions options;
      options.imageSigma = 0.4;
      options.heightSigma = 0.09;
      kes::Covariance covariance{};
      Status status{};
      ASSERT_EQ(band.accuracy({&image, 1}, {&ground, 1}, options, {}, {&covariance, 1}, {&status, 1}), 1U);
      ASSERT_EQ(status, Status::ok);
      std::array<double, 6> const sigma = deviationsAt(strip, draws.time(image.y));
      std::mt19937_64 random(seed);
      std::normal_distribution<double> normal;
      Scatter scatter;
      for (int i = 0; i < DRAWS; ++i) {
        std::array<double, 6> errors{};
        for (std::size_t k = 0; k < 6; ++k) {
          errors[k] = sigma[k] * normal(random);
        }
        double const sample = image.x + options.imageSigma * normal(random);
        double const line = image.y + options.imageSigma * normal(random);
        double const height = HEIGHT + options.heightSigma * normal(random);
        scatter.add(difference(draws.ground({sample, line}, errors, height), ground));
      }
      scatter.expect(covariance);
    }
  }
}

/// Correlation times of position and attitude in units of one time.
struct Processes {
  char const* name;
  std::array<double, 6> times;
};

kes::CorrelationTimes correlationTimesOf(Processes const& processes, double unit) {
  auto const& t = processes.times;
  return {{t[0] * unit, t[1] * unit, t[2] * unit}, {t[3] * unit, t[4] * unit, t[5] * unit}};
}

// Two places that two bands see at other times, with errors that are a Gauss-Markov process each.
TEST(Accuracy, CovarianceOfADifferenceIsThatOfDrawnProcesses) {
  kes::Strip const& strip = flight(4).strip();
  kes::Band const bands[] = {strip.band("PANF27A"), strip.band("NIRF16A")};
  Draws const draws[] = {Draws(strip, "PANF27A"), Draws(strip, "NIRF16A")};
  geo::XYPoint const image[] = {{30.2, 20.4}, {170.6, 430.8}};
  kes::AccuracyOptions options;
  options.imageSigma = 0.2;
  options.heightSigma = 0.03;
  geo::XYZPoint ground[2];
  kes::GroundErrors errors[2];
  std::array<double, 6> sigma[2];
  for (std::size_t i = 0; i < 2; ++i) {
    ground[i] = bands[i].toGround(image[i], test::atHeight(HEIGHT)).position;
    Status status{};
    bands[i].accuracy({&image[i], 1}, {&ground[i], 1}, options, {&errors[i], 1}, {}, {&status, 1});
    sigma[i] = deviationsAt(strip, draws[i].time(image[i].y));
    EXPECT_NEAR(errors[i].time, draws[i].time(image[i].y), 1e-9);
  }
  double const apart = errors[1].time - errors[0].time;
  ASSERT_GT(apart, 0.5);
  for (Processes const& processes :
       {Processes{"fast", {0.3, 0.3, 0.3, 0.3, 0.3, 0.3}}, Processes{"slow", {2.0, 2.0, 2.0, 2.0, 2.0, 2.0}},
        Processes{"slower", {50.0, 50.0, 50.0, 50.0, 50.0, 50.0}},
        Processes{"each its own", {0.2, 30.0, 1.0, 8.0, 0.5, 3.0}}}) {
    SCOPED_TRACE(processes.name);
    std::mt19937_64 random(11);
    std::normal_distribution<double> normal;
    Scatter scatter;
    for (int n = 0; n < DRAWS; ++n) {
      geo::XYZPoint moved[2];
      std::array<double, 6> process{};
      for (std::size_t i = 0; i < 2; ++i) {
        std::array<double, 6> drawn{};
        for (std::size_t k = 0; k < 6; ++k) {
          double const r = std::exp(-1.0 / processes.times[k]);
          process[k] = i == 0 ? normal(random) : r * process[k] + std::sqrt(1.0 - r * r) * normal(random);
          drawn[k] = sigma[i][k] * process[k];
        }
        double const sample = image[i].x + options.imageSigma * normal(random);
        double const line = image[i].y + options.imageSigma * normal(random);
        double const height = HEIGHT + options.heightSigma * normal(random);
        moved[i] = difference(draws[i].ground({sample, line}, drawn, height), ground[i]);
      }
      scatter.add(difference(moved[1], moved[0]));
    }
    scatter.expect(kes::relativeCovariance(errors[0], errors[1], correlationTimesOf(processes, apart)));
    if (processes.times.front() == processes.times.back()) {
      scatter.expect(kes::relativeCovariance(errors[0], errors[1], processes.times.front() * apart));
    }
  }
}

}  // namespace
