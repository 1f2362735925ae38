// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// A vector of lines of sight on their way over a raster, for the instruction set at hand.

#if defined(KES_HOST_WALK_LANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KES_HOST_WALK_LANES_INL_H
#undef KES_HOST_WALK_LANES_INL_H
#else
#define KES_HOST_WALK_LANES_INL_H
#endif

#include "RasterWalk.h"
#include "SightLanes-inl.h"
#include "WalkKernels.h"

#include <limits>

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

HWY_INLINE Mask isWithinHalfTurn(SightFrame const& frame, Lanes x, Lanes middle) {
  return absolute(x - middle) <= same(0.5 * frame.turn);
}

HWY_INLINE Mask isInUnit(Lanes x) {
  return both(x >= zero(), x <= same(1.0));
}

/// As `SurfaceRays` and `RasterWalk` go along a line of sight, where the path is found at once, what remains of it is
/// straight, and no cell on it is without a height.
class WalkLanes {
public:
  /// The `count` lines from the i-th on.
  HWY_INLINE WalkLanes(SightFrame const& frame, RasterTiles& tiles, SightsToSound const& run, std::size_t i,
                       std::size_t count)
      : mFrame(frame), mTiles(tiles), mIndex(i), mCount(count), mLine(loadLines(run.lines + i, count)),
        mBegin(loadPart(run.begins + i, count)), mLength(loadPart(run.lengths + i, count)) {
    LanePoint const top = loadPlaces(run.places + i, count);
    LanePoint const middle = loadPlaces(run.places + run.count + i, count);
    LanePoint const bottom = loadPlaces(run.places + 2 * run.count + i, count);
    mPath = parabolaThrough<Lanes, LanePoint>(meshPoint(top), meshPoint(middle), meshPoint(bottom));
    mIsSimple = both(isWithinHalfTurn(frame, middle.x, same(frame.middle)),
                     both(isWithinHalfTurn(frame, top.x, middle.x), isWithinHalfTurn(frame, bottom.x, middle.x)));
    cut();
  }

  /// To what the heights around it leave of a path, again and again.
  HWY_INLINE void narrow() {
    Lanes const bulgeX = same(0.25) * absolute(mPath.bend.x);
    Lanes const bulgeY = same(0.25) * absolute(mPath.bend.y);
    Mask isOpen = mIsSimple;
    for (int pass = 0; pass < SightFrame::mostNarrowings; ++pass) {
      LanePoint const a = mPath.at(mFirst);
      LanePoint const b = mPath.at(mLast);
      Mask const isLong = absolute(b.x - a.x) + absolute(b.y - a.y) > same(SightFrame::fewMeshes);
      isOpen = both(isOpen, both(mFirst < mLast, isLong));
      std::uint32_t const open = bitsOf(isOpen);
      if (open == 0) {
        return;
      }
      setExtents(open, {least(a.x, b.x) - bulgeX, greatest(a.x, b.x) + bulgeX, least(a.y, b.y) - bulgeY,
                        greatest(a.y, b.y) + bulgeY});
      Lanes const highest = fromFloats(mHighest);
      Lanes const lowest = fromFloats(mLowest);
      Lanes const length = mLast - mFirst;
      Lanes const first = mPath.partAt(highest + same(mFrame.clearance));
      Lanes const last = mPath.partAt(lowest - same(mFrame.clearance));
      Mask const isAbove = both(isOpen, mPath.heightAt(first) > highest);
      Mask const isUnder = both(isOpen, mPath.heightAt(last) < lowest);
      mFirst = select(isAbove, greatest(mFirst, first), mFirst);
      mLast = select(isUnder, least(mLast, last), mLast);
      isOpen = both(isOpen, both(lowest <= highest, mLast - mFirst < same(0.5) * length));
    }
  }

  /// Goes from mesh to mesh, along the first straight part of a path.
  HWY_INLINE void meet() {
    setWay();
    Lanes const perX = same(1.0) / mStep.x;
    Lanes const perY = same(1.0) / mStep.y;
    Mask const goesRight = mStep.x > zero();
    Mask const goesDown = mStep.y > zero();
    Lanes const stepX = select(goesRight, same(1.0), same(-1.0));
    Lanes const stepY = select(goesDown, same(1.0), same(-1.0));
    // From the border before the first mesh to that after the last one.
    auto const clip = [](Lanes a, Lanes b, Lanes& first, Lanes& last) HWY_ATTR {
      first = greatest(first, least(a, b));
      last = least(last, greatest(a, b));
    };
    Lanes w = zero();
    Lanes last = same(1.0);
    clip((zero() - mFrom.x) * perX, (same(mTiles.lastColumn() + 1.0) - mFrom.x) * perX, w, last);
    clip((zero() - mFrom.y) * perY, (same(mTiles.lastRow() + 1.0) - mFrom.y) * perY, w, last);
    Mask isOpen = both(both(mIsSimple, mFirst < mLast), w <= last);
    mColumn = meshAt(mFrom.x + w * mStep.x, mTiles.lastColumn());
    mRow = meshAt(mFrom.y + w * mStep.y, mTiles.lastRow());
    Lanes columnsLeft = absolute(meshAt(mFrom.x + last * mStep.x, mTiles.lastColumn()) - mColumn);
    Lanes rowsLeft = absolute(meshAt(mFrom.y + last * mStep.y, mTiles.lastRow()) - mRow);
    Mask const isFar = columnsLeft + rowsLeft > same(static_cast<double>(RasterWalk::FEW_MESHES));
    mIsSimple = both(mIsSimple, either(notOf(isOpen), notOf(isFar)));
    isOpen = both(isOpen, mIsSimple);
    Lanes x = mColumn;
    Lanes y = mRow;
    bool isFirst = true;
    for (;;) {
      std::uint32_t const open = bitsOf(isOpen);
      if (open == 0) {
        break;
      }
      Lanes const atColumn = (select(goesRight, x + same(1.0), x) - mFrom.x) * perX;
      Lanes const atRow = (select(goesDown, y + same(1.0), y) - mFrom.y) * perY;
      Lanes const exit = greatest(w, least(least(atColumn, atRow), last));
      isOpen = visit(isOpen, open, isFirst, x, y, w, exit);
      isFirst = false;
      w = exit;
      Mask const isNextColumn = atColumn <= atRow;
      x = select(isNextColumn, x + stepX, x);
      y = select(isNextColumn, y, y + stepY);
      columnsLeft = select(isNextColumn, columnsLeft - same(1.0), columnsLeft);
      rowsLeft = select(isNextColumn, rowsLeft, rowsLeft - same(1.0));
      isOpen = both(both(isOpen, w < last), both(columnsLeft >= zero(), rowsLeft >= zero()));
    }
    // What isn't met on the first of several parts may be met on the next one.
    mIsSimple = both(mIsSimple, either(mHasMet, notOf(mEnd < mLast)));
    mHasMet = both(mHasMet, mIsSimple);
  }

  Mask isSolved() const { return mIsSimple; }

  /// Adds what was met.
  HWY_INLINE void store(SightMeetings& meetings) const {
    // From the chord on to the parabola.
    Lanes w = mFirst + mMet * (mEnd - mFirst);
    LanePoint const slope = mPath.slope(w);
    LanePoint const p = mPath.at(w);
    Lanes const step = stepToPatch(mPatch, LanePoint{p.x - mColumn, p.y - mRow, p.z}, slope);
    w = w + selectOrZero(absolute(step) * mLength < same(SightFrame::mostStep), step);
    Lanes const perDepth = same(1.0) / mLength;
    Lanes const depth = mBegin + w * mLength;
    Lanes const fields[SightMeetings::fieldCount] = {depth,
                                                     (mEnd - mFirst) * mLength,
                                                     slope.x * perDepth,
                                                     slope.y * perDepth,
                                                     slope.z * perDepth,
                                                     mColumn,
                                                     mRow,
                                                     mPatch.first,
                                                     mPatch.right,
                                                     mPatch.down,
                                                     mPatch.twist};
    geo::XYZPoint* const places = meetings.places + meetings.size;
    for (std::size_t f = 0; f < SightMeetings::fieldCount; ++f) {
      storeTo(meetings.fields[f] + meetings.size, fields[f]);
    }
    storePlaces(mLine.at(depth), places, laneCount);
    std::uint32_t const met = bitsOf(mHasMet);
    std::size_t size = 0;
    for (std::size_t k = 0; k < mCount; ++k) {
      if ((met >> k & 1U) == 0) {
        continue;
      }
      meetings.lines[meetings.size + size] = static_cast<std::uint32_t>(mIndex + k);
      if (k != size) {
        for (double* const field : meetings.fields) {
          field[meetings.size + size] = field[meetings.size + k];
        }
        places[size] = places[k];
      }
      ++size;
    }
    meetings.size += size;
  }

private:
  struct Box {
    Lanes leastX;
    Lanes greatestX;
    Lanes leastY;
    Lanes greatestY;
  };

  HWY_INLINE LanePoint meshPoint(LanePoint const& p) const {
    return meshPointOf<LanePoint>(mFrame.geo, mFrame.inverse, p.x, p.y, p.z);
  }

  // The mesh of a position, which may lie beside the raster.
  static HWY_INLINE Lanes meshAt(Lanes x, double last, std::uint32_t* to) {
    return truncated(least(greatest(x, zero()), same(last)), to);
  }
  static HWY_INLINE Lanes meshAt(Lanes x, double last) {
    RowNumbers ignored;
    return meshAt(x, last, ignored.of);
  }

  // To what is between the heights of the raster and below the camera.
  HWY_INLINE void cut() {
    Lanes const top = mPath.partAt(same(mFrame.highest));
    mFirst = select(mBegin + top * mLength < zero(), negative(mBegin) / mLength, top);
    mLast = mPath.partAt(same(mFrame.lowest));
    mIsSimple = both(mIsSimple, both(both(mFirst >= same(-0.5), mLast <= same(1.5)), mFirst < mLast));
    mIsSimple = both(mIsSimple, both(areFinite(mPath.at(mFirst)), areFinite(mPath.at(mLast))));
  }

  HWY_INLINE void setExtents(std::uint32_t open, Box const& box) {
    RowNumbers firstColumn, lastColumn, firstRow, lastRow;
    meshAt(box.leastX, mTiles.lastColumn(), firstColumn.of);
    meshAt(box.greatestX, mTiles.lastColumn(), lastColumn.of);
    meshAt(box.leastY, mTiles.lastRow(), firstRow.of);
    meshAt(box.greatestY, mTiles.lastRow(), lastRow.of);
    for (std::size_t k = 0; k < mCount; ++k) {
      if ((open >> k & 1U) != 0) {
        dsm::HeightExtent const extent =
            mTiles.extent(RasterTiles::Meshes{firstColumn.of[k], lastColumn.of[k], firstRow.of[k], lastRow.of[k]});
        mHighest[k] = extent.highest;
        mLowest[k] = extent.lowest;
      }
    }
  }

  // The first straight part of what remains of a path.
  HWY_INLINE void setWay() {
    Lanes const most = mPath.greatestBend(same(mFrame.unit));
    Lanes const chord = greatest(squareRoot(same(4.0 * SightFrame::bend) / most), same(SightFrame::shortestChord));
    mEnd = least(mFirst + chord, mLast);
    mFrom = mPath.at(mFirst);
    LanePoint const to = mPath.at(mEnd);
    mStep = {to.x - mFrom.x, to.y - mFrom.y, to.z - mFrom.z};
    Lanes const still = same(RasterWalk::STILL);
    Mask const moves = both(absolute(mStep.x) >= still, absolute(mStep.y) >= still);
    mIsSimple = both(mIsSimple, either(moves, notOf(mFirst < mLast)));
  }

  // Meets what is in a mesh; returns which lines go on.
  // NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the mesh, and the part of the way in it
  HWY_INLINE Mask visit(Mask isOpen, std::uint32_t open, bool isFirst, Lanes x, Lanes y, Lanes w, Lanes exit) {
    RowNumbers columns, rows;
    truncated(x, columns.of);
    truncated(y, rows.of);
    for (std::size_t k = 0; k < mCount; ++k) {
      if ((open >> k & 1U) != 0) {
        auto const corners = mTiles.corners({columns.of[k], rows.of[k]});
        for (std::size_t c = 0; c < corners.size(); ++c) {
          mCorners[c][k] = corners[c];
        }
      }
    }
    PatchOf<Lanes> const patch =
        patchOf(fromFloats(mCorners[0]), fromFloats(mCorners[1]), fromFloats(mCorners[2]), fromFloats(mCorners[3]));
    Mask const isHole = both(isOpen, notOf(patch.twist == patch.twist));
    Lanes const length = exit - w;
    GapOf<Lanes> const clearance =
        gapOver(patch, LanePoint{mFrom.x + w * mStep.x - x, mFrom.y + w * mStep.y - y, mFrom.z + w * mStep.z},
                LanePoint{length * mStep.x, length * mStep.y, length * mStep.z});
    Lanes const end = clearance.end();
    Lanes const discriminant = clearance.discriminant();
    Mask const isUnder = notOf(clearance.start > zero());
    Mask const comesUnder = end <= zero();
    Mask const mayTouch = either(comesUnder, both(clearance.linear<zero(), clearance.bend> zero()));
    Lanes const s = clearance.root(discriminant);
    Mask const isWithin = isInUnit(s);
    Mask const meets = both(both(notOf(discriminant < zero()), mayTouch), either(isWithin, comesUnder));
    Lanes const met = select(isUnder, w, select(isWithin, w + s * length, exit));
    // A line that begins below the surface meets nothing.
    Mask const isMeeting = both(isOpen, isFirst ? both(notOf(isUnder), meets) : either(isUnder, meets));
    Mask const isNew = both(isMeeting, notOf(isHole));
    mMet = select(isNew, met, mMet);
    mColumn = select(isNew, x, mColumn);
    mRow = select(isNew, y, mRow);
    mPatch = {select(isNew, patch.first, mPatch.first), select(isNew, patch.right, mPatch.right),
              select(isNew, patch.down, mPatch.down), select(isNew, patch.twist, mPatch.twist)};
    mHasMet = either(mHasMet, isNew);
    mIsSimple = both(mIsSimple, notOf(isHole));
    return both(isOpen, notOf(either(either(isHole, isUnder), isNew)));
  }

  SightFrame const& mFrame;
  RasterTiles& mTiles;
  std::size_t mIndex;
  std::size_t mCount;
  LaneLine mLine;
  Lanes mBegin;
  Lanes mLength;
  ParabolaOf<Lanes, LanePoint> mPath;
  Mask mIsSimple;
  // What remains of the path, and where its first straight part ends.
  Lanes mFirst;
  Lanes mLast;
  Lanes mEnd;
  LanePoint mFrom;
  LanePoint mStep;
  // What was met.
  Mask mHasMet = same(1.0) < zero();  // in no lane
  Lanes mMet = zero();
  Lanes mColumn;
  Lanes mRow;
  PatchOf<Lanes> mPatch{zero(), zero(), zero(), zero()};
  alignas(64) float mHighest[laneCount] = {};
  alignas(64) float mLowest[laneCount] = {};
  alignas(64) float mCorners[4][laneCount] = {};
};

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
