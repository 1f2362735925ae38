// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <string>
#include <vector>

namespace kespython {

namespace py = pybind11;

using Shape = std::vector<py::ssize_t>;

/// Numbers from Python, for each point one: an array of any shape and strides, or a single number. float64 is used where
/// it lies; other real types are converted once. What a masked array masks is NaN.
class Column {
public:
  /// Throws TypeError "NAME: expected real numbers, not dtype 'X'".
  Column(char const* name, py::handle values);

  char const* name() const { return mName; }
  Shape const& shape() const { return mShape; }
  /// Its strides in the shape that all columns of a call have; NumPy's rules of broadcasting hold between them.
  std::vector<py::ssize_t> stridesIn(Shape const& shape) const;
  char const* data() const;

private:
  char const* mName;
  double mNumber = 0.0;  // without an array
  py::array mArray;
  bool mIsArray = false;
  Shape mShape;
};

/// The shape that columns have together. Throws ValueError "NAME of shape (2,) doesn't go with NAME of shape (3,)".
Shape commonShape(std::vector<Column const*> const& columns);

/// How many elements an array of a shape has.
std::size_t sizeOf(Shape const& shape);

/// Walks through the elements of a strided array in the order of its indices, from any of them on.
class Walk {
public:
  Walk(Shape const& shape, std::vector<py::ssize_t> const& strides);

  /// Copies `count` numbers from element `begin` on to every `step`th double of `to`.
  void gather(char const* data, std::size_t begin, std::size_t count, double* to, std::size_t step) const;
  /// The way back.
  void scatter(double const* from, std::size_t step, std::size_t begin, std::size_t count, char* data) const;

private:
  template <class Visit>
  void forRuns(std::size_t begin, std::size_t count, Visit const& visit) const;

  // Axes that lie one behind the other are one here; the last varies fastest.
  Shape mShape;
  std::vector<py::ssize_t> mStrides;
};

/// One column to gather points from.
class Source {
public:
  Source(Column const& column, Shape const& shape) : mData(column.data()), mWalk(shape, column.stridesIn(shape)) {}
  void read(std::size_t begin, std::size_t count, double* to, std::size_t step = 1) const {
    mWalk.gather(mData, begin, count, to, step);
  }

private:
  char const* mData;
  Walk mWalk;
};

/// One array of results: a new one, or the caller's own.
class Target {
public:
  explicit Target(Shape const& shape);
  /// Throws TypeError "out: NAME isn't an array of float64 in the machine's byte order", ValueError "out: NAME has shape
  /// (2,), the results have (3,)" and "out: NAME is read-only".
  Target(char const* name, py::handle array, Shape const& shape);

  void write(double const* from, std::size_t step, std::size_t begin, std::size_t count) const {
    mWalk.scatter(from, step, begin, count, mData);
  }
  py::object array() const { return mArray; }

private:
  static Walk walkOf(py::array const& array);

  py::array mArray;
  char* mData;
  Walk mWalk;
};

}  // namespace kespython
