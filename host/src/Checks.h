// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/Projection.h>
#include <kes/Status.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <stdexcept>
#include <variant>

namespace kes::detail {

inline constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();
inline constexpr geo::XYZPoint NOWHERE{NAN_VALUE, NAN_VALUE, NAN_VALUE};

inline bool isFinite(geo::XYZPoint const& p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

inline bool isFinite(geo::XYPoint const& p) {
  return std::isfinite(p.x) && std::isfinite(p.y);
}

/// Throws std::invalid_argument "spans differ in size" unless a span has `size` elements.
template <class Span>
void requireSize(Span const& span, std::size_t size) {
  if (span.size() != size) {
    throw std::invalid_argument("spans differ in size");
  }
}

/// The same, but none at all will do.
template <class Span>
void requireSizeOrNone(Span const& span, std::size_t size) {
  if (!span.empty()) {
    requireSize(span, size);
  }
}

/// All spans of a call but the optional ones have the size of its input.
template <class In, class Out, class Options>
void requireSizes(std::span<In const> in, Options const& options, std::span<Out> out, std::span<Status> status) {
  requireSize(out, in.size());
  requireSize(status, in.size());
  if (auto const* const perPoint = std::get_if<HeightPerPoint>(&options.heights)) {
    requireSize(perPoint->heights, in.size());
  }
  requireSizeOrNone(options.outputs.time, in.size());
  requireSizeOrNone(options.outputs.passes, in.size());
  requireSizeOrNone(options.outputs.closure, in.size());
}

inline std::size_t countResults(std::span<Status const> status) {
  return static_cast<std::size_t>(std::count_if(status.begin(), status.end(), hasResult));
}

}  // namespace kes::detail
