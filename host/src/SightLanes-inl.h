// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// Lines of sight in lanes, and positions on them, for the instruction set at hand.

#if defined(KES_HOST_SIGHT_LANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KES_HOST_SIGHT_LANES_INL_H
#undef KES_HOST_SIGHT_LANES_INL_H
#else
#define KES_HOST_SIGHT_LANES_INL_H
#endif

#include "Lanes-inl.h"
#include "LineOfSight.h"

#include <geo/XYZPoint.h>

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

#include "SightFormulas-inl.h"

/// As `LineOfSight`.
struct LaneLine {
  LanePoint eye;
  Lanes dx;
  Lanes dy;

  HWY_INLINE LanePoint at(Lanes depth) const { return {eye.x + depth * dx, eye.y + depth * dy, eye.z - depth}; }
};

/// The first `count` lines of those with the given numbers; the other lanes have the first one.
HWY_INLINE LaneLine loadLines(LineOfSight const* lines, std::uint32_t const* numbers, std::size_t count) {
  static_assert(sizeof(LineOfSight) == 5 * sizeof(double));
  constexpr std::size_t length = sizeof(LineOfSight) / sizeof(double);
  RowNumbers rows;
  for (std::size_t k = 0; k < laneCount; ++k) {
    rows.of[k] = numbers[k < count ? k : 0];
  }
  auto const* const fields = reinterpret_cast<double const*>(lines);
  LaneLine line;
  Lanes dx;
  loadPair(fields, length, rows, line.eye.x, line.eye.y);
  loadPair(fields + 2, length, rows, line.eye.z, dx);
  loadPair(fields + 3, length, rows, line.dx, line.dy);
  return line;
}

/// The first `count` lines.
HWY_INLINE LaneLine loadLines(LineOfSight const* lines, std::size_t count) {
  RowNumbers rows;
  for (std::size_t k = 0; k < laneCount; ++k) {
    rows.of[k] = static_cast<std::uint32_t>(k);
  }
  return loadLines(lines, rows.of, count);
}

/// The first `count` positions; the other lanes have the first one.
HWY_INLINE LanePoint loadPlaces(geo::XYZPoint const* from, std::size_t count) {
  geo::XYZPoint filled[laneCount];
  if (count < laneCount) {
    for (std::size_t k = 0; k < laneCount; ++k) {
      filled[k] = from[k < count ? k : 0];
    }
    from = filled;
  }
  LanePoint p;
  loadInterleaved(reinterpret_cast<double const*>(from), p.x, p.y, p.z);
  return p;
}

/// The first `count` of them.
HWY_INLINE void storePlaces(LanePoint const& p, geo::XYZPoint* to, std::size_t count) {
  geo::XYZPoint all[laneCount];
  storeInterleaved(p.x, p.y, p.z, reinterpret_cast<double*>(count < laneCount ? all : to));
  if (count < laneCount) {
    std::copy_n(all, count, to);
  }
}

HWY_INLINE void storePart(Lanes x, double* to, std::size_t count) {
  alignas(64) double all[laneCount];
  storeTo(count < laneCount ? all : to, x);
  if (count < laneCount) {
    std::copy_n(all, count, to);
  }
}

/// The ends of the first `count` lines, all of them found.
HWY_INLINE void storeEnds(Lanes depth, LanePoint const& place, SightEnd* ends, std::uint32_t const* numbers,
                          std::size_t count) {
  alignas(64) double depths[laneCount];
  geo::XYZPoint places[laneCount];
  storeTo(depths, depth);
  storeInterleaved(place.x, place.y, place.z, reinterpret_cast<double*>(places));
  for (std::size_t k = 0; k < count; ++k) {
    ends[numbers[k]] = {depths[k], places[k], Status::ok};
  }
}

/// Neither NaN nor infinite.
HWY_INLINE Mask areFinite(LanePoint const& p) {
  Lanes const nothing = (p.x - p.x) + (p.y - p.y) + (p.z - p.z);
  return nothing == zero();
}

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
