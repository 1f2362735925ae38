// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cmath>

// What the formulae that are written once for single numbers and for lanes of them ask of a single number.
namespace kes::detail {

inline double same(double, double value) {
  return value;
}

inline double select(bool condition, double yes, double no) {
  return condition ? yes : no;
}

inline double selectOrZero(bool condition, double yes) {
  return condition ? yes : 0.0;
}

inline double absolute(double x) {
  return std::fabs(x);
}

inline double negative(double x) {
  return -x;
}

inline double squareRoot(double x) {
  return std::sqrt(x);
}

}  // namespace kes::detail
