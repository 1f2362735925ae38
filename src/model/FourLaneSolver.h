// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "model/CameraAxes.h"
#include "model/LineSearch.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

// The search for lines in four lanes of single precision: four positions at once, each with its own candidate line and
// orientation. It is written once, over a type of lanes: `SseLanes` where the processor has them, `PlainLanes`
// elsewhere.
//
// A source that is compiled for more than the least processor must not bring inline functions with it that others use
// as well: the linker keeps one copy of each. So nothing here reaches a model but through `LineOrientations`, whose
// functions stand elsewhere.

namespace sensor {

class StripBand;
struct EOP;

/// What is the same for all positions of a run.
struct FourLaneConstants {
  /// Focal positions of the samples, one entry each. They belong to the calibration.
  float const* x;
  float const* y;
  std::int32_t lastSample;
  float sampleOffset;
  float focalLength;
  HeightScale heightScale;
  float middleLine;

  /// Size of a line in the focal plane at a height.
  float lineSizeAt(double height) const;
};

/// The constants of a band, whose calibration has full tables.
FourLaneConstants fourLaneConstants(StripBand const& band);

/// The orientations of the lanes: quaternions, perspective centres, and what their line corrections move in the focal
/// plane.
struct FourLaneOrientation {
  float q[4][4];  // component, lane
  float centre[3][4];
  float shift[4];

  void set(unsigned lane, EOP const& eop, float shiftOfLane);
  /// Copies a lane of another one.
  void take(unsigned lane, FourLaneOrientation const& other);
};

/// Looks up orientations for the solver.
class LineOrientations {
public:
  explicit LineOrientations(StripBand const& band) : mBand(band) {}
  /// The orientation of a line, or its heading alone, into a lane.
  void operator()(float line, bool headingOnly, unsigned lane, FourLaneOrientation& lanes) const;

private:
  StripBand const& mBand;
};

/// One call of `solve` after the other, each starts from where the last one ended. A position that gets lost from there
/// (see `RunSolver`) begins its lane anew.
template <class Lanes, class Orientations>
class FourLaneSolver {
public:
  /// `height` scales the steps of all positions.
  FourLaneSolver(FourLaneConstants const& constants, Orientations const& orientations, double height)
      : mConstants(constants), mOrientations(orientations),
        mLast(Lanes::same(static_cast<float>(constants.lastSample))),
        mLineSize(Lanes::same(constants.lineSizeAt(height))), mNegativeF(Lanes::same(-constants.focalLength)),
        mOffset(Lanes::same(constants.sampleOffset)), mFirstX(Lanes::same(constants.x[0])),
        mLastX(Lanes::same(constants.x[constants.lastSample])), mFirstY(Lanes::same(constants.y[0])),
        mWidthY(Lanes::same(constants.y[constants.lastSample] - constants.y[0])),
        mLine(Lanes::same(constants.middleLine)) {}

  /// Solves four positions.
  void solve(geo::XYZPoint const* ground, geo::XYPoint* image) {
    Mask const solved = search(ground, image);
    if (!Lanes::all(solved)) {
      for (unsigned lost = ~Lanes::bits(solved) & 0xFU; lost != 0; lost &= lost - 1) {
        auto const lane = static_cast<unsigned>(std::countr_zero(lost));
        solveAnew(lane, ground[lane], image[lane]);
      }
    }
  }

private:
  using Floats = typename Lanes::Floats;
  using Ints = typename Lanes::Ints;
  using Mask = typename Lanes::Mask;

  // The lanes that ended with a solution.
  [[gnu::always_inline]] Mask search(geo::XYZPoint const* ground, geo::XYPoint* image) {
    load(ground);
    Floats squaredStep = mZero;
    int n = 0;
    Floats sample = mZero;
    do {
      if (mActive || mHeadingOnly) {
        moveLines();
      }
      sample = pass();
      squaredStep = mStep * mStep;
      mMask = Lanes::below(Lanes::same(solver::squaredTolerance), squaredStep);
      mActive = Lanes::any(mMask);
      if (n >= solver::firstHalvedPass) {
        mStep = mStep / Lanes::same(2.0F);
      }
      ++n;
      // The pass with the heading alone is never the last.
    } while ((mActive && n < solver::maxPasses) || mHeadingOnly);
    store(sample - mOffset, mLine + mStep, image);
    return Lanes::notAbove(squaredStep, mSquaredLimit);
  }

  // Searches for a position as the first of a run, with the scale of its own height; its lane goes on from there. Where
  // that search doesn't end either, image and lane stay as they are.
  [[gnu::noinline, gnu::cold]] void solveAnew(unsigned lane, geo::XYZPoint const& ground, geo::XYPoint& image) {
    if (!isFinite(ground)) {
      return;
    }
    FourLaneSolver anew(mConstants, mOrientations, ground.z);
    geo::XYZPoint const everywhere[4] = {ground, ground, ground, ground};
    geo::XYPoint found[4];
    if (Lanes::all(anew.search(everywhere, found))) {
      image = found[0];
      takeLane(lane, anew);
    }
  }

  // Takes over the lane of another solver.
  void takeLane(unsigned lane, FourLaneSolver const& other) {
    Mask const taken = Lanes::only(lane);
    mLine = Lanes::select(taken, other.mLine, mLine);
    mStep = Lanes::select(taken, other.mStep, mStep);
    mLineSize = Lanes::select(taken, other.mLineSize, mLineSize);
    mSquaredLimit = Lanes::select(taken, other.mSquaredLimit, mSquaredLimit);
    mMask = Lanes::select(taken, other.mMask, mMask);
    mActive = Lanes::any(mMask);
    mOrientation.take(lane, other.mOrientation);
    loadOrientations();
  }

  void load(geo::XYZPoint const* ground) {
    float point[3][4];
    for (unsigned lane = 0; lane < 4; ++lane) {
      point[0][lane] = static_cast<float>(ground[lane].x);
      point[1][lane] = static_cast<float>(ground[lane].y);
      point[2][lane] = static_cast<float>(ground[lane].z);
    }
    for (unsigned axis = 0; axis < 3; ++axis) {
      mGround[axis] = Lanes::load(point[axis]);
    }
  }

  static void store(Floats samples, Floats lines, geo::XYPoint* image) {
    float sample[4];
    float line[4];
    Lanes::store(sample, samples);
    Lanes::store(line, lines);
    for (unsigned lane = 0; lane < 4; ++lane) {
      image[lane] = {static_cast<double>(sample[lane]), static_cast<double>(line[lane])};
    }
  }

  // Takes the lanes that have to move to their next line, and looks up the orientation there; all of them after the
  // pass with the heading alone.
  void moveLines() {
    mLine = Lanes::select(mMask, mLine + mStep, mLine);
    Floats const end = Lanes::same(solver::countableLines);
    Mask const countable = Lanes::both(Lanes::below(mZero - end, mLine), Lanes::below(mLine, end));
    mSquaredLimit = Lanes::select(countable, Lanes::same(solver::squaredTolerance), Lanes::same(solver::noSolution));
    unsigned moved = mHeadingOnly ? 0xFU : Lanes::bits(mMask);
    mHeadingOnly = mCold;
    mCold = false;
    float line[4];
    Lanes::store(line, mLine);
    for (; moved != 0; moved &= moved - 1) {
      auto const lane = static_cast<unsigned>(std::countr_zero(moved));
      mOrientations(line[lane], mHeadingOnly, lane, mOrientation);
    }
    loadOrientations();
  }

  void loadOrientations() {
    for (unsigned axis = 0; axis < 3; ++axis) {
      mCentre[axis] = Lanes::load(mOrientation.centre[axis]);
    }
    mShift = Lanes::load(mOrientation.shift);
    // In single precision, other than in the form for runs.
    mAxes =
        axesOfQuaternion(Lanes::load(mOrientation.q[0]), Lanes::load(mOrientation.q[1]), Lanes::load(mOrientation.q[2]),
                         Lanes::load(mOrientation.q[3]), Lanes::same(1.0F), Lanes::same(2.0F));
  }

  // Sets the steps of the positions from the current lines, and returns their samples in the calibration.
  Floats pass() {
    Floats const dx = mGround[0] - mCentre[0];
    Floats const dy = mGround[1] - mCentre[1];
    Floats const dz = mGround[2] - mCentre[2];
    Floats const w = mAxes.up.component(dx, dy, dz) / mNegativeF;
    Floats const x = mAxes.alongFlight.component(dx, dy, dz) / w - mShift;
    Floats const y = mAxes.alongLine.component(dx, dy, dz) / w;
    // By the straight line from the first sample to the last one.
    Floats const estimate = (y - mFirstY) / mWidthY * mLast;
    Floats const sample = refine(y, estimate);
    mStep = (x - sensorLineX(sample, estimate)) / mLineSize;
    return sample;
  }

  // Nearly always all lanes are within the sensor line: then a predicted branch skips the choice, and the result
  // doesn't have to wait for the mask.
  static Floats choose(Mask mask, Floats a, Floats b) { return Lanes::all(mask) ? a : Lanes::select(mask, a, b); }

  // Within the sensor line: corrects the estimate once by the slope of the table at the entry that it points to.
  Floats refine(Floats y, Floats estimate) const {
    Mask const within = Lanes::both(Lanes::below(mZero, estimate), Lanes::below(estimate, mLast));
    Ints const k = Lanes::truncate(choose(within, estimate, mZero));
    Floats const entries = entriesAfter(y, k);
    Ints const i = Lanes::limit(Lanes::add(k, Lanes::truncate(limited(entries))), 0, mConstants.lastSample - 1);
    return choose(within, entriesAfter(y, i) + Lanes::toFloats(i), estimate);
  }

  // How many entries, with a fraction, y lies after an entry by the slope there.
  Floats entriesAfter(Floats y, Ints entry) const {
    Floats here = mZero;
    Floats next = mZero;
    Lanes::loadPairs(mConstants.y, entry, here, next);
    return (y - here) / (next - here);
  }

  // Within a line's length back and forward, which integers hold; NaN counts as 0.
  Floats limited(Floats entries) const {
    Floats const back = mZero - mLast;
    Mask const within = Lanes::both(Lanes::notAbove(back, entries), Lanes::notAbove(entries, mLast));
    if (Lanes::all(within)) {
      return entries;
    }
    Floats const ends =
        Lanes::select(Lanes::below(entries, back), back, Lanes::select(Lanes::below(mLast, entries), mLast, mZero));
    return Lanes::select(within, entries, ends);
  }

  // Focal x of the sensor line at a sample: beyond an end, that end's if the estimate is beyond it, too; on the chord
  // from the first sample to the last one if only the sample is.
  Floats sensorLineX(Floats sample, Floats estimate) const {
    Mask const within = Lanes::both(Lanes::below(Lanes::same(-1.0F), sample), Lanes::below(sample, mLast));
    Ints const a = Lanes::truncate(choose(within, sample, mZero));
    Floats here = mZero;
    Floats next = mZero;
    Lanes::loadPairs(mConstants.x, a, here, next);
    Floats u = sample - Lanes::toFloats(a);
    if (!Lanes::all(within)) {
      next = Lanes::select(within, next, mLastX);
      u = Lanes::select(within, u, sample / mLast);
    }
    Floats const x = (next - here) * u + here;
    Mask const before = Lanes::below(estimate, mZero);
    Mask const after = Lanes::notAbove(mLast, estimate);
    if (!Lanes::any(before) && !Lanes::any(after)) {
      return x;
    }
    return Lanes::select(after, mLastX, Lanes::select(before, mFirstX, x));
  }

  FourLaneConstants const mConstants;
  Orientations const mOrientations;
  Floats const mZero = Lanes::same(0.0F);
  Floats const mLast;
  Floats mLineSize;
  Floats const mNegativeF;
  Floats const mOffset;
  Floats const mFirstX;
  Floats const mLastX;
  Floats const mFirstY;
  Floats const mWidthY;
  FourLaneOrientation mOrientation{};
  Floats mGround[3]{};
  Floats mCentre[3]{};
  CameraAxes<Floats> mAxes{};
  Floats mShift{};
  Floats mLine;
  Floats mStep = Lanes::same(0.0F);
  // What the squared step of a solution doesn't exceed.
  Floats mSquaredLimit = Lanes::same(solver::squaredTolerance);
  Mask mMask = Lanes::everywhere();
  bool mActive = true;
  bool mHeadingOnly = false;
  bool mCold = true;
};

/// Solves `count` positions, a multiple of four.
template <class Lanes, class Orientations>
void solveFourLanes(FourLaneConstants const& constants, Orientations const& orientations, geo::XYZPoint const* ground,
                    std::size_t count, geo::XYPoint* image) {
  FourLaneSolver<Lanes, Orientations> solver(constants, orientations, heightOfRun(ground, count));
  for (std::size_t i = 0; i < count; i += 4) {
    solver.solve(ground + i, image + i);
  }
}

/// The two forms, which give the same bits. The first needs a processor with SSE level 4.1, and is the second where the
/// library is built for another kind of processor.
void solveInSseLanes(FourLaneConstants const& constants, LineOrientations const& orientations,
                     geo::XYZPoint const* ground, std::size_t count, geo::XYPoint* image);
void solveInPlainLanes(FourLaneConstants const& constants, LineOrientations const& orientations,
                       geo::XYZPoint const* ground, std::size_t count, geo::XYPoint* image);

}  // namespace sensor
