// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <xmlFileData/roundDecimals.h>

#include <algorithm>
#include <vector>

namespace xmlFileData {

/// Whether two numbers are one in a file that keeps `decimals` decimals.
inline bool sameDecimals(double a, double b, int decimals) {
  return roundDecimals(a, decimals) == roundDecimals(b, decimals);
}

/// Whether two lists have the same length and are one in a file that keeps `decimals` decimals.
inline bool sameDecimals(std::vector<double> const& a, std::vector<double> const& b, int decimals) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [decimals](double x, double y) { return sameDecimals(x, y, decimals); });
}

}  // namespace xmlFileData
