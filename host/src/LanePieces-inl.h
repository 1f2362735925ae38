// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// The camera at lines in lanes, which both directions share, for the instruction set at hand.

#if defined(KES_HOST_LANE_PIECES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KES_HOST_LANE_PIECES_INL_H
#undef KES_HOST_LANE_PIECES_INL_H
#else
#define KES_HOST_LANE_PIECES_INL_H
#endif

#include "Lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

#include "ViewFormulas-inl.h"

struct LanePose {
  LanePoint along;
  LanePoint across;
  LanePoint up;
  LanePoint centre;
  Lanes shift;
};
/// As `ViewChain::Sight`.
struct LaneSight {
  Lanes x;
  Lanes y;
  Lanes height;
};

/// The orientation's records of the lanes; of one record for all of them, if that is so.
struct LaneRecord {
  Lanes start;
  Lanes rate;
  LanePoint position;
  LanePoint positionStep;
  struct {
    Lanes q0;
    Lanes q1;
    Lanes q2;
    Lanes q3;
  } attitude, attitudeStep;

  HWY_INLINE void load(double const* records, RowNumbers const& rows) {
    constexpr std::size_t length = LaneTables::doublesPerRecord;
    loadPair(records, length, rows, start, rate);
    loadPair(records + 2, length, rows, position.x, position.y);
    loadPair(records + 4, length, rows, position.z, positionStep.x);
    loadPair(records + 6, length, rows, positionStep.y, positionStep.z);
    loadPair(records + 8, length, rows, attitude.q0, attitude.q1);
    loadPair(records + 10, length, rows, attitude.q2, attitude.q3);
    loadPair(records + 12, length, rows, attitudeStep.q0, attitudeStep.q1);
    loadPair(records + 14, length, rows, attitudeStep.q2, attitudeStep.q3);
  }
  HWY_INLINE void loadOne(double const* record) {
    Lanes* const fields[] = {&start,          &rate,           &position.x,      &position.y,      &position.z,
                             &positionStep.x, &positionStep.y, &positionStep.z,  &attitude.q0,     &attitude.q1,
                             &attitude.q2,    &attitude.q3,    &attitudeStep.q0, &attitudeStep.q1, &attitudeStep.q2,
                             &attitudeStep.q3};
    for (std::size_t i = 0; i < LaneTables::doublesPerRecord; ++i) {
      *fields[i] = same(record[i]);
    }
  }
};

/// Whether tables don't fit into the nearer caches.
inline bool isLarge(LaneTables const& tables) {
  constexpr std::size_t rows = 1U << 14U;
  return tables.rows.size() > rows;
}

/// The pieces that lines belong to, with all that their poses depend on.
class LanePieces {
public:
  explicit LanePieces(LaneTables const& tables)
      : mTables(tables), mLastInterval(same(static_cast<double>(tables.starts.size() - 2))), mCorrection(zero()),
        mCorrectionStep(zero()) {
    mRecord.loadOne(tables.records);
    load(zero());
  }

  Lanes first;
  Lanes last;
  Lanes greatestDepth;

  /// Of lines, which may be anything; a line beyond the table has the nearest.
  HWY_INLINE void load(Lanes line) {
    RowNumbers numbers;
    Lanes const whole = findRows(line, numbers);
    load(whole, numbers);
  }
  HWY_INLINE void load(Lanes whole, RowNumbers const& mRows) {
    mWhole = whole;
    auto const* const rows = reinterpret_cast<double const*>(mTables.rows.data());
    constexpr std::size_t length = LaneTables::doublesPerRow;
    Lanes record;
    loadPair(rows, length, mRows, first, last);
    loadPair(rows + 2, length, mRows, mTime, mTimeStep);
    if (mTables.hasCorrections) {
      loadPair(rows + 4, length, mRows, mCorrection, mCorrectionStep);
    }
    loadPair(rows + 6, length, mRows, greatestDepth, record);
    loadRecords(mRows);
  }

  // The rows of lines; returns the whole lines at or before.
  HWY_INLINE Lanes findRows(Lanes line, RowNumbers& rows) const {
    Intervals const intervals(*this, line);
    Lanes second, row;
    loadPair(reinterpret_cast<double const*>(mTables.starts.data()), LaneTables::doublesPerStart, intervals.rows,
             second, row);
    truncated(row + selectOrZero(line >= second, same(1.0)), rows.of);
    if (mTables.hasManyRows) {
      findFurther(line, intervals.rows, rows);
    }
    return intervals.whole;
  }

  HWY_INLINE RowNumbers rowsOf(Lanes line) const {
    RowNumbers rows;
    findRows(line, rows);
    return rows;
  }

  HWY_INLINE Lanes time(Lanes line) const { return mTime + mTimeStep * (line - mWhole); }

  HWY_INLINE LanePose pose(Lanes line) const {
    Lanes const v = line - mWhole;
    Lanes const w = partOf(mRecord, mTime + mTimeStep * v);
    Turn<Lanes> const turn = turnOf(mRecord, w);
    return {alongOf<LanePoint>(turn), acrossOf<LanePoint>(turn), upOf<LanePoint>(turn), centreOf<LanePoint>(mRecord, w),
            shift(v)};
  }

  /// As `ViewChain::sight` by the pose of a line. Each axis is used up before the next one is computed: sixteen
  /// registers are soon full.
  HWY_INLINE LaneSight sight(Lanes line, LanePoint const& ground) const {
    Lanes const v = line - mWhole;
    Lanes const w = partOf(mRecord, mTime + mTimeStep * v);
    LanePoint const centre = centreOf<LanePoint>(mRecord, w);
    LanePoint const away{ground.x - centre.x, ground.y - centre.y, ground.z - centre.z};
    Turn<Lanes> const turn = turnOf(mRecord, w);
    Lanes const height = dot(upOf<LanePoint>(turn), away);
    Lanes const across = dot(acrossOf<LanePoint>(turn), away);
    Lanes const along = dot(alongOf<LanePoint>(turn), away);
    return sightOf<LaneSight>(along, across, height, same(-mTables.focalLength), shift(v));
  }

  /// Asks the memory for what leads to the rows of lines.
  HWY_INLINE void prefetchStarts(Lanes line) const {
    Intervals const intervals(*this, line);
    for (std::uint32_t const interval : intervals.rows.of) {
      hwy::Prefetch(mTables.starts.data() + interval);
    }
  }

  /// Asks it for rows.
  HWY_INLINE void prefetchRows(RowNumbers const& rows) const {
    for (std::uint32_t const row : rows.of) {
      hwy::Prefetch(mTables.rows.data() + row);
    }
  }

  /// Asks it for what the poses of rows depend on, once the rows are there.
  HWY_INLINE void prefetchRecords(RowNumbers const& rows) const {
    constexpr std::size_t perCacheLine = 8;
    for (std::uint32_t const row : rows.of) {
      auto const record = static_cast<std::size_t>(mTables.rows[row].record);
      double const* const begin = mTables.records + LaneTables::doublesPerRecord * record;
      for (std::size_t i = 0; i < LaneTables::doublesPerRecord; i += perCacheLine) {
        hwy::Prefetch(begin + i);
      }
    }
  }

private:
  /// Between which whole lines of the table lines are.
  struct Intervals {
    HWY_INLINE Intervals(LanePieces const& pieces, Lanes line) {
      Lanes const begin = same(pieces.mTables.firstLine);
      Lanes const place = line - begin;
      whole = truncated(least(selectOrZero(place > zero(), place), pieces.mLastInterval), rows.of) + begin;
    }
    Lanes whole;
    RowNumbers rows;
  };

  // Rows after the second one of their line.
  HWY_NOINLINE void findFurther(Lanes line, RowNumbers const& intervals, RowNumbers& rows) const {
    alignas(64) double lines[laneCount];
    storeTo(lines, line);
    for (std::size_t i = 0; i < laneCount; ++i) {
      std::uint32_t const end = mTables.firstRow(intervals.of[i] + 1);
      while (rows.of[i] + 1 < end && mTables.rows[rows.of[i]].last <= lines[i]) {
        ++rows.of[i];
      }
    }
  }

  HWY_INLINE Lanes shift(Lanes v) const {
    return mTables.hasCorrections ? same(mTables.pixelSize) * (mCorrection + mCorrectionStep * v) : zero();
  }

  HWY_INLINE void loadRecords(RowNumbers const& mRows) {
    RowNumbers records;
    for (std::size_t i = 0; i < laneCount; ++i) {
      records.of[i] = static_cast<std::uint32_t>(mTables.rows[mRows.of[i]].record);
    }
    if (!records.areEqual()) {
      mRecord.load(mTables.records, records);
      mOne = NONE;
    } else if (records.of[0] != mOne) {
      mOne = records.of[0];
      mRecord.loadOne(mTables.records + LaneTables::doublesPerRecord * mOne);
    }
  }

  static constexpr std::uint32_t NONE = ~0U;

  LaneTables const& mTables;
  Lanes mLastInterval;
  Lanes mWhole;  // the whole lines at or before
  Lanes mTime;
  Lanes mTimeStep;
  Lanes mCorrection;
  Lanes mCorrectionStep;
  LaneRecord mRecord;
  std::uint32_t mOne = 0;  // the record that all lanes have
};

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
