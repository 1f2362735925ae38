// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <vector>

namespace xmlFileData {

/// A row of a distortion grid: entry n of each vector is of calibrated pixel n; millimetres. In an absolute grid `row`
/// and `column` are the pixel's place in the focal plane: x along the flight and y along the line.
struct GridRow {
  std::vector<double> row;
  std::vector<double> column;
  std::vector<double> sigmaRow;
  std::vector<double> sigmaColumn;
};

}  // namespace xmlFileData
