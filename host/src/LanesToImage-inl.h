// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// From the ground to the image in lanes, for the instruction set at hand.

#if defined(KES_HOST_LANES_TO_IMAGE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KES_HOST_LANES_TO_IMAGE_INL_H
#undef KES_HOST_LANES_TO_IMAGE_INL_H
#else
#define KES_HOST_LANES_TO_IMAGE_INL_H
#endif

#include "LaneKernels.h"
#include "Lanes-inl.h"

#include <limits>

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

/// The places on the sensor line that the lanes were last seen at.
class LaneEntries {
public:
  explicit LaneEntries(LaneTables const& tables) : mTables(tables) { load(hn::Zero(tag)); }

  /// As `SensorLine::at`, where a position is well within a pixel of the line.
  struct Sample {
    Lanes sample;
    Lanes x;
    Mask isWithin;
  };
  HWY_INLINE Sample at(Lanes y) {
    Lanes const q = (y - same(mTables.firstY)) * same(mTables.scale);
    Lanes away = q - mQ;
    if (!hn::AllTrue(tag, isWithin(away))) {
      load(q);
      away = q - mQ;
    }
    return {(mNumber + away * mPixelsPerQ) * same(mTables.spacing) + same(mTables.firstSample), mX + mXPerQ * away,
            isWithin(away)};
  }

private:
  // Nearer to the next pixel, rounding might count for it.
  static constexpr double END = 1.0 - 1e-9;

  HWY_INLINE Mask isWithin(Lanes away) const {
    Lanes const part = away * mPixelsPerQ;
    return hn::And(part >= hn::Zero(tag), part < same(END));
  }

  HWY_INLINE void load(Lanes q) {
    Lanes const inside = hn::IfThenElseZero(hn::And(q > hn::Zero(tag), q < same(mTables.lengthOfLine)), q);
    alignas(64) std::int32_t whole[laneCount];
    alignas(64) double places[laneCount];
    alignas(64) std::int32_t numbers[laneCount];
    hn::Store(hn::DemoteTo(Ints(), inside), Ints(), whole);
    hn::Store(inside, tag, places);
    RowNumbers rows;
    for (std::size_t i = 0; i < laneCount; ++i) {
      std::uint32_t const start = mTables.entryStarts[whole[i]];
      bool const isPast = mTables.entries[LaneTables::doublesPerPixel * (start + 1)] <= places[i];
      rows.of[i] = start + (isPast ? 1U : 0U);
      numbers[i] = static_cast<std::int32_t>(rows.of[i]);
    }
    mNumber = hn::PromoteTo(tag, hn::Load(Ints(), numbers));
    loadPair(mTables.entries, LaneTables::doublesPerPixel, rows, mQ, mX);
    loadPair(mTables.entries + 2, LaneTables::doublesPerPixel, rows, mPixelsPerQ, mXPerQ);
  }

  LaneTables const& mTables;
  Lanes mQ;
  Lanes mX;
  Lanes mPixelsPerQ;
  Lanes mXPerQ;
  Lanes mNumber;
};

/// One vector of positions after the other. A line to begin with comes from the lines of the vectors before, where those make a
/// straight row, or else from the coarse table of the flight. The piece that is found is the only one, so that it doesn't matter
/// where the search began.
class ImageLanes {
public:
  ImageLanes(LaneTables const& tables) : mTables(tables), mPieces(tables), mEntries(tables) {}

  struct Solution {
    Mask isSolved;
    Lanes line;
    Lanes sample;
    Lanes time;
  };
  HWY_INLINE Solution find(LanePoint const& ground) {
    mGround = ground;
    mDepth = same(mTables.flyingHeight) - ground.z;
    Lanes const least = same(mTables.leastDepth);
    mLinesPerUnit = same(mTables.linesPerUnit) * hn::IfThenElse(mDepth < least, least, mDepth);
    Solution const solution = solve(bracket(mIsRow ? mLine + (mLine - mLineBefore) : coarseLine()));
    remember(solution);
    return solution;
  }

private:
  static constexpr int ROUNDS = 3;
  static constexpr int STEPS = 4;
  static constexpr double SLACK = 0.2;  // lines
  static constexpr int NODES = 2;
  static constexpr double LAST_STEP = 4e-4;
  static constexpr double NEAR = 4.0;  // lines

  /// As in `LineSearch`; ahead is NaN where it isn't simple.
  struct Sighting {
    Lanes ahead;
    Lanes y;
  };
  struct Bracket {
    Mask isBracket;
    Sighting first;
    Sighting last;
  };

  HWY_INLINE Sighting sighting(Lanes line) {
    LaneSight const sight = mPieces.sight(line, mGround);
    auto const at = mEntries.at(sight.y);
    Mask const isPlain = hn::And(sight.height < hn::Zero(tag), at.isWithin);
    Lanes const ahead = (sight.x - at.x) * mLinesPerUnit;
    return {hn::IfThenElse(isPlain, ahead, same(std::numeric_limits<double>::quiet_NaN())), sight.y};
  }

  // As `LineSearch::Task::guess`.
  HWY_INLINE Lanes coarseLine() const {
    Lanes const along = same(mTables.cosine) * mGround.x + same(mTables.sine) * mGround.y;
    Lanes const across = same(mTables.cosine) * mGround.y - same(mTables.sine) * mGround.x;
    Lanes const nodesPerMetre = same(mTables.nodesPerMetre);
    Lanes place = (along - same(mTables.firstAlong) - mDepth * same(mTables.meanAhead)) * nodesPerMetre;
    for (int i = 0; i < NODES; ++i) {
      Lanes const nearest = place + same(0.5);
      auto const number =
          hn::DemoteTo(Ints(), hn::Min(hn::IfThenElseZero(nearest > hn::Zero(tag), nearest), same(mTables.lastNode)));
      alignas(64) std::int32_t numbers[laneCount];
      hn::Store(number, Ints(), numbers);
      RowNumbers rows;
      for (std::size_t k = 0; k < laneCount; ++k) {
        rows.of[k] = static_cast<std::uint32_t>(numbers[k]);
      }
      Lanes nodeAlong, nodeAcross, height, ahead, tangent, slope, bow, reach;
      loadPair(mTables.nodes, LaneTables::doublesPerNode, rows, nodeAlong, nodeAcross);
      loadPair(mTables.nodes + 2, LaneTables::doublesPerNode, rows, height, ahead);
      loadPair(mTables.nodes + 4, LaneTables::doublesPerNode, rows, tangent, slope);
      loadPair(mTables.nodes + 6, LaneTables::doublesPerNode, rows, bow, reach);
      Lanes const depth = hn::Max(height - mGround.z, same(mTables.leastDepth));
      Lanes const d = hn::Max(hn::Min((across - nodeAcross) / depth - tangent, reach), hn::Zero(tag) - reach);
      Lanes const view = nodeAlong + depth * (ahead + d * (slope + d * bow));
      place = hn::PromoteTo(tag, number) + (along - view) * nodesPerMetre;
    }
    return same(mTables.firstLine) + place * same(mTables.linesPerNode);
  }

  // The pieces between whose ends the positions pass, from those of a near line on.
  HWY_INLINE Bracket bracket(Lanes line) {
    Lanes const zero = hn::Zero(tag);
    for (int round = 1;; ++round) {
      Sighting const first = followFirst(line);
      Sighting const last = sighting(mPieces.last);
      Mask const isBefore = last.ahead <= zero;
      Mask const passes = hn::And(first.ahead > zero, isBefore);
      if (round == ROUNDS || hn::AllTrue(tag, passes)) {
        return {hn::And(passes, mDepth <= mPieces.greatestDepth), first, last};
      }
      line = hn::IfThenElse(isBefore, mPieces.first, mPieces.last + last.ahead);
    }
  }

  // From piece to piece, until what is seen at its beginning points into it, or nearly so: ahead of the camera, the ground
  // passes by at about a line per line.
  HWY_INLINE Sighting followFirst(Lanes line) {
    mPieces.load(line);
    Sighting first = sighting(mPieces.first);
    for (int i = 1; i < STEPS; ++i) {
      Lanes const next = mPieces.first + first.ahead;
      Mask const stays = hn::And(first.ahead > hn::Zero(tag), next < mPieces.last + same(SLACK));
      if (hn::AllTrue(tag, stays)) {
        break;
      }
      mPieces.load(hn::IfThenElse(stays, mPieces.first, next));
      first = sighting(mPieces.first);
    }
    return first;
  }

  // The secant between the ends of the piece, and a last correction; see `LineSearch::Task::solve`.
  HWY_INLINE Solution solve(Bracket const& ends) {
    Lanes const low = mPieces.first;
    Lanes const high = mPieces.last;
    Lanes const perLine = same(1.0) / (high - low);
    Lanes const chord = (ends.last.ahead - ends.first.ahead) * perLine;
    Lanes const yPerLine = (ends.last.y - ends.first.y) * perLine;
    Lanes const linesPerAhead = same(1.0) / chord;
    Lanes const line = low - ends.first.ahead * linesPerAhead;
    Sighting const seen = sighting(line);
    Lanes const step = hn::Neg(seen.ahead) * linesPerAhead;
    Lanes const most = same(LAST_STEP) * hn::Min(hn::Abs(chord), same(1.0));
    Mask const isLast = hn::And(hn::And(line >= low, line <= high), hn::Abs(step) <= most);
    Lanes const stepped = line + step;
    Lanes const solution = hn::IfThenElse(stepped < low, low, hn::IfThenElse(stepped > high, high, stepped));
    auto const at = mEntries.at(seen.y + yPerLine * (solution - line));
    Mask const isOnLine =
        hn::And(at.isWithin, hn::And(at.sample >= same(mTables.firstSample), at.sample <= same(mTables.lastSample)));
    return {hn::And(ends.isBracket, hn::And(isLast, isOnLine)), solution, at.sample, mPieces.time(solution)};
  }

  // Two vectors whose lines would have been near by the vectors before make a row.
  HWY_INLINE void remember(Solution const& solution) {
    Lanes const expected = mLine + (mLine - mLineBefore);
    mIsRow = hn::AllTrue(tag, hn::Abs(expected - solution.line) < same(NEAR));
    mLineBefore = mLine;
    mLine = solution.line;
  }

  LaneTables const& mTables;
  LanePieces mPieces;
  LaneEntries mEntries;
  LanePoint mGround;
  Lanes mDepth;
  Lanes mLinesPerUnit;
  Lanes mLine = hn::Zero(tag);
  Lanes mLineBefore = hn::Zero(tag);
  bool mIsRow = false;
};

inline std::size_t findAll(LaneTables const& tables, PixelLimits const& limits, LanesToImage const& run) {
  ImageLanes lanes(tables);
  LaneResults results(tables, limits);
  auto const* const ground = reinterpret_cast<double const*>(run.ground);
  auto* const image = reinterpret_cast<double*>(run.image);
  double* const time = run.time;
  // The last vector is filled up with its first point.
  double groundOfEnd[3 * laneCount];
  double imageOfEnd[2 * laneCount];
  double timeOfEnd[laneCount];
  for (std::size_t i = 0; i < run.count; i += laneCount) {
    std::size_t const count = std::min(laneCount, run.count - i);
    double const* in = ground + 3 * i;
    bool const isWhole = count == laneCount;
    if (!isWhole) {
      for (std::size_t k = 0; k < 3 * laneCount; ++k) {
        groundOfEnd[k] = in[k < 3 * count ? k : k % 3];
      }
      in = groundOfEnd;
    }
    LanePoint point;
    hn::LoadInterleaved3(tag, in, point.x, point.y, point.z);
    auto const found = lanes.find(point);
    hn::StoreInterleaved2(found.sample, found.line, tag, isWhole ? image + 2 * i : imageOfEnd);
    hn::StoreU(found.time, tag, isWhole ? time + i : timeOfEnd);
    if (!isWhole) {
      std::copy_n(imageOfEnd, 2 * count, image + 2 * i);
      std::copy_n(timeOfEnd, count, time + i);
    }
    results.store(found.isSolved, found.sample, found.line, found.time, i, count, run.status, run.rest);
  }
  return results.rest();
}

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
