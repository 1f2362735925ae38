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
  explicit LaneEntries(LaneTables const& tables) : mTables(tables) { load(zero()); }

  /// As `SensorLine::at`, where a position is well within a pixel of the line.
  struct Sample {
    Lanes sample;
    Lanes x;
    Mask isWithin;
  };
  HWY_INLINE Sample at(Lanes y) {
    Lanes const q = (y - same(mTables.firstY)) * same(mTables.scale);
    Lanes away = q - mQ;
    if (!allTrue(isWithin(away))) {
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
    return both(part >= zero(), part < same(END));
  }

  HWY_INLINE void load(Lanes q) {
    Lanes const inside = selectOrZero(both(q > zero(), q < same(mTables.lengthOfLine)), q);
    std::uint32_t whole[laneCount];
    double places[laneCount];
    std::int32_t numbers[laneCount];
    truncated(inside, whole);
    storeTo(places, inside);
    RowNumbers rows;
    for (std::size_t i = 0; i < laneCount; ++i) {
      std::uint32_t const start = mTables.entryStarts[whole[i]];
      bool const isPast = mTables.entries[LaneTables::doublesPerPixel * (start + 1)] <= places[i];
      rows.of[i] = start + (isPast ? 1U : 0U);
      numbers[i] = static_cast<std::int32_t>(rows.of[i]);
    }
    mNumber = fromInts(numbers);
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

/// One vector of positions after the other. A line to begin with comes from the lines of the vectors before, where
/// those make a straight row, or else from the coarse table of the flight. The piece that is found is the only one, so
/// that it doesn't matter where the search began.
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
    Lanes const line = mIsRow ? mLine + (mLine - mLineBefore) : near != nullptr ? load(near) : coarseLine();
    Solution const solution = solve(bracket(line));
    remember(solution);
    return solution;
  }

private:
  static constexpr int ROUNDS = 3;
  static constexpr int STEPS = 4;
  static constexpr double SLACK = 0.05;  // lines
  static constexpr int NODES = 2;
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
    mLinesPerUnit = same(mTables.linesPerUnit) * greatest(mDepth, same(mTables.leastDepth));
  }

  HWY_INLINE Sighting sighting(Lanes line) {
    LaneSight const sight = mPieces.sight(line, mGround);
    auto const at = mEntries.at(sight.y);
    Mask const isPlain = both(sight.height < zero(), at.isWithin);
    Lanes const ahead = (sight.x - at.x) * mLinesPerUnit;
    return {select(isPlain, ahead, same(std::numeric_limits<double>::quiet_NaN())), sight.y};
  }

  // As `LineSearch::Task::guess`.
  HWY_INLINE Lanes coarseLine() const {
    Lanes const along = same(mTables.cosine) * mGround.x + same(mTables.sine) * mGround.y;
    Lanes const across = same(mTables.cosine) * mGround.y - same(mTables.sine) * mGround.x;
    Lanes const nodesPerMetre = same(mTables.nodesPerMetre);
    Lanes place = (along - same(mTables.firstAlong) - mDepth * same(mTables.meanAhead)) * nodesPerMetre;
    for (int i = 0; i < NODES; ++i) {
      Lanes const nearest = place + same(0.5);
      RowNumbers rows;
      Lanes const number = truncated(least(selectOrZero(nearest > zero(), nearest), same(mTables.lastNode)), rows.of);
      Lanes nodeAlong, nodeAcross, height, ahead, tangent, slope, bow, reach;
      loadPair(mTables.nodes, LaneTables::doublesPerNode, rows, nodeAlong, nodeAcross);
      loadPair(mTables.nodes + 2, LaneTables::doublesPerNode, rows, height, ahead);
      loadPair(mTables.nodes + 4, LaneTables::doublesPerNode, rows, tangent, slope);
      loadPair(mTables.nodes + 6, LaneTables::doublesPerNode, rows, bow, reach);
      Lanes const depth = greatest(height - mGround.z, same(mTables.leastDepth));
      Lanes const d = greatest(least((across - nodeAcross) / depth - tangent, reach), zero() - reach);
      Lanes const view = nodeAlong + depth * (ahead + d * (slope + d * bow));
      place = number + (along - view) * nodesPerMetre;
    }
    return same(mTables.firstLine) + place * same(mTables.linesPerNode);
  }

  // The pieces between whose ends the positions pass, from those of a near line on.
  HWY_INLINE Bracket bracket(Lanes line) {
    for (int round = 1;; ++round) {
      Sighting const first = followFirst(line);
      Sighting const last = sighting(mPieces.last);
      Mask const isBefore = last.ahead <= zero();
      Mask const passes = both(first.ahead > zero(), isBefore);
      if (round == ROUNDS || allTrue(passes)) {
        return {both(passes, mDepth <= mPieces.greatestDepth), first, last};
      }
      line = select(isBefore, mPieces.first, mPieces.last + last.ahead);
    }
  }

  // From piece to piece, until what is seen at its beginning points into it, or nearly so: ahead of the camera, the
  // ground passes by at about a line per line.
  HWY_INLINE Sighting followFirst(Lanes line) {
    mPieces.load(line);
    Sighting first = sighting(mPieces.first);
    for (int i = 1; i < STEPS; ++i) {
      Lanes const next = mPieces.first + first.ahead;
      Mask const stays = both(first.ahead > zero(), next < mPieces.last + same(SLACK));
      if (allTrue(stays)) {
        break;
      }
      mPieces.load(select(stays, mPieces.first, next));
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
    Lanes const step = negative(seen.ahead) * linesPerAhead;
    Lanes const most = same(longestLastStep) * least(absolute(chord), same(1.0));
    Mask const isLast = both(both(line >= low, line <= high), absolute(step) <= most);
    Lanes const stepped = line + step;
    Lanes const solution = select(stepped < low, low, select(stepped > high, high, stepped));
    auto const at = mEntries.at(seen.y + yPerLine * (solution - line));
    Mask const isOnLine =
        both(at.isWithin, both(at.sample >= same(mTables.firstSample), at.sample <= same(mTables.lastSample)));
    return {both(ends.isBracket, both(isLast, isOnLine)), solution, at.sample, mPieces.time(solution)};
  }

  // Two vectors whose lines would have been near by the vectors before make a row.
  HWY_INLINE void remember(Solution const& solution) {
    Lanes const expected = mLine + (mLine - mLineBefore);
    mIsRow = allTrue(absolute(expected - solution.line) < same(NEAR));
    mLineBefore = mLine;
    mLine = solution.line;
  }

  LaneTables const& mTables;
  LanePieces mPieces;
  LaneEntries mEntries;
  LanePoint mGround;
  Lanes mDepth;
  Lanes mLinesPerUnit;
  Lanes mLine = zero();
  Lanes mLineBefore = zero();
  bool mIsRow = false;
};

/// The positions of a call, in blocks of vectors: those that aren't in a row are first looked up in the coarse table,
/// and what they lead to is fetched meanwhile.
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
        storeTo(lines + (i - begin), line);
        if (fetch) {
          mLanes.prefetchRows(line);
        }
      }
      for (std::size_t i = begin; i < end && fetch; i += laneCount) {
        mLanes.prefetchRecords(load(lines + (i - begin)));
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
    loadInterleaved(reinterpret_cast<double const*>(from), point.x, point.y, point.z);
    return point;
  }

  HWY_INLINE void store(std::size_t i, std::size_t count, ImageLanes::Solution const& found) {
    geo::XYPoint image[laneCount];
    double time[laneCount];
    bool const isWhole = count == laneCount;
    storeInterleaved(found.sample, found.line, reinterpret_cast<double*>(isWhole ? mRun.image + i : image));
    storeTo(isWhole ? mRun.time + i : time, found.time);
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
