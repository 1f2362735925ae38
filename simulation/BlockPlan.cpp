// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/BlockPlan.h>
#include <simulation/CameraHead.h>
#include <simulation/FlightFrame.h>
#include <simulation/Random.h>

#include <algorithm>
#include <cmath>
#include <files/Angles.h>
#include <stdexcept>

namespace simulation {

namespace {

constexpr double turnSeconds = 120.0;
constexpr std::uint64_t seedStream = 1001;  // of the block's seed; a flight has one more each

void require(bool inRange, char const* message) {
  if (!inRange) {
    throw std::runtime_error(message);
  }
}

double stripWidth(FlightPlan const& plan) {
  return plan.samples * CameraHead::groundSize(plan.height);
}

// Whole numbers that a double holds.
std::uint64_t seedOf(FlightPlan const& plan, std::size_t i) {
  constexpr double end = 9007199254740992.0;  // 2^53
  return static_cast<std::uint64_t>(Random(plan.seed, seedStream + i).uniform(0.0, end));
}

double wayOf(double heading, int i) {
  return std::fmod(heading + (i % 2 == 0 ? 0.0 : 180.0), 360.0);
}

// Rates that change may take an eighth longer than the flight at the first rate.
double nextStart(FlightPlan const& before) {
  return before.startTime + std::ceil(1.125 * FlightFrame::duration(before)) + turnSeconds;
}

}  // namespace

void BlockPlan::validate() const {
  require(strips >= 1 && strips <= maxStrips, "the number of strips must be from 1 to 50");
  require(crossStrips >= 0 && crossStrips <= maxStrips, "the number of cross strips must be from 0 to 50");
  require(overlap >= 0.0 && overlap <= maxOverlap, "the overlap must be from 0 to 90 per cent");
  require(points >= 1 && points <= maxPoints, "the number of ground points must be from 1 to 1000");
  require(noise >= 0.0 && noise <= maxNoise, "the noise must be from 0 to 5 pixels");
  require(control >= 0 && control <= maxPoints, "the number of control points must be from 0 to 1000");
  require(check >= 0 && check <= maxPoints, "the number of check points must be from 0 to 1000");
  require(surveySigma >= 0.0 && surveySigma <= 10.0, "the sigma of surveyed points must be from 0 to 10 metres");
  require(wrongControl >= 0.0 && wrongControl <= 1000.0, "a control point may be wrong by 0 to 1000 metres");
  require(wrongControl == 0.0 || control > 0, "without a control point, none can be wrong");
  require(ties >= 0.0 && ties <= maxTies, "the number of tie points a second must be from 0 to 1000");
  require(blunders >= 0.0 && blunders <= 50.0, "the share of blunders must be from 0 to 50 per cent");
  recordedFlight().validate(static_cast<std::size_t>(strips) + static_cast<std::size_t>(crossStrips));
  if (crossStrips > 0) {
    require(across(0).lines <= FlightPlan::maxLines, "the block is wider than the longest cross strip");
  }
}

FlightPlan BlockPlan::recordedFlight() const {
  FlightPlan plan = flight;
  if (hasTruth() && !plan.errors) {
    plan.errors.emplace();
  }
  return plan;
}

double BlockPlan::spacing() const {
  return stripWidth(flight) * (1.0 - overlap / 100.0);
}

double BlockPlan::width() const {
  return stripWidth(flight) + (strips - 1) * spacing();
}

// As the first strip flies: metres ahead and to the right.
FlightPlan BlockPlan::moved(double ahead, double right) const {
  double const sine = std::sin(files::toRadians(flight.heading));
  double const cosine = std::cos(files::toRadians(flight.heading));
  FlightPlan plan = flight;
  plan.east += ahead * sine + right * cosine;
  plan.north += ahead * cosine - right * sine;
  return plan;
}

FlightPlan BlockPlan::parallel(int i) const {
  FlightPlan plan = moved(0.0, (i - 0.5 * (strips - 1)) * spacing());
  plan.name = "Line" + std::to_string(i + 1);
  plan.heading = wayOf(flight.heading, i);
  return plan;
}

FlightPlan BlockPlan::across(int i) const {
  double const groundSize = CameraHead::groundSize(flight.height);
  FlightPlan plan = moved((i - 0.5 * (crossStrips - 1)) * (flight.lines * groundSize / crossStrips), 0.0);
  plan.name = "Cross" + std::to_string(i + 1);
  plan.heading = wayOf(flight.heading + 90.0, i);
  plan.lines = std::max(static_cast<int>(std::ceil(width() / groundSize)), FlightPlan::minLines);
  return plan;
}

std::vector<FlightPlan> BlockPlan::flights() const {
  std::vector<FlightPlan> plans;
  plans.reserve(static_cast<std::size_t>(strips) + static_cast<std::size_t>(crossStrips));
  for (int i = 0; i < strips; ++i) {
    plans.push_back(parallel(i));
  }
  for (int i = 0; i < crossStrips; ++i) {
    plans.push_back(across(i));
  }
  for (std::size_t i = 0; i < plans.size(); ++i) {
    plans[i].seed = seedOf(flight, i);
    if (auto const errors = recordedFlight().errors) {
      plans[i].errors = errors->ofStrip(i, plans.size());
    }
    if (i > 0) {
      plans[i].startTime = nextStart(plans[i - 1]);
    }
  }
  return plans;
}

}  // namespace simulation
