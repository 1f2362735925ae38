// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>
#include <pybind11/pybind11.h>
#include <utility>

namespace kespython {

namespace py = pybind11;

/// Ends a work from within its progress.
struct Cancelled {};

/// Python's function of progress, called from whatever thread works. An exception of it, or Ctrl-C, ends the work.
class PythonProgress {
public:
  explicit PythonProgress(py::object function) : mFunction(std::move(function)) {}

  void operator()(double done) {
    py::gil_scoped_acquire const held;
    try {
      if (PyErr_CheckSignals() != 0) {
        throw py::error_already_set();
      }
      if (!mFunction.is_none()) {
        mFunction(done);
      }
    } catch (py::error_already_set& error) {
      mError = std::make_unique<py::error_already_set>(std::move(error));
      throw Cancelled();
    }
  }

  /// Does a work with the GIL released, which gets `*this` as its progress.
  template <class Work>
  void during(Work const& work) {
    try {
      py::gil_scoped_release const released;
      work([this](double done) { (*this)(done); });
    } catch (Cancelled const&) {
      throw py::error_already_set(std::move(*mError));
    }
  }

private:
  py::object mFunction;
  std::unique_ptr<py::error_already_set> mError;
};

}  // namespace kespython
