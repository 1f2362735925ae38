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

/// Numbers from Python, for each point one: an array of any shape and strides, or a single number. float64 is used
/// where it lies; other real types are converted once. What a masked array masks is NaN.
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
  /// Whether the elements lie one behind the other, as doubles.
  bool isContiguous() const { return mShape.size() == 1 && mStrides.back() == sizeof(double); }
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

  /// The elements from one on, if they lie one behind the other; otherwise null.
  double const* lying(std::size_t begin) const { return lyingAt(mData, mWalk, begin); }

  static double const* lyingAt(char const* data, Walk const& walk, std::size_t begin) {
    bool const isAligned = reinterpret_cast<std::uintptr_t>(data) % alignof(double) == 0;
    return isAligned && walk.isContiguous() ? reinterpret_cast<double const*>(data) + begin : nullptr;
  }

private:
  char const* mData;
  Walk mWalk;
};

/// One array of results: a new one, or the caller's own.
class Target {
public:
  explicit Target(Shape const& shape);
  /// Throws TypeError "out: NAME isn't an array of float64 in the machine's byte order", ValueError "out: NAME has
  /// shape (2,), the results have (3,)" and "out: NAME is read-only".
  Target(char const* name, py::handle array, Shape const& shape);

  void write(double const* from, std::size_t step, std::size_t begin, std::size_t count) const {
    mWalk.scatter(from, step, begin, count, mData);
  }
  double* lying(std::size_t begin) const { return const_cast<double*>(Source::lyingAt(mData, mWalk, begin)); }
  py::object array() const { return mArray; }

private:
  static Walk walkOf(py::array const& array);

  py::array mArray;
  char* mData;
  Walk mWalk;
};

/// Reads columns into points: the coordinates of each side by side. Columns that lie in memory as most do are read
/// together, in vectors.
template <std::size_t N>
void readPoints(std::array<Source const*, N> const& columns, std::size_t begin, std::size_t count, double* points) {
  std::array<double const*, N> from;
  for (std::size_t k = 0; k < N; ++k) {
    from[k] = columns[k]->lying(begin);
    if (from[k] == nullptr) {
      for (std::size_t column = 0; column < N; ++column) {
        columns[column]->read(begin, count, points + column, N);
      }
      return;
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t k = 0; k < N; ++k) {
      points[N * i + k] = from[k][i];
    }
  }
}

/// The way back.
template <std::size_t N>
void writePoints(double const* points, std::size_t begin, std::size_t count,
                 std::array<Target const*, N> const& columns) {
  std::array<double*, N> to;
  for (std::size_t k = 0; k < N; ++k) {
    to[k] = columns[k]->lying(begin);
    if (to[k] == nullptr) {
      for (std::size_t column = 0; column < N; ++column) {
        columns[column]->write(points + column, N, begin, count);
      }
      return;
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t k = 0; k < N; ++k) {
      to[k][i] = points[N * i + k];
    }
  }
}

}  // namespace kespython
