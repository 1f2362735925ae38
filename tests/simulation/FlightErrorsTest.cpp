// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "TruthSupport.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <kes/Strip.h>
#include <sensor/kessensor.h>
#include <simulation/CameraHead.h>
#include <simulation/Flight.h>
#include <simulation/NavigationErrors.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

using simulation::CameraHead;
using simulation::ErrorPlan;
using simulation::FlightPlan;

// All errors at once, none of them alike.
ErrorPlan allErrors() {
  ErrorPlan plan;
  plan.boresight.values = {1.5e-3, -2.1e-3, 3.3e-3};
  plan.leverArm.values = {0.31, -0.22, 0.47};
  plan.focalLength.values = {21e-6};
  plan.principalPoint.values = {17e-6, -11e-6};
  for (int i = 1; i <= 50; ++i) {
    plan.lineShape.values.push_back((i % 7 - 3) * 1.3e-6 + 0.1e-6 * i);
  }
  plan.timeOffset.values = {0.0137};
  plan.gnssShift.values = {0.4, -0.3, 0.25};
  plan.gnssDrift.values = {0.003, 0.007, -0.005};
  plan.navigation = "tactical";
  return plan;
}

FlightPlan flightWith(ErrorPlan const& errors) {
  FlightPlan plan;
  plan.dem = KESSENSOR_TERRAIN;
  plan.lines = 3000;
  plan.samples = 2000;
  plan.seed = 11;
  plan.heading = 300.0;
  plan.errors = errors;
  return plan;
}

class FlightErrors : public testing::Test {
protected:
  simulation::FlightFiles fly(ErrorPlan const& errors, char const* name = "flight") const {
    return simulation::simulateFlight(flightWith(errors), mFolder / name);
  }
  kes::Strip open(std::string const& file) const {
    kes::StripOptions options;
    options.calibrations = {mFolder / "flight/calibration"};
    return kes::Strip(mFolder / ("flight/" + file), options);
  }
  test::TempFolder mFolder;
};

// Root mean squares of the residuals in the focal plane, in pixels.
struct Rms {
  double along = 0.0;
  double across = 0.0;
};

// Of what the true strip sees 300 m up, in the recorded one with corrections of a band at a time.
Rms residualsOf(kes::Strip const& recorded, kes::Strip const& truth,
                std::function<kes::ModelCorrections(int, double)> const& corrections) {
  Rms sum;
  int count = 0;
  for (int b = 0; b < truth.bandCount(); ++b) {
    kes::Band const band = truth.band(b);
    for (double line = 7.3; line < band.lines() - 1.0; line += 411.7) {
      for (double sample = 3.4; sample < band.samples() - 1.0; sample += 197.3) {
        geo::XYPoint const image(sample, line);
        kes::ToGroundOptions options;
        options.heights = kes::ConstantHeight{300.0};
        double time = 0.0;
        options.outputs.time = {&time, 1};
        auto const [ground, status] = band.toGround(image, options);
        auto const result = recorded.band(b).partials(image, ground, corrections(b, time));
        EXPECT_TRUE(hasResult(status) && hasResult(result.status));
        double const perPixel = 1.0 / static_cast<double>(CameraHead::pixelSize);
        sum.along += std::pow(result.partials.residual[0] * perPixel, 2);
        sum.across += std::pow(result.partials.residual[1] * perPixel, 2);
        ++count;
      }
    }
  }
  return {std::sqrt(sum.along / count), std::sqrt(sum.across / count)};
}

// Angles in files and quaternions in memory have single precision, and focal positions 10 nanometres: together less
// than a thousandth of a pixel.
TEST_F(FlightErrors, CorrectionsOfTheTruthUndoTheErrors) {
  simulation::FlightFiles const files = fly(allErrors());
  kes::Strip const recorded = open(files.strip);
  kes::Strip const truth = open(files.trueStrip);
  QJsonObject const document = test::truthOf(mFolder / "flight");
  Rms const undone =
      residualsOf(recorded, truth, [&](int band, double time) { return test::correctionsOf(document, 0, band, time); });
  EXPECT_LT(undone.along, 0.001);
  EXPECT_LT(undone.across, 0.001);
  // Each of them counts: without any one, or with its other sign, there are twenty times such residuals.
  using Part = std::function<void(kes::ModelCorrections&)>;
  std::vector<std::pair<char const*, Part>> const parts{
      {"position", [](kes::ModelCorrections& c) { c.position = {}; }},
      {"attitude", [](kes::ModelCorrections& c) { c.attitude = {}; }},
      {"boresight", [](kes::ModelCorrections& c) { c.boresight = {}; }},
      {"leverArm", [](kes::ModelCorrections& c) { c.leverArm = {}; }},
      {"time", [](kes::ModelCorrections& c) { c.time = 0.0; }},
      {"focalLength", [](kes::ModelCorrections& c) { c.focalLength = 0.0; }},
      {"principalPoint", [](kes::ModelCorrections& c) { c.principalPoint = {}; }},
      {"line", [](kes::ModelCorrections& c) { c.line = {}; }}};
  for (auto const& [name, remove] : parts) {
    Rms const without = residualsOf(recorded, truth, [&, &removePart = remove](int band, double time) {
      kes::ModelCorrections corrections = test::correctionsOf(document, 0, band, time);
      removePart(corrections);
      return corrections;
    });
    EXPECT_GT(std::hypot(without.along, without.across), 0.02) << name;
  }
}

TEST_F(FlightErrors, TruthHasTheGivenValues) {
  fly(allErrors());
  QJsonObject const truth = test::truthOf(mFolder / "flight");
  kes::ModelCorrections const c = test::correctionsOf(truth, 0, 3, 312340.0);
  EXPECT_EQ(c.boresight, (std::array<double, 3>{1.5e-3, -2.1e-3, 3.3e-3}));
  EXPECT_EQ(c.leverArm, (std::array<double, 3>{0.31, -0.22, 0.47}));
  EXPECT_EQ(c.focalLength, 21e-6);
  EXPECT_EQ(c.principalPoint, (std::array<double, 2>{17e-6, -11e-6}));
  EXPECT_EQ(c.time, 0.0137);
  std::vector<double> const& shapes = allErrors().lineShape.values;
  EXPECT_TRUE(std::equal(c.line.begin(), c.line.end(), shapes.begin() + 15));
  EXPECT_EQ(truth["navigation"].toString().toStdString(), "tactical");
  QJsonObject const strip = truth["strips"].toArray()[0].toObject();
  EXPECT_EQ(strip["strip"].toString().toStdString(), "strip.stp");
  EXPECT_EQ(strip["trueStrip"].toString().toStdString(), "truth/strip.stp");
  EXPECT_EQ(strip["trueOrientation"].toString().toStdString(), "truth/flight.eop");
  EXPECT_EQ(test::numbers<3>(strip["gnssShift"]), (std::array<double, 3>{0.4, -0.3, 0.25}));
  EXPECT_EQ(test::numbers<3>(strip["gnssDrift"]), (std::array<double, 3>{0.003, 0.007, -0.005}));
}

// Without a class of navigation systems, shift and drift are all of the corrections of positions.
TEST_F(FlightErrors, DriftGoesFromAShiftInTheMiddle) {
  ErrorPlan errors;
  errors.gnssShift.values = {0.4, -0.3, 0.25};
  errors.gnssDrift.values = {0.003, 0.007, -0.005};
  fly(errors);
  QJsonObject const nodes = test::truthOf(mFolder / "flight")["strips"].toArray()[0].toObject()["nodes"].toObject();
  sensor::EOPData const truth(mFolder / "flight/truth/flight.eop");
  sensor::EOP first;
  sensor::EOP last;
  ASSERT_EQ(truth.atIndex(0, first), 0);
  ASSERT_EQ(truth.atIndex(truth.numSets() - 1, last), 0);
  double const middle = 0.5 * (first.gpsTime + last.gpsTime);
  EXPECT_NEAR(test::atNodes(nodes, "position", middle)[0], 0.4, 1e-12);
  EXPECT_NEAR(test::atNodes(nodes, "position", middle + 4.5)[1], -0.3 + 4.5 * 0.007, 1e-12);
  EXPECT_NEAR(test::atNodes(nodes, "position", middle - 4.5)[2], 0.25 + 4.5 * 0.005, 1e-12);
  EXPECT_EQ(test::atNodes(nodes, "attitude", middle), (std::array<double, 3>{}));
}

// The library enters an adjusted orientation without a folder: it has to lie beside the strip file.
TEST_F(FlightErrors, AdjustedOrientationIsFoundWhereTheLibraryEntersIt) {
  simulation::FlightFiles const files = fly(allErrors());
  EXPECT_EQ(files.adjustedEop, "");
  sensor::CameraFactory::instance()->addSearchPath(mFolder / "flight/calibration");
  {
    sensor::KESStripModel strip(mFolder / "flight/strip.stp", true, false, true);
    EXPECT_EQ(strip.modelData()->originalEOPFileName(), mFolder / "flight/flight.eop");
    strip.completeEOPAdjustment();
  }
  sensor::KESStripModel const again(mFolder / "flight/strip.stp", true, false, true);
  EXPECT_TRUE(again.modelData()->isUseAdjustedEOP());
  EXPECT_EQ(again.modelData()->adjustedEOPFileName(), mFolder / "flight/flight.eop.adj");
  EXPECT_GT(again.eop()->numSets(), 200);
}

TEST_F(FlightErrors, CamerasWithErrorsHaveIdsOfTheirOwn) {
  ErrorPlan errors;
  errors.focalLength.values = {1e-5};
  simulation::CameraErrors const one(errors, 1);
  errors.focalLength.values = {2e-5};
  simulation::CameraErrors const two(errors, 1);
  CameraHead const head(900);
  EXPECT_THAT(head.recorded(one).sensorId(), testing::MatchesRegex("00900e[0-9a-f]{8}"));
  EXPECT_EQ(head.recorded(one).sensorId(), head.recorded(simulation::CameraErrors(one)).sensorId());
  EXPECT_NE(head.recorded(one).sensorId(), head.recorded(two).sensorId());
  errors = {};
  errors.boresight.values = {1e-3, 0.0, 0.0};
  EXPECT_EQ(head.recorded(simulation::CameraErrors(errors, 1)).sensorId(), "00900");
}

// An error of its own stream changes no other, and a sigma scales what is drawn.
TEST_F(FlightErrors, AreDrawnFromTheSeed) {
  ErrorPlan plan;
  plan.boresight = {{1e-4}, true};
  plan.lineShape = {{1e-6}, true};
  simulation::CameraErrors const one(plan, 7);
  plan.boresight.values = {2e-4, 2e-4, 2e-4};
  plan.leverArm = {{0.1}, true};
  simulation::CameraErrors const two(plan, 7);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_DOUBLE_EQ(two.common.boresight[i], 2.0 * one.common.boresight[i]);
    EXPECT_NE(one.common.boresight[i], 0.0);
  }
  EXPECT_EQ(one.lines, two.lines);
  EXPECT_NE(one.lines[0], one.lines[1]);
  EXPECT_NE(one.common.boresight, simulation::CameraErrors(plan, 8).common.boresight);
}

// Over n values that are correlated by rho from one to the next, the mean of products errs by less than
// 5 sqrt((1 + rho^2) / (1 - rho^2) / n).
TEST_F(FlightErrors, NavigationErrsAsAGaussMarkovProcess) {
  constexpr std::size_t count = 200000;
  constexpr double sigma = 0.3;
  constexpr double tau = 20.0;
  std::vector<double> const values =
      simulation::GaussMarkovProcess{sigma, tau}.values(count, 1.0, simulation::Random(5, 1));
  double const rho = std::exp(-1.0 / tau);
  double const limit = 5.0 * sigma * sigma * std::sqrt((1.0 + rho * rho) / (1.0 - rho * rho) / count);
  for (std::size_t lag : {0U, 1U, 20U, 60U}) {
    double sum = 0.0;
    for (std::size_t i = lag; i < count; ++i) {
      sum += values[i] * values[i - lag];
    }
    double const covariance = sum / static_cast<double>(count - lag);
    EXPECT_NEAR(covariance, sigma * sigma * std::exp(-static_cast<double>(lag) / tau), limit) << lag;
  }
}

TEST_F(FlightErrors, ClassOfNavigationSystemsIsStatedInTheRecords) {
  ErrorPlan errors;
  errors.navigation = "mems";
  fly(errors);
  simulation::NavigationErrors const expected = simulation::navigationErrorsOf("mems");
  sensor::EOPData const eop(mFolder / "flight/flight.eop", true, true);
  std::array<float, 6> d{};
  ASSERT_EQ(eop.stdDevAtGPS(sensor::seconds(312339.0), d[0], d[1], d[2], d[3], d[4], d[5]), 0);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_FLOAT_EQ(d[i], static_cast<float>(expected.position[i].sigma));
    EXPECT_FLOAT_EQ(d[3 + i], static_cast<float>(expected.attitude[i].sigma));
  }
}

}  // namespace
