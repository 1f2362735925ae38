// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Columns.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace kespython {

namespace {

std::string textOf(Shape const& shape) {
  py::tuple tuple(shape.size());
  for (std::size_t i = 0; i < shape.size(); ++i) {
    tuple[i] = shape[i];
  }
  return py::repr(tuple);
}

Shape shapeOf(py::array const& array) {
  return {array.shape(), array.shape() + array.ndim()};
}

bool isFloat64(py::array const& array) {
  return py::isinstance<py::array_t<double>>(array);
}

// Masked numbers are none: their values are whatever was there before.
py::object unmasked(py::object const& values) {
  if (Py_TYPE(values.ptr()) == py::detail::npy_api::get().PyArray_Type_) {
    return values;
  }
  py::object const masked = py::module_::import("numpy.ma").attr("MaskedArray");
  return py::isinstance(values, masked)
             ? values.attr("astype")("float64").attr("filled")(std::numeric_limits<double>::quiet_NaN())
             : values;
}

}  // namespace

Column::Column(char const* name, py::handle values) : mName(name) {
  if (PyFloat_CheckExact(values.ptr())) {
    mNumber = PyFloat_AS_DOUBLE(values.ptr());
    return;
  }
  py::array const array = py::array::ensure(unmasked(py::reinterpret_borrow<py::object>(values)));
  if (!array) {
    throw py::error_already_set();
  }
  constexpr char const* realKinds = "buif";
  if (std::strchr(realKinds, array.dtype().kind()) == nullptr) {
    throw py::type_error(std::string(name) + ": expected real numbers, not dtype " +
                         std::string(py::repr(py::str(array.dtype()))));
  }
  mArray = isFloat64(array) ? array : py::array(py::array_t<double, py::array::forcecast>(array));
  mIsArray = true;
  mShape = shapeOf(mArray);
}

char const* Column::data() const {
  return mIsArray ? static_cast<char const*>(mArray.data()) : reinterpret_cast<char const*>(&mNumber);
}

std::vector<py::ssize_t> Column::stridesIn(Shape const& shape) const {
  std::vector<py::ssize_t> strides(shape.size(), 0);
  std::size_t const missing = shape.size() - mShape.size();
  for (std::size_t axis = 0; axis < mShape.size(); ++axis) {
    if (mShape[axis] != 1) {
      strides[missing + axis] = mArray.strides(static_cast<py::ssize_t>(axis));
    }
  }
  return strides;
}

Shape commonShape(std::vector<Column const*> const& columns) {
  Shape shape;
  for (Column const* const column : columns) {
    Shape const& own = column->shape();
    if (own.size() > shape.size()) {
      shape.insert(shape.begin(), own.size() - shape.size(), 1);
    }
    for (std::size_t back = 1; back <= own.size(); ++back) {
      py::ssize_t const extent = own[own.size() - back];
      py::ssize_t& common = shape[shape.size() - back];
      if (common == 1) {
        common = extent;
      } else if (extent != 1 && extent != common) {
        auto const* const other = *std::find_if(columns.begin(), columns.end(), [&](Column const* candidate) {
          Shape const& theirs = candidate->shape();
          return theirs.size() >= back && theirs[theirs.size() - back] == common;
        });
        throw py::value_error(std::string(column->name()) + " of shape " + textOf(own) + " doesn't go with " +
                              other->name() + " of shape " + textOf(other->shape()));
      }
    }
  }
  return shape;
}

std::size_t sizeOf(Shape const& shape) {
  std::size_t size = 1;
  for (py::ssize_t const extent : shape) {
    size *= static_cast<std::size_t>(extent);
  }
  return size;
}

Walk::Walk(Shape const& shape, std::vector<py::ssize_t> const& strides) {
  for (std::size_t axis = 0; axis < shape.size(); ++axis) {
    if (shape[axis] == 1) {
      continue;
    }
    if (!mShape.empty() && mStrides.back() == strides[axis] * shape[axis]) {
      mShape.back() *= shape[axis];
      mStrides.back() = strides[axis];
    } else {
      mShape.push_back(shape[axis]);
      mStrides.push_back(strides[axis]);
    }
  }
  if (mShape.empty()) {
    mShape.push_back(1);
    mStrides.push_back(0);
  }
}

// Calls `visit(offset, count)` for runs along the last axis; offsets are in bytes.
template <class Visit>
void Walk::forRuns(std::size_t begin, std::size_t count, Visit const& visit) const {
  if (count == 0) {
    return;
  }
  auto const last = static_cast<std::size_t>(mShape.back());
  std::size_t row = begin / last;
  std::size_t column = begin % last;
  while (count > 0) {
    py::ssize_t offset = static_cast<py::ssize_t>(column) * mStrides.back();
    std::size_t rest = row;
    for (std::size_t axis = mShape.size() - 1; axis-- > 0;) {
      auto const extent = static_cast<std::size_t>(mShape[axis]);
      offset += static_cast<py::ssize_t>(rest % extent) * mStrides[axis];
      rest /= extent;
    }
    std::size_t const run = std::min(count, last - column);
    visit(offset, run);
    count -= run;
    column = 0;
    ++row;
  }
}

void Walk::gather(char const* data, std::size_t begin, std::size_t count, double* to, std::size_t step) const {
  py::ssize_t const stride = mStrides.back();
  forRuns(begin, count, [&](py::ssize_t offset, std::size_t run) {
    char const* from = data + offset;
    for (std::size_t i = 0; i < run; ++i, from += stride, to += step) {
      std::memcpy(to, from, sizeof(double));  // arrays needn't be aligned
    }
  });
}

void Walk::scatter(double const* from, std::size_t step, std::size_t begin, std::size_t count, char* data) const {
  py::ssize_t const stride = mStrides.back();
  forRuns(begin, count, [&](py::ssize_t offset, std::size_t run) {
    char* to = data + offset;
    for (std::size_t i = 0; i < run; ++i, from += step, to += stride) {
      std::memcpy(to, from, sizeof(double));
    }
  });
}

Target::Target(Shape const& shape)
    : mArray(py::array_t<double>(shape)), mData(static_cast<char*>(mArray.mutable_data())), mWalk(walkOf(mArray)) {}

Target::Target(char const* name, py::handle array, Shape const& shape)
    : mArray(py::isinstance<py::array_t<double>>(array) ? py::reinterpret_borrow<py::array>(array)
                                                        : throw py::type_error(std::string("out: ") + name +
                                                                               " isn't an array of float64 in the "
                                                                               "machine's byte order")),
      mData(nullptr), mWalk(walkOf(mArray)) {
  if (shapeOf(mArray) != shape) {
    throw py::value_error(std::string("out: ") + name + " has shape " + textOf(shapeOf(mArray)) +
                          ", the results have " + textOf(shape));
  }
  if (!mArray.writeable()) {
    throw py::value_error(std::string("out: ") + name + " is read-only");
  }
  mData = static_cast<char*>(mArray.mutable_data());
}

Walk Target::walkOf(py::array const& array) {
  return {shapeOf(array), {array.strides(), array.strides() + array.ndim()}};
}

}  // namespace kespython
