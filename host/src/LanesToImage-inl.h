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
#include "LanePieces-inl.h"
#include "NearLines-inl.h"

#include <bit>
#include <limits>
#include <span>

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
    Mask isSure = isWithin(away);
    if (!allTrue(isSure)) {
      load(q);
      away = q - mQ;
      isSure = isWithin(away);
      if (!allTrue(isSure)) {
        isSure = both(away >= zero(), q < endOfPixel());
      }
    }
    return {(mNumber + away * mPixelsPerQ) * same(mTables.spacing) + same(mTables.firstSample), mX + mXPerQ * away,
            isSure};
  }

private:
  // Nearer to the next pixel, rounding might count for it, as it does for the centres of pixels.
  static constexpr double END = 1.0 - 1e-9;

  HWY_INLINE Mask isWithin(Lanes away) const {
    Lanes const part = away * mPixelsPerQ;
    return both(part >= zero(), part < same(END));
  }

  HWY_INLINE void load(Lanes q) {
    Lanes const inside = selectOrZero(both(q > zero(), q < same(mTables.lengthOfLine)), q);
    RowNumbers rows;
    truncated(inside, rows.of);
    Lanes next, entry;
    loadPair(reinterpret_cast<double const*>(mTables.entryStarts.data()), LaneTables::doublesPerEntryStart, rows, next,
             entry);
    mNumber = entry + selectOrZero(inside >= next, same(1.0));
    truncated(mNumber, rows.of);
    loadPair(mTables.entries, LaneTables::doublesPerPixel, rows, mQ, mX);
    loadPair(mTables.entries + 2, LaneTables::doublesPerPixel, rows, mPixelsPerQ, mXPerQ);
  }

  // Where the next pixel begins.
  HWY_NOINLINE Lanes endOfPixel() const {
    RowNumbers rows;
    truncated(mNumber, rows.of);
    Lanes end, unused;
    loadPair(mTables.entries + LaneTables::doublesPerPixel, LaneTables::doublesPerPixel, rows, end, unused);
    return end;
  }

  LaneTables const& mTables;
  Lanes mQ;
  Lanes mX;
  Lanes mPixelsPerQ;
  Lanes mXPerQ;
  Lanes mNumber;
};

/// One vector of positions after the other, each from a near line. The piece that is found is the only one, so that it
/// doesn't matter which line that was.
class ImageLanes {
public:
  explicit ImageLanes(LaneTables const& tables) : mTables(tables), mPieces(tables), mEntries(tables) {}

  /// Of the positions that don't pass in the pieces of the near lines, those to be tried again, with `line` as the near
  /// line, which lies in another piece; where the flight is steady it is close to the solution.
  struct Solution {
    Mask isSolved;
    Mask isElsewhere;
    Lanes line;
    Lanes sample;
    Lanes time;
  };

  /// The positions that the next calls are about.
  HWY_INLINE void set(LanePoint const& ground) {
    mGround = ground;
    mDepth = same(mTables.flyingHeight) - ground.z;
    mLinesPerUnit = same(mTables.linesPerUnit) * greatest(mDepth, same(mTables.leastDepth));
  }

  /// Asks the memory for what leads from near lines to the positions' pieces: each call after the one before was made
  /// for many positions.
  HWY_INLINE void prefetchStarts(Lanes line) const { mPieces.prefetchStarts(line); }
  HWY_INLINE void prefetchRows(RowNumbers const& rows) const { mPieces.prefetchRows(rows); }
  HWY_INLINE void prefetchRecords(RowNumbers const& rows) const { mPieces.prefetchRecords(rows); }

  /// The rows of near lines, which give way to the whole lines at or before.
  HWY_INLINE void findRows(double* lines, RowNumbers& rows) const {
    storeTo(lines, mPieces.findRows(load(lines), rows));
  }
  HWY_INLINE Solution find(Lanes whole, RowNumbers const& rows) {
    mPieces.load(whole, rows);
    return solve();
  }
  HWY_INLINE Solution find(Lanes near) {
    mPieces.load(near);
    return solve();
  }

private:
  // From the end of a piece into the next one, which is hardly ever shorter: whole lines are such ends.
  static constexpr double STEP_OVER = 1e-6;  // lines

  /// As in `LineSearch`; ahead is NaN where it isn't simple.
  struct Sighting {
    Lanes ahead;
    Lanes y;
  };

  HWY_INLINE Sighting sighting(Lanes line) {
    LaneSight const sight = mPieces.sight(line, mGround);
    auto const at = mEntries.at(sight.y);
    Mask const isPlain = both(sight.height < zero(), at.isWithin);
    Lanes const ahead = (sight.x - at.x) * mLinesPerUnit;
    return {select(isPlain, ahead, same(std::numeric_limits<double>::quiet_NaN())), sight.y};
  }

  // The secant between the ends of the piece, and a last correction; see `LineSearch::Task::solve`.
  HWY_INLINE Solution solve() {
    Lanes const low = mPieces.first;
    Lanes const high = mPieces.last;
    Sighting const first = sighting(low);
    Sighting const last = sighting(high);
    Mask const isBefore = first.ahead <= zero();
    Mask const isAfter = last.ahead > zero();
    Mask const passes = both(first.ahead > zero(), last.ahead <= zero());
    Lanes const perAhead = same(1.0) / (last.ahead - first.ahead);
    Lanes const linesPerAhead = (high - low) * perAhead;
    Lanes const yPerAhead = (last.y - first.y) * perAhead;
    Lanes const line = low - first.ahead * linesPerAhead;
    Mask const isInside = both(line >= low, line <= high);
    Sighting const seen = sighting(line);
    Lanes const step = negative(seen.ahead) * linesPerAhead;
    Lanes const longest = same(longestLastStep);
    Mask const isShort = both(absolute(step) <= longest, absolute(step * linesPerAhead) <= longest);
    Mask const isLast = both(isInside, isShort);
    Lanes const stepped = line + step;
    Lanes const solution = select(stepped < low, low, select(stepped > high, high, stepped));
    auto const at = mEntries.at(seen.y - yPerAhead * seen.ahead);
    Mask const isOnLine =
        both(at.isWithin, both(at.sample >= same(mTables.firstSample), at.sample <= same(mTables.lastSample)));
    Mask const isKnown = both(passes, mDepth <= mPieces.greatestDepth);
    Lanes const elsewhere =
        select(isBefore, least(line, low - same(STEP_OVER)), greatest(line, high + same(STEP_OVER)));
    return {both(isKnown, both(isLast, isOnLine)), either(isBefore, isAfter), select(passes, solution, elsewhere),
            at.sample, mPieces.time(solution)};
  }

  LaneTables const& mTables;
  LanePieces mPieces;
  LaneEntries mEntries;
  LanePoint mGround;
  Lanes mDepth;
  Lanes mLinesPerUnit;
};

/// Positions that wait until there are enough of them for a vector, to be tried again from another line.
class WaitingPositions {
public:
  std::size_t count() const { return mCount; }

  void add(std::size_t index, double line, std::uint32_t tries) {
    mEntries[mCount++] = {line, static_cast<std::uint32_t>(index), tries};
  }

  struct Entry {
    double line;
    std::uint32_t index;
    std::uint32_t tries;  // so far
  };
  /// The last ones, up to a vector of them.
  std::span<Entry const> take() {
    std::size_t const taken = std::min(mCount, laneCount);
    mCount -= taken;
    return {mEntries + mCount, taken};
  }

private:
  // A vector is tried as soon as it is full, and may come back whole.
  Entry mEntries[2 * laneCount];
  std::size_t mCount = 0;
};

/// The positions of a call, in blocks of vectors. Each begins with a line from the coarse table of the flight. What the
/// lines of scattered positions lead to in large tables is fetched for a whole block. Positions whose piece is another
/// one wait, and are tried again in vectors of their own.
class ImageRun {
public:
  ImageRun(LaneTables const& tables, PixelLimits const& limits, LanesToImage const& run)
      : mRun(run), mNearLines(tables), mLanes(tables), mResults(tables, limits), mIsLarge(isLarge(tables)) {}

  std::size_t find() {
    for (std::size_t i = 0; i < mRun.count; i += blockSize) {
      findBlock(i, std::min(i + blockSize, mRun.count));
    }
    while (mWaiting.count() > 0) {
      findWaiting();
    }
    std::sort(mRun.rest, mRun.rest + mRest);
    return mRest;
  }

private:
  static constexpr std::uint32_t TRIES = 4;
  static constexpr double SCATTERED = 1024.0;  // nodes from the first position of a block
  // How far records are fetched before the solution.
  static constexpr std::size_t AHEAD = 4 * laneCount;

  // Stage by stage for all vectors, so that one goes on while others wait for what their numbers lead to.
  HWY_INLINE void findBlock(std::size_t begin, std::size_t end) {
    std::size_t const count = end - begin;
    alignas(64) double lines[blockSize];
    RowNumbers rows[blockSize / laneCount];
    bool const isScattered = mIsLarge && findScattered(begin, count, lines);
    for (std::size_t i = 0; i < count && !isScattered; i += laneCount) {
      storeTo(lines + i, mNearLines.next(ground(begin + i)));
    }
    for (std::size_t i = 0; i < count; i += laneCount) {
      mLanes.findRows(lines + i, rows[i / laneCount]);
      if (isScattered) {
        mLanes.prefetchRows(rows[i / laneCount]);
      }
    }
    for (std::size_t i = 0; i < std::min(count, AHEAD) && isScattered; i += laneCount) {
      mLanes.prefetchRecords(rows[i / laneCount]);
    }
    for (std::size_t i = 0; i < count; i += laneCount) {
      if (isScattered && i + AHEAD < count) {
        mLanes.prefetchRecords(rows[(i + AHEAD) / laneCount]);
      }
      mLanes.set(ground(begin + i));
      store(begin + i, std::min(laneCount, count - i), mLanes.find(load(lines + i), rows[i / laneCount]));
      while (mWaiting.count() >= laneCount) {
        findWaiting();
      }
    }
  }

  // The near lines of positions that are scattered over the flight, with what leads to their rows on its way from the
  // memory. False where they are neighbours.
  HWY_NOINLINE bool findScattered(std::size_t begin, std::size_t count, double* lines) const {
    Lanes farthest = zero();
    for (std::size_t i = 0; i < count; i += laneCount) {
      Lanes const place = mNearLines.firstPlace(ground(begin + i));
      storeTo(lines + i, place);
      mNearLines.prefetch(place);
      farthest = greatest(farthest, absolute(place - same(lines[0])));
    }
    if (allTrue(farthest < same(SCATTERED))) {
      return false;
    }
    for (std::size_t i = 0; i < count; i += laneCount) {
      Lanes const line = mNearLines.at(ground(begin + i), load(lines + i));
      storeTo(lines + i, line);
      mLanes.prefetchStarts(line);
    }
    return true;
  }

  // A vector of waiting positions; the last one is filled up with one of them.
  HWY_NOINLINE void findWaiting() {
    WaitingPositions::Entry entries[laneCount];
    auto const taken = mWaiting.take();
    geo::XYZPoint ground[laneCount];
    alignas(64) double lines[laneCount];
    for (std::size_t k = 0; k < laneCount; ++k) {
      entries[k] = taken[k < taken.size() ? k : 0];
      ground[k] = mRun.ground[entries[k].index];
      lines[k] = entries[k].line;
    }
    mLanes.set(groundOf(ground));
    auto const found = mLanes.find(load(lines));
    geo::XYPoint image[laneCount];
    double time[laneCount];
    Status status[laneCount];
    storeInterleaved(found.sample, found.line, reinterpret_cast<double*>(image));
    storeTo(time, found.time);
    mResults.store(found.sample, found.line, found.time, laneCount, status);
    for (std::size_t k = 0; k < taken.size(); ++k) {
      std::size_t const i = entries[k].index;
      mRun.image[i] = image[k];
      mRun.time[i] = time[k];
      mRun.status[i] = status[k];
    }
    leave(found, taken.size(), [&](std::size_t k) { return entries[k]; });
  }

  static HWY_INLINE LanePoint groundOf(geo::XYZPoint const* from) {
    LanePoint point;
    loadInterleaved(reinterpret_cast<double const*>(from), point.x, point.y, point.z);
    return point;
  }

  // The last vector is filled up with its first position.
  HWY_INLINE LanePoint ground(std::size_t i) const {
    if (i + laneCount <= mRun.count) {
      return groundOf(mRun.ground + i);
    }
    geo::XYZPoint filled[laneCount];
    for (std::size_t k = 0; k < laneCount; ++k) {
      filled[k] = mRun.ground[i + k < mRun.count ? i + k : i];
    }
    return groundOf(filled);
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
    mResults.store(found.sample, found.line, found.time, count, mRun.status + i);
    leave(found, count, [&](std::size_t k) {
      return WaitingPositions::Entry{0.0, static_cast<std::uint32_t>(i + k), 0};
    });
  }

  // What isn't solved waits for another try, or is left. `entryOf(k)` is what was tried.
  template <class EntryOf>
  HWY_INLINE void leave(ImageLanes::Solution const& found, std::size_t count, EntryOf entryOf) {
    std::uint32_t const all = static_cast<std::uint32_t>((std::uint64_t{1} << count) - 1);
    std::uint32_t unsolved = ~bitsOf(found.isSolved) & all;
    if (unsolved == 0) {
      return;
    }
    alignas(64) double lines[laneCount];
    storeTo(lines, found.line);
    std::uint32_t const elsewhere = bitsOf(found.isElsewhere);
    for (; unsolved != 0; unsolved &= unsolved - 1) {
      auto const k = static_cast<std::size_t>(std::countr_zero(unsolved));
      auto const entry = entryOf(k);
      if ((elsewhere >> k & 1U) != 0 && entry.tries + 1 < TRIES) {
        mWaiting.add(entry.index, lines[k], entry.tries + 1);
      } else {
        mRun.rest[mRest++] = entry.index;
      }
    }
  }

  LanesToImage const& mRun;
  NearLines mNearLines;
  ImageLanes mLanes;
  LaneResults mResults;
  bool mIsLarge;
  WaitingPositions mWaiting;
  std::size_t mRest = 0;
};

inline std::size_t findAll(LaneTables const& tables, PixelLimits const& limits, LanesToImage const& run) {
  return ImageRun(tables, limits, run).find();
}

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
