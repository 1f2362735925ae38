// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Columns.h"

#include <kes/Status.h>

#include <cstdint>
#include <span>
#include <vector>

namespace kespython {

/// The arrays of results of a call: columns of numbers and one of statuses, new ones or the caller's.
class PointResults {
public:
  /// `out` is None or has the caller's arrays, for the columns and perhaps the statuses. Throws what `Target` throws,
  /// TypeError "out: expected 3 arrays, or 4 with the status", and ValueError "out: status isn't a contiguous,
  /// writeable array of uint8 of the shape of the results".
  PointResults(std::vector<char const*> const& names, py::handle out, Shape const& shape);

  Target const& operator[](std::size_t column) const { return mColumns[column]; }
  std::span<kes::Status> status(std::size_t begin, std::size_t count) const { return {mStatusData + begin, count}; }

  /// The array of statuses.
  py::object status() const { return mStatus; }
  /// A named tuple of the arrays.
  py::object as(py::handle type) const;
  /// Throws PointError for the first point without a result.
  void requireAll() const;

private:
  void setStatus(py::array_t<std::uint8_t> array);
  [[noreturn]] void throwPointError(std::size_t i) const;

  Shape mShape;
  std::vector<Target> mColumns;
  py::array_t<std::uint8_t> mStatus;
  kes::Status* mStatusData = nullptr;
};

}  // namespace kespython
