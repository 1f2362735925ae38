// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "model/LineSearch.h"
#include "model/StripBand.h"

#include <cmath>
#include <vector>

// The way from the ground to the image, in its two forms: which line saw a ground position depends on the orientation
// at that line, so the line is found by iteration. Each candidate's orientation projects the position into the focal
// plane; its distance from the sensor line there is the number of lines to go.
//
// Both take an observer, whose `orientationAt(line)` is called with each line whose orientation is computed.

namespace sensor {

/// The observer of everyday use.
struct Unobserved {
  void orientationAt(float /*line*/) const {}
};

/// Counts passes: each of the form for one position computes an orientation.
struct PassCount {
  void orientationAt(float /*line*/) { ++passes; }
  int passes = 0;
};

/// The size of a line in the focal plane at a height of the ground: the nearer to the aircraft, the larger.
inline float lineSize(HeightScale const& scale, double height) {
  auto const terrain = static_cast<double>(scale.terrainHeight);
  double const r = (height - terrain) / static_cast<double>(scale.flyingHeight - scale.terrainHeight);
  auto const a = static_cast<float>((1.0 - r) * static_cast<double>(scale.imageScale));
  return scale.pixelSize / a;
}

/// How many lines a unit of the focal plane is.
inline float linesPerUnit(StripBand const& band, double height) {
  return 1.0F / lineSize(band.heightScale(), height);
}

/// The form for one position.
template <class Observer>
void solveLine(StripBand const& band, geo::XYZPoint const& ground, geo::XYPoint& image, Observer&& observer) {
  float const k = linesPerUnit(band, ground.z);
  geo::XYPoint focal;
  geo::XYPoint sensorLine;
  float line = band.orientation.middleLine();
  float step = 0.0F;
  int n = 0;
  do {
    observer.orientationAt(line);
    band.lsrToFocal(ground, line, focal, n == 0);
    band.calibration.focalToImage(focal, band.offset, image);
    band.calibration.imageToFocal(image, band.offset, sensorLine);
    step = static_cast<float>(focal.x - sensorLine.x) * k;
    if (n >= solver::firstHalvedPass) {
      step *= 0.5F;
    }
    line += step;
    ++n;
    // The pass with the heading alone is never the last.
  } while ((std::fabs(step) > solver::tolerance && n < solver::maxPasses) || n == 1);
  // The sample stays that of the last pass's focal position, which the line's last step isn't part of.
  image.y = static_cast<double>(line);
}

/// What one position of a run hands on to the next.
struct RunState {
  /// A run begins in the middle of the image; `height` scales its steps.
  RunState(StripBand const& band, double height)
      : linesPerUnit(sensor::linesPerUnit(band, height)), line(band.orientation.middleLine()) {}

  EOP eop;
  CameraAxes<double> axes{};
  float linesPerUnit;
  float line;
  float step = 0.0F;
  /// What the squared step of a solution doesn't exceed.
  float squaredLimit = solver::squaredTolerance;
  float lineCorrection = 0.0F;
  bool active = true;
  bool headingOnly = false;
  bool cold = true;
};

/// The form for a run of positions: the orientation of the last evaluation stays in force for as long as the line
/// doesn't have to move by more than the tolerance, and so mostly from one position to its neighbours. The result is
/// that line plus the step that is left, which is too small to take.
template <class Observer>
class RunSolver {
public:
  RunSolver(StripBand const& band, RunState const& state, Observer& observer)
      : mBand(band), mObserver(observer), mInverseF(1.0F / band.focalLength),
        mOffset(static_cast<float>(band.image.sampleOffsetFromCalib())), mState(state) {}

  RunState const& state() const { return mState; }

  /// Returns whether it found a solution; `image` is set either way.
  bool solve(geo::XYZPoint const& ground, geo::XYPoint& image) {
    float sample = 0.0F;
    float squaredStep = 0.0F;
    int n = 0;
    do {
      if (mState.active || mState.headingOnly) {
        moveLine();
      }
      sample = pass(ground);
      squaredStep = mState.step * mState.step;
      mState.active = squaredStep > solver::squaredTolerance;
      if (n >= solver::firstHalvedPass) {
        mState.step *= 0.5F;
      }
      ++n;
      // The pass with the heading alone is never the last.
    } while ((mState.active && n < solver::maxPasses) || mState.headingOnly);
    image = {static_cast<double>(sample), static_cast<double>(mState.step + mState.line)};
    return squaredStep <= mState.squaredLimit;
  }

private:
  void moveLine() {
    mState.line += mState.step;
    mState.squaredLimit =
        std::fabs(mState.line) < solver::countableLines ? solver::squaredTolerance : solver::noSolution;
    mObserver.orientationAt(mState.line);
    mState.eop = unknownOrientation();
    mState.headingOnly = mState.cold;
    mState.cold = false;
    if (mState.headingOnly) {
      mBand.orientation.computeHeading(mState.line, mState.eop, mState.lineCorrection);
    } else {
      mBand.orientation.computeOrientation(mState.line, mState.eop, mState.lineCorrection);
    }
    mState.axes = quaternionToRotation(mState.eop);
  }

  // Sets the step of the position from the current line, and returns its sample. In single precision within the camera.
  float pass(geo::XYZPoint const& ground) {
    CameraAxes<double> const& axes = mState.axes;
    EOP const& eop = mState.eop;
    auto const dx = static_cast<double>(static_cast<float>(ground.x - eop.x));
    auto const dy = static_cast<double>(static_cast<float>(ground.y - eop.y));
    auto const dz = static_cast<double>(static_cast<float>(ground.z - eop.z));
    auto const w = static_cast<float>(axes.up.component(dx, dy, dz));
    float const m = 1.0F / -(w * mInverseF);
    float const u = static_cast<float>(axes.alongFlight.component(dx, dy, dz)) * m;
    float const v = static_cast<float>(axes.alongLine.component(dx, dy, dz)) * m;
    float const shift = mState.lineCorrection * mBand.pixelSize;
    auto const x = static_cast<float>(static_cast<double>(u) - static_cast<double>(shift));
    float const sample = mBand.calibration.sample(x, v, mOffset, 0.0F);
    mState.step = (x - mBand.calibration.x(sample, mState.line, mOffset, 0.0F)) * mState.linesPerUnit;
    return sample;
  }

  StripBand const& mBand;
  Observer& mObserver;
  float const mInverseF;
  float const mOffset;
  RunState mState;
};

/// Solves `count` positions, or up to the first one without a solution, and returns how many it solved. On copies of
/// band and state, which no call on the way can change.
template <class Observer>
[[gnu::noinline, gnu::flatten]] std::size_t solveWhileFound(StripBand const& band, geo::XYZPoint const* ground,
                                                            std::size_t count, geo::XYPoint* image, RunState& state,
                                                            Observer& observer) {
  StripBand const bandOfRun(band);
  RunSolver solver(bandOfRun, state, observer);
  std::size_t i = 0;
  while (i < count && solver.solve(ground[i], image[i])) {
    ++i;
  }
  state = solver.state();
  return i;
}

/// Solves a position as the first of a run, with the scale of its own height; the run goes on from there. Where there
/// is no solution from there either, image and state stay as they are.
template <class Observer>
[[gnu::noinline, gnu::cold]] void solveAnew(StripBand const& band, geo::XYZPoint const& ground, geo::XYPoint& image,
                                            RunState& state, Observer& observer) {
  if (!isFinite(ground)) {
    return;
  }
  RunSolver solver(band, RunState(band, ground.z), observer);
  geo::XYPoint found;
  if (solver.solve(ground, found)) {
    image = found;
    state = solver.state();
  }
}

/// Solves a run that isn't empty.
///
/// The line that a position leaves can be so far off that no search from there ends: in single precision nothing is
/// left of the way back, or the ground lies above the horizon of the extrapolated attitude, so that steps lead away
/// from it. A position that gets lost thus begins the run anew.
template <class Observer>
void solveLines(StripBand const& band, std::vector<geo::XYZPoint> const& ground, std::vector<geo::XYPoint>& image,
                Observer&& observer) {
  std::size_t const count = ground.size();
  RunState state(band, heightOfRun(ground.data(), count));
  for (std::size_t i = 0; i < count; ++i) {
    i += solveWhileFound(band, ground.data() + i, count - i, image.data() + i, state, observer);
    if (i < count) {
      solveAnew(band, ground[i], image[i], state, observer);
    }
  }
}

}  // namespace sensor
