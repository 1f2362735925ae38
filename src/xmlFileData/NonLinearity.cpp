// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <xmlFileData/NonLinearity.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace xmlFileData {

namespace {

// One behind the last of `columns` columns, at the nearest end of the range of numbers where it lies beyond.
std::int32_t endOf(std::int32_t start, std::int32_t columns) {
  using Limits = std::numeric_limits<std::int32_t>;
  std::int64_t const end = std::int64_t{start} + columns;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(end, Limits::min(), Limits::max()));
}

}  // namespace

NonLinearity::NonLinearity(LookUp const& lookUp)
    : NonLinearity(lookUp.columnStart(), lookUp.columns(), lookUp.from(), lookUp.to()) {}

NonLinearity::NonLinearity(std::int32_t start, std::int32_t columns, std::vector<double> const& from,
                           std::vector<double> const& to)
    : columnStart(start), columnEnd(endOf(start, columns)) {
  if (from.size() != to.size()) {
    throw std::runtime_error("Internal error. Bad non linear correction format.");
  }
  points.reserve(from.size());
  for (std::size_t k = 0; k < from.size(); ++k) {
    points.emplace_back(from[k], to[k]);
  }
}

}  // namespace xmlFileData
