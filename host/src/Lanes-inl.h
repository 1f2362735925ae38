// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// What both directions do in lanes, for the instruction set at hand. LaneKernels.cpp includes this file once for each,
// hence no usual guard.

#if defined(KES_HOST_LANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KES_HOST_LANES_INL_H
#undef KES_HOST_LANES_INL_H
#else
#define KES_HOST_LANES_INL_H
#endif

#include "LaneTables.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// The processor's vectors of double, and those of as many integers.
using Doubles = hn::ScalableTag<double>;
using Ints = hn::Rebind<std::int32_t, Doubles>;
using Vector = hn::Vec<Doubles>;
using VectorMask = hn::Mask<Doubles>;
inline constexpr Doubles tag;
inline constexpr std::size_t vectorSize = hn::MaxLanes(Doubles());

/// Two vectors, which are worked on in turns: while one waits for a result, the other goes on.
struct Lanes {
  Vector a;
  Vector b;
};
struct Mask {
  VectorMask a;
  VectorMask b;
};
inline constexpr std::size_t laneCount = 2 * vectorSize;
/// Positions for which the memory is asked together.
inline constexpr std::size_t blockSize = 16 * laneCount;

HWY_INLINE Lanes operator+(Lanes x, Lanes y) {
  return {x.a + y.a, x.b + y.b};
}
HWY_INLINE Lanes operator-(Lanes x, Lanes y) {
  return {x.a - y.a, x.b - y.b};
}
HWY_INLINE Lanes operator*(Lanes x, Lanes y) {
  return {x.a * y.a, x.b * y.b};
}
HWY_INLINE Lanes operator/(Lanes x, Lanes y) {
  return {x.a / y.a, x.b / y.b};
}
HWY_INLINE Mask operator<(Lanes x, Lanes y) {
  return {x.a < y.a, x.b < y.b};
}
HWY_INLINE Mask operator<=(Lanes x, Lanes y) {
  return {x.a <= y.a, x.b <= y.b};
}
HWY_INLINE Mask operator>(Lanes x, Lanes y) {
  return {x.a > y.a, x.b > y.b};
}
HWY_INLINE Mask operator>=(Lanes x, Lanes y) {
  return {x.a >= y.a, x.b >= y.b};
}
HWY_INLINE Mask operator==(Lanes x, Lanes y) {
  return {x.a == y.a, x.b == y.b};
}
HWY_INLINE Mask both(Mask x, Mask y) {
  return {hn::And(x.a, y.a), hn::And(x.b, y.b)};
}
HWY_INLINE bool allTrue(Mask mask) {
  return hn::AllTrue(tag, hn::And(mask.a, mask.b));
}
HWY_INLINE Lanes select(Mask mask, Lanes yes, Lanes no) {
  return {hn::IfThenElse(mask.a, yes.a, no.a), hn::IfThenElse(mask.b, yes.b, no.b)};
}
HWY_INLINE Lanes selectOrZero(Mask mask, Lanes yes) {
  return {hn::IfThenElseZero(mask.a, yes.a), hn::IfThenElseZero(mask.b, yes.b)};
}
/// Of numbers.
HWY_INLINE Lanes least(Lanes x, Lanes y) {
  return {hn::Min(x.a, y.a), hn::Min(x.b, y.b)};
}
HWY_INLINE Lanes greatest(Lanes x, Lanes y) {
  return {hn::Max(x.a, y.a), hn::Max(x.b, y.b)};
}
HWY_INLINE Lanes absolute(Lanes x) {
  return {hn::Abs(x.a), hn::Abs(x.b)};
}
HWY_INLINE Lanes negative(Lanes x) {
  return {hn::Neg(x.a), hn::Neg(x.b)};
}
HWY_INLINE Lanes zero() {
  return {hn::Zero(tag), hn::Zero(tag)};
}
HWY_INLINE Lanes load(double const* from) {
  return {hn::LoadU(tag, from), hn::LoadU(tag, from + vectorSize)};
}
HWY_INLINE void storeTo(double* to, Lanes x) {
  hn::StoreU(x.a, tag, to);
  hn::StoreU(x.b, tag, to + vectorSize);
}
/// Numbers that aren't negative as integers.
HWY_INLINE Lanes truncated(Lanes x, std::uint32_t* to) {
  auto const a = hn::DemoteTo(Ints(), x.a);
  auto const b = hn::DemoteTo(Ints(), x.b);
  hn::RebindToUnsigned<Ints> const unsignedInts;
  hn::StoreU(hn::BitCast(unsignedInts, a), unsignedInts, to);
  hn::StoreU(hn::BitCast(unsignedInts, b), unsignedInts, to + vectorSize);
  return {hn::PromoteTo(tag, a), hn::PromoteTo(tag, b)};
}
HWY_INLINE void loadInterleaved(double const* from, Lanes& x, Lanes& y) {
  hn::LoadInterleaved2(tag, from, x.a, y.a);
  hn::LoadInterleaved2(tag, from + 2 * vectorSize, x.b, y.b);
}
HWY_INLINE void loadInterleaved(double const* from, Lanes& x, Lanes& y, Lanes& z) {
  hn::LoadInterleaved3(tag, from, x.a, y.a, z.a);
  hn::LoadInterleaved3(tag, from + 3 * vectorSize, x.b, y.b, z.b);
}
HWY_INLINE void storeInterleaved(Lanes x, Lanes y, double* to) {
  hn::StoreInterleaved2(x.a, y.a, tag, to);
  hn::StoreInterleaved2(x.b, y.b, tag, to + 2 * vectorSize);
}
HWY_INLINE void storeInterleaved(Lanes x, Lanes y, Lanes z, double* to) {
  hn::StoreInterleaved3(x.a, y.a, z.a, tag, to);
  hn::StoreInterleaved3(x.b, y.b, z.b, tag, to + 3 * vectorSize);
}
HWY_INLINE Lanes fromInts(std::int32_t const* from) {
  return {hn::PromoteTo(tag, hn::LoadU(Ints(), from)), hn::PromoteTo(tag, hn::LoadU(Ints(), from + vectorSize))};
}

HWY_INLINE Lanes same(double value) {
  return {hn::Set(tag, value), hn::Set(tag, value)};
}
HWY_INLINE Lanes same(Lanes, double value) {
  return same(value);
}

#include "ViewFormulas-inl.h"

struct LanePoint {
  Lanes x;
  Lanes y;
  Lanes z;
};
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

/// Numbers of rows, one for each lane.
struct RowNumbers {
  alignas(64) std::uint32_t of[laneCount];
  bool areEqual() const {
    bool equal = true;
    for (std::size_t i = 1; i < laneCount; ++i) {
      equal &= of[i] == of[0];
    }
    return equal;
  }
};

#if HWY_TARGET != HWY_SCALAR
/// Two fields of every second row from the first of `numbers` on, in blocks of two.
template <class Tag>
HWY_INLINE hn::Vec<Tag> blocks(Tag, double const* field, std::size_t rowLength, std::uint32_t const* numbers) {
  constexpr std::size_t count = hn::MaxLanes(Tag());
  if constexpr (count == 2) {
    return hn::LoadU(Tag(), field + rowLength * numbers[0]);
  } else {
    hn::Half<Tag> const half;
    return hn::Combine(Tag(), blocks(half, field, rowLength, numbers + count / 2),
                       blocks(half, field, rowLength, numbers));
  }
}
#endif

/// Two neighbouring fields of rows.
HWY_INLINE void loadPair(double const* field, std::size_t rowLength, std::uint32_t const* numbers, Vector& a,
                         Vector& b) {
#if HWY_TARGET == HWY_SCALAR
  a = hn::Set(tag, field[rowLength * numbers[0]]);
  b = hn::Set(tag, field[rowLength * numbers[0] + 1]);
#else
  Vector const even = blocks(tag, field, rowLength, numbers);
  Vector const odd = blocks(tag, field, rowLength, numbers + 1);
  a = hn::InterleaveLower(tag, even, odd);
  b = hn::InterleaveUpper(tag, even, odd);
#endif
}
HWY_INLINE void loadPair(double const* field, std::size_t rowLength, RowNumbers const& rows, Lanes& a, Lanes& b) {
  loadPair(field, rowLength, rows.of, a.a, b.a);
  loadPair(field, rowLength, rows.of + vectorSize, a.b, b.b);
}

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
    Intervals const intervals(*this, line);
    mWhole = intervals.whole;
    alignas(64) double lines[laneCount];
    storeTo(lines, line);
    for (std::size_t i = 0; i < laneCount; ++i) {
      std::uint32_t const* const start = &mTables.starts[intervals.of[i]];
      std::uint32_t row = start[0] + (isPast(start[0], start[1], lines[i]) ? 1U : 0U);
      while (isPast(row, start[1], lines[i])) {
        ++row;
      }
      mRows.of[i] = row;
    }
    auto const* const rows = reinterpret_cast<double const*>(mTables.rows.data());
    constexpr std::size_t length = LaneTables::doublesPerRow;
    Lanes record;
    loadPair(rows, length, mRows, first, last);
    loadPair(rows + 2, length, mRows, mTime, mTimeStep);
    if (mTables.hasCorrections) {
      loadPair(rows + 4, length, mRows, mCorrection, mCorrectionStep);
    }
    loadPair(rows + 6, length, mRows, greatestDepth, record);
    loadRecords();
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

  /// Asks the memory for the rows of lines.
  HWY_INLINE void prefetchRows(Lanes line) const {
    Intervals const intervals(*this, line);
    for (std::uint32_t const interval : intervals.of) {
      hwy::Prefetch(mTables.rows.data() + mTables.starts[interval]);
      hwy::Prefetch(mTables.rows.data() + mTables.starts[interval] + 1);
    }
  }

  /// For what their poses depend on, once the rows are there: the record at the beginning of a line, and the next.
  HWY_INLINE void prefetchRecords(Lanes line) const {
    constexpr std::size_t perCacheLine = 8;
    Intervals const intervals(*this, line);
    for (std::uint32_t const interval : intervals.of) {
      auto const record = static_cast<std::size_t>(mTables.rows[mTables.starts[interval]].record);
      double const* const begin = mTables.records + LaneTables::doublesPerRecord * record;
      for (std::size_t i = 0; i < 2 * LaneTables::doublesPerRecord; i += perCacheLine) {
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
      whole = truncated(least(selectOrZero(place > zero(), place), pieces.mLastInterval), of) + begin;
    }
    Lanes whole;
    alignas(64) std::uint32_t of[laneCount];
  };

  HWY_INLINE Lanes shift(Lanes v) const {
    return mTables.hasCorrections ? same(mTables.pixelSize) * (mCorrection + mCorrectionStep * v) : zero();
  }

  // Whether a line is past the end of a row, and its own whole line has another one. Both are looked at in any case:
  // which rows lines begin with is hard to predict.
  bool isPast(std::uint32_t row, std::uint32_t end, double line) const {
    return (row + 1 < end) & (mTables.rows[row].last <= line);
  }

  HWY_INLINE void loadRecords() {
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
  RowNumbers mRows;
  LaneRecord mRecord;
  std::uint32_t mOne = 0;  // the record that all lanes have
};

/// Which points of a vector are done, and their statuses.
class LaneResults {
public:
  LaneResults(LaneTables const& tables, PixelLimits const& limits)
      : mLeast(same(-0.5)), mSampleLimit(same(limits.samples - 0.5)), mLineLimit(same(limits.lines - 0.5)),
        mFirstTime(same(tables.firstTime)), mLastTime(same(tables.lastTime)) {}

  /// Stores the statuses of points from `begin` on, of which `count` exist, and adds those that aren't done to the
  /// rest.
  HWY_INLINE void store(Mask done, Lanes sample, Lanes line, Lanes time, std::size_t begin, std::size_t count,
                        Status* status, std::uint32_t* rest) {
    Mask const onPixel = both(both(sample >= mLeast, sample < mSampleLimit), both(line >= mLeast, line < mLineLimit));
    Mask const covered = both(time >= mFirstTime, time <= mLastTime);
    if (allTrue(both(done, both(onPixel, covered)))) {
      std::fill_n(status + begin, count, Status::ok);
      return;
    }
    // 0 for what isn't done.
    Lanes const place = select(covered, select(onPixel, same(1.0), same(2.0)), same(3.0));
    alignas(64) double places[laneCount];
    storeTo(places, selectOrZero(done, place));
    for (std::size_t i = 0; i < count; ++i) {
      status[begin + i] = places[i] == 1.0   ? Status::ok
                          : places[i] == 2.0 ? Status::outsideImage
                                             : Status::outsideOrientation;
      rest[mRest] = static_cast<std::uint32_t>(begin + i);
      mRest += places[i] == 0.0 ? 1 : 0;
    }
  }

  std::size_t rest() const { return mRest; }

private:
  Lanes mLeast;
  Lanes mSampleLimit;
  Lanes mLineLimit;
  Lanes mFirstTime;
  Lanes mLastTime;
  std::size_t mRest = 0;
};

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
