// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesadjust/BlockAdjustment.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <string>
#include <vector>

namespace kespython {

namespace py = pybind11;

/// A result's values by their names: numbers, lists of texts, and tables as dictionaries of their columns. Strips of
/// islands get their names from those of all, in any order.
py::dict describedResult(kesadjust::BlockResult const& result, std::vector<std::string> stripNames);

/// The columns of an adjusted orientation.
py::dict describedRecords(std::vector<kesadjust::AdjustedRecord> const& records);

}  // namespace kespython
