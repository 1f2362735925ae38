// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Columns.h"

#include <kes/Accuracy.h>

#include <pybind11/numpy.h>
#include <span>

namespace kespython {

/// A shape with further axes at its end.
Shape withAxes(Shape shape, std::initializer_list<py::ssize_t> axes);

/// An array of covariance matrices, one for each point: two more axes of 3.
class CovarianceArray {
public:
  explicit CovarianceArray(Shape const& shape) : mArray(withAxes(shape, {3, 3})), mData(mArray.mutable_data()) {}

  /// Those of the points from `begin` on. From any thread.
  void write(std::size_t begin, std::span<kes::Covariance const> covariances) const;
  py::object array() const { return mArray; }

private:
  py::array_t<double> mArray;
  double* mData;
};

}  // namespace kespython
