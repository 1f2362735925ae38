// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <xmlFileData/roundDecimals.h>

#include <cmath>

namespace xmlFileData {

namespace {

// 10 to the power of `exponent`, by squaring: exact up to the power of 22.
double powerOfTen(unsigned int exponent) {
  double power = 1.0;
  double square = 10.0;
  for (; exponent != 0; exponent >>= 1U) {
    if ((exponent & 1U) != 0) {
      power *= square;
    }
    square *= square;
  }
  return power;
}

double decimalFactor(int decimals) {
  auto const digits = static_cast<unsigned int>(decimals);
  return decimals < 0 ? 1.0 / powerOfTen(0U - digits) : powerOfTen(digits);
}

}  // namespace

double roundDecimals(double value, int decimals) {
  double const factor = decimalFactor(decimals);
  double const p = value * factor;
  return (p < 0.0 ? std::ceil(p - 0.5) : std::floor(p + 0.5)) / factor;
}

}  // namespace xmlFileData
