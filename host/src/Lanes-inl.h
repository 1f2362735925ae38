// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// Vectors of numbers, what they load and store, and the statuses of their results, for the instruction set at hand.
// LaneKernels.cpp includes this file once for each instruction set, hence no usual guard.

#if defined(KES_HOST_LANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KES_HOST_LANES_INL_H
#undef KES_HOST_LANES_INL_H
#else
#define KES_HOST_LANES_INL_H
#endif

#include "LaneKernels.h"
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
HWY_INLINE Mask either(Mask x, Mask y) {
  return {hn::Or(x.a, y.a), hn::Or(x.b, y.b)};
}
HWY_INLINE Mask notOf(Mask mask) {
  return {hn::Not(mask.a), hn::Not(mask.b)};
}
HWY_INLINE bool allTrue(Mask mask) {
  return hn::AllTrue(tag, hn::And(mask.a, mask.b));
}
/// Bit i for lane i.
HWY_INLINE std::uint32_t bitsOf(Mask mask) {
  constexpr std::uint32_t all = (1U << vectorSize) - 1U;
  std::uint8_t a[8];
  std::uint8_t b[8];
  hn::StoreMaskBits(tag, mask.a, a);
  hn::StoreMaskBits(tag, mask.b, b);
  return (a[0] & all) | (b[0] & all) << vectorSize;
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
HWY_INLINE Lanes squareRoot(Lanes x) {
  return {hn::Sqrt(x.a), hn::Sqrt(x.b)};
}
HWY_INLINE Lanes zero() {
  return {hn::Zero(tag), hn::Zero(tag)};
}
HWY_INLINE Lanes load(double const* from) {
  return {hn::LoadU(tag, from), hn::LoadU(tag, from + vectorSize)};
}
/// The first `count` numbers; the other lanes are filled up with the first one.
HWY_INLINE Lanes loadPart(double const* from, std::size_t count) {
  if (count >= laneCount) {
    return load(from);
  }
  alignas(64) double filled[laneCount];
  for (std::size_t k = 0; k < laneCount; ++k) {
    filled[k] = from[k < count ? k : 0];
  }
  return load(filled);
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

HWY_INLINE Lanes fromFloats(float const* from) {
  hn::Rebind<float, Doubles> const floats;
  return {hn::PromoteTo(tag, hn::LoadU(floats, from)), hn::PromoteTo(tag, hn::LoadU(floats, from + vectorSize))};
}

HWY_INLINE Lanes same(double value) {
  return {hn::Set(tag, value), hn::Set(tag, value)};
}
HWY_INLINE Lanes same(Lanes, double value) {
  return same(value);
}

struct LanePoint {
  Lanes x;
  Lanes y;
  Lanes z;
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

/// The statuses of points.
class LaneResults {
public:
  LaneResults(LaneTables const& tables, PixelLimits const& limits)
      : mLeast(same(-0.5)), mSampleLimit(same(limits.samples - 0.5)), mLineLimit(same(limits.lines - 0.5)),
        mFirstTime(same(tables.firstTime)), mLastTime(same(tables.lastTime)) {}

  /// Stores the statuses of the first `count` points of a vector, as if all had a result.
  HWY_INLINE void store(Lanes sample, Lanes line, Lanes time, std::size_t count, Status* status) const {
    Mask const onPixel = both(both(sample >= mLeast, sample < mSampleLimit), both(line >= mLeast, line < mLineLimit));
    Mask const covered = both(time >= mFirstTime, time <= mLastTime);
    if (allTrue(both(onPixel, covered))) {
      std::fill_n(status, count, Status::ok);
      return;
    }
    alignas(64) double places[laneCount];
    storeTo(places, select(covered, selectOrZero(onPixel, same(1.0)), same(2.0)));
    for (std::size_t i = 0; i < count; ++i) {
      status[i] = places[i] == 1.0 ? Status::ok : places[i] == 0.0 ? Status::outsideImage : Status::outsideOrientation;
    }
  }

private:
  Lanes mLeast;
  Lanes mSampleLimit;
  Lanes mLineLimit;
  Lanes mFirstTime;
  Lanes mLastTime;
};

/// Adds the indices of those of `count` points, from `first` on, that aren't solved to `size` others. Returns how many
/// these are then.
HWY_INLINE std::size_t addUnsolved(Mask isSolved, std::size_t first, std::size_t count, std::uint32_t* rest,
                                   std::size_t size) {
  if (allTrue(isSolved)) {
    return size;
  }
  std::uint32_t const solved = bitsOf(isSolved);
  for (std::size_t k = 0; k < count; ++k) {
    rest[size] = static_cast<std::uint32_t>(first + k);
    size += (solved >> k & 1U) ^ 1U;
  }
  return size;
}

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
