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
  /// Whether the last positions made a straight row.
  bool isInRow() const { return mIsRow; }

  /// A line that is near, where the positions don't make a row.
  HWY_INLINE Lanes near(LanePoint const& ground) {
    set(ground);
    return coarseLine();
  }
  /// Asks the memory for what near lines lead to: after the first call for many positions, the second.
  HWY_INLINE void prefetchRows(Lanes line) const { mPieces.prefetchRows(line); }
  HWY_INLINE void prefetchRecords(Lanes line) const { mPieces.prefetchRecords(line); }

  /// `near` points to the lines, if they are known already.
  HWY_INLINE Solution find(LanePoint const& ground, double const* near) {
    set(ground);
    Lanes const line = mIsRow ? mLine + (mLine - mLineBefore) : near != nullptr ? hn::Load(tag, near) : coarseLine();
    Solution const solution = solve(bracket(line));
    remember(solution);
    return solution;
  }

private:
  static constexpr int ROUNDS = 3;
  static constexpr int STEPS = 4;
  static constexpr double SLACK = 0.05;  // lines
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

  HWY_INLINE void set(LanePoint const& ground) {
    mGround = ground;
    mDepth = same(mTables.flyingHeight) - ground.z;
    Lanes const least = same(mTables.leastDepth);
    mLinesPerUnit = same(mTables.linesPerUnit) * hn::IfThenElse(mDepth < least, least, mDepth);
  }

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

/// The positions of a call, in blocks of vectors: those that aren't in a row are first looked up in the coarse table, and what
/// they lead to is fetched meanwhile.
class ImageRun {
public:
  ImageRun(LaneTables const& tables, PixelLimits const& limits, LanesToImage const& run)
      : mTables(tables), mRun(run), mLanes(tables), mResults(tables, limits) {}

  std::size_t find() {
    for (std::size_t i = 0; i < mRun.count; i += blockSize) {
      findBlock(i, std::min(i + blockSize, mRun.count));
    }
    return mResults.rest();
  }

private:
  HWY_INLINE void findBlock(std::size_t begin, std::size_t end) {
    alignas(64) double lines[blockSize];
    bool const hasLines = !mLanes.isInRow();
    if (hasLines) {
      bool const fetch = isLarge(mTables);
      for (std::size_t i = begin; i < end; i += laneCount) {
        Lanes const line = mLanes.near(ground(i));
        hn::Store(line, tag, lines + (i - begin));
        if (fetch) {
          mLanes.prefetchRows(line);
        }
      }
      for (std::size_t i = begin; i < end && fetch; i += laneCount) {
        mLanes.prefetchRecords(hn::Load(tag, lines + (i - begin)));
      }
    }
    for (std::size_t i = begin; i < end; i += laneCount) {
      auto const found = mLanes.find(ground(i), hasLines ? lines + (i - begin) : nullptr);
      store(i, std::min(laneCount, end - i), found);
    }
  }

  // The last vector is filled up with its first position.
  HWY_INLINE LanePoint ground(std::size_t i) const {
    geo::XYZPoint const* from = mRun.ground + i;
    geo::XYZPoint filled[laneCount];
    if (i + laneCount > mRun.count) {
      for (std::size_t k = 0; k < laneCount; ++k) {
        filled[k] = i + k < mRun.count ? from[k] : from[0];
      }
      from = filled;
    }
    LanePoint point;
    hn::LoadInterleaved3(tag, reinterpret_cast<double const*>(from), point.x, point.y, point.z);
    return point;
  }

  HWY_INLINE void store(std::size_t i, std::size_t count, ImageLanes::Solution const& found) {
    geo::XYPoint image[laneCount];
    double time[laneCount];
    bool const isWhole = count == laneCount;
    hn::StoreInterleaved2(found.sample, found.line, tag, reinterpret_cast<double*>(isWhole ? mRun.image + i : image));
    hn::StoreU(found.time, tag, isWhole ? mRun.time + i : time);
    if (!isWhole) {
      std::copy_n(image, count, mRun.image + i);
      std::copy_n(time, count, mRun.time + i);
    }
    mResults.store(found.isSolved, found.sample, found.line, found.time, i, count, mRun.status, mRun.rest);
  }

  LaneTables const& mTables;
  LanesToImage const& mRun;
  ImageLanes mLanes;
  LaneResults mResults;
};

inline std::size_t findAll(LaneTables const& tables, PixelLimits const& limits, LanesToImage const& run) {
  return ImageRun(tables, limits, run).find();
}

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
