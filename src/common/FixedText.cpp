// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/FixedText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace sensor {

namespace {

constexpr int maxDecimals = 30;
// Sign, point, and the digits of the largest double.
constexpr int maxSize = std::numeric_limits<double>::max_exponent10 + 3 + maxDecimals;

}  // namespace

void appendFixed(std::string& text, double value, int decimals) {
  // No reader knows the sign that a NaN may have: the result of 0 / 0 has one.
  if (std::isnan(value)) {
    text += "nan";
    return;
  }
  std::array<char, maxSize> digits{};
  auto const result =
      std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, decimals);
  text.append(digits.data(), result.ptr);
}

std::string fixedText(double value, int decimals) {
  std::string text;
  appendFixed(text, value, decimals);
  return text;
}

}  // namespace sensor
