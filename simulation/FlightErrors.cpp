// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/CameraHead.h>
#include <simulation/FlightErrors.h>
#include <simulation/NavigationErrors.h>
#include <simulation/Random.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace simulation {

namespace {

// Streams of the seed, so that a further error changes no other. A vector, or a line, has one for all its components.
enum Stream : std::uint64_t {
  boresight = 301,
  leverArm,
  focalLength,
  principalPoint,
  timeOffset,
  gnssShift,
  gnssDrift,
  navigation = 321,  // one for each of six processes
  firstLine = 341    // one for each line
};

// The components of an error: the set with the number `set` where each has its own.
template <std::size_t Count>
std::array<double, Count> drawn(ErrorSize const& size, Random random, std::size_t set = 0) {
  std::array<double, Count> values{};
  if (size.isNone()) {
    return values;
  }
  bool const hasSets = !size.isDrawn && size.values.size() > Count;
  for (std::size_t i = 0; i < Count; ++i) {
    double const value = size.values.size() == 1 ? size.values[0] : size.values[hasSets ? set * Count + i : i];
    values[i] = size.isDrawn ? random.normal(value) : value;
  }
  return values;
}

using Vector = std::array<double, 3>;

Vector between(std::vector<Vector> const& nodes, double place) {
  double const last = static_cast<double>(nodes.size()) - 2.0;
  double const whole = std::fmin(std::fmax(std::floor(place), 0.0), last);
  auto const k = static_cast<std::size_t>(whole);
  double const w = place - whole;
  return {nodes[k][0] + (nodes[k + 1][0] - nodes[k][0]) * w, nodes[k][1] + (nodes[k + 1][1] - nodes[k][1]) * w,
          nodes[k][2] + (nodes[k + 1][2] - nodes[k][2]) * w};
}

// Adds a process to each component of the nodes. `random` returns the numbers of component i.
template <class RandomOf>
void addProcesses(std::vector<Vector>& nodes, std::array<GaussMarkovProcess, 3> const& errors, RandomOf const& random) {
  for (std::size_t i = 0; i < errors.size(); ++i) {
    std::vector<double> const values = errors[i].values(nodes.size(), StripErrors::interval, random(i));
    for (std::size_t k = 0; k < nodes.size(); ++k) {
      nodes[k][i] += values[k];
    }
  }
}

}  // namespace

CameraErrors::CameraErrors() : lines(CameraHead::bandIds().size()) {}

CameraErrors::CameraErrors(ErrorPlan const& plan, std::uint64_t seed) : CameraErrors() {
  common.boresight = drawn<3>(plan.boresight, Random(seed, boresight));
  common.leverArm = drawn<3>(plan.leverArm, Random(seed, leverArm));
  common.focalLength = drawn<1>(plan.focalLength, Random(seed, focalLength))[0];
  common.principalPoint = drawn<2>(plan.principalPoint, Random(seed, principalPoint));
  for (std::size_t i = 0; i < lines.size(); ++i) {
    lines[i] = drawn<5>(plan.lineShape, Random(seed, firstLine + i), i);
  }
}

bool CameraErrors::areInCalibration() const {
  auto const isError = [](double value) { return value != 0.0; };
  auto const hasErrors = [&](auto const& values) { return std::any_of(values.begin(), values.end(), isError); };
  return isError(common.focalLength) || hasErrors(common.principalPoint) ||
         std::any_of(lines.begin(), lines.end(), hasErrors);
}

StripErrors::StripErrors(ErrorPlan const& plan, CameraErrors camera, Span span, std::uint64_t seed)
    : mCamera(std::move(camera)), mTimeOffset(drawn<1>(plan.timeOffset, Random(seed, simulation::timeOffset))[0]),
      mShift(drawn<3>(plan.gnssShift, Random(seed, simulation::gnssShift))),
      mDrift(drawn<3>(plan.gnssDrift, Random(seed, simulation::gnssDrift))), mStart(std::floor(span.start)) {
  auto const count = static_cast<std::size_t>(std::ceil((span.end - mStart) / interval)) + 1;
  mPositions.resize(count);
  mAttitudes.resize(count);
  if (!plan.navigation.empty()) {
    NavigationErrors const errors = navigationErrorsOf(plan.navigation);
    addProcesses(mPositions, errors.position, [&](std::size_t i) { return Random(seed, navigation + i); });
    addProcesses(mAttitudes, errors.attitude, [&](std::size_t i) { return Random(seed, navigation + 3 + i); });
  }
  double const middle = 0.5 * (span.start + span.end);
  for (std::size_t k = 0; k < count; ++k) {
    double const time = mStart + static_cast<double>(k) * interval;
    for (std::size_t i = 0; i < 3; ++i) {
      mPositions[k][i] += mShift[i] + mDrift[i] * (time - middle);
    }
  }
}

kes::ModelCorrections StripErrors::at(double time, std::size_t line) const {
  kes::ModelCorrections corrections = mCamera.common;
  double const place = (time - mStart) / interval;
  corrections.position = between(mPositions, place);
  corrections.attitude = between(mAttitudes, place);
  corrections.time = mTimeOffset;
  corrections.line = mCamera.lines[line];
  return corrections;
}

// The model with corrections has the attitude R Exp(attitude) Exp(boresight) and the perspective centre
// C + position + R Exp(attitude) Exp(boresight) leverArm, at a time that is later by the offset. These are to be the
// true ones.
TimedPose StripErrors::recorded(TimedPose const& truth) const {
  kes::ModelCorrections const corrections = at(truth.time, 0);
  Pose pose = truth.pose;
  geo::XYZPoint const arm = pose.toLocal(corrections.leverArm);
  pose.position.x -= corrections.position[0] + arm.x;
  pose.position.y -= corrections.position[1] + arm.y;
  pose.position.z -= corrections.position[2] + arm.z;
  pose = pose.turnedBack(corrections.boresight).turnedBack(corrections.attitude);
  return {truth.time + corrections.time, pose};
}

}  // namespace simulation
