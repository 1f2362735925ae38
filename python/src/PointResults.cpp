// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "PointResults.h"

#include "Module.h"

namespace kespython {

namespace {

py::array_t<std::uint8_t> statusOf(py::object const& array, Shape const& shape) {
  bool const fits = py::isinstance<py::array_t<std::uint8_t, py::array::c_style>>(array);
  auto status = fits ? py::reinterpret_borrow<py::array_t<std::uint8_t>>(array) : py::array_t<std::uint8_t>();
  if (!fits || Shape(status.shape(), status.shape() + status.ndim()) != shape || !status.writeable()) {
    throw py::value_error("out: status isn't a contiguous, writeable array of uint8 of the shape of the results");
  }
  return status;
}

}  // namespace

PointResults::PointResults(std::vector<char const*> const& names, py::handle out, Shape const& shape) : mShape(shape) {
  mColumns.reserve(names.size());
  if (out.is_none()) {
    for (std::size_t i = 0; i < names.size(); ++i) {
      mColumns.emplace_back(shape);
    }
    setStatus(py::array_t<std::uint8_t>(shape));
    return;
  }
  if (!py::isinstance<py::sequence>(out) || (py::len(out) != names.size() && py::len(out) != names.size() + 1)) {
    throw py::type_error("out: expected " + std::to_string(names.size()) + " arrays, or " +
                         std::to_string(names.size() + 1) + " with the status");
  }
  auto const arrays = py::reinterpret_borrow<py::sequence>(out);
  for (std::size_t i = 0; i < names.size(); ++i) {
    mColumns.emplace_back(names[i], py::object(arrays[i]), shape);
  }
  setStatus(py::len(out) > names.size() ? statusOf(arrays[names.size()], shape) : py::array_t<std::uint8_t>(shape));
}

py::object PointResults::as(py::handle type) const {
  py::tuple arguments(mColumns.size() + 1);
  for (std::size_t i = 0; i < mColumns.size(); ++i) {
    arguments[i] = mColumns[i].array();
  }
  arguments[mColumns.size()] = mStatus;
  return type(*arguments);
}

void PointResults::requireAll() const {
  std::size_t const count = sizeOf(mShape);
  for (std::size_t i = 0; i < count; ++i) {
    if (!kes::hasResult(mStatusData[i])) {
      throwPointError(i);
    }
  }
}

void PointResults::setStatus(py::array_t<std::uint8_t> array) {
  mStatus = std::move(array);
  mStatusData = reinterpret_cast<kes::Status*>(mStatus.mutable_data());
}

void PointResults::throwPointError(std::size_t i) const {
  py::tuple index(mShape.size());
  std::size_t rest = i;
  for (std::size_t axis = mShape.size(); axis-- > 0;) {
    auto const extent = static_cast<std::size_t>(mShape[axis]);
    index[axis] = rest % extent;
    rest /= extent;
  }
  py::object const error = pythonClasses().pointError(index, static_cast<int>(mStatusData[i]));
  PyErr_SetObject(pythonClasses().pointError.ptr(), error.ptr());
  throw py::error_already_set();
}

}  // namespace kespython
