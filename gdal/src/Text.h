// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <charconv>
#include <string>

namespace kesgdal {

/// The shortest text that reads back to the same number, whatever the locale.
template <class Number>
std::string number(Number value) {
  std::array<char, 32> digits{};
  return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr};
}

/// A whole number without an exponent.
inline std::string wholeNumber(double value) {
  std::array<char, 400> digits{};
  return {digits.data(),
          std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, 0).ptr};
}

}  // namespace kesgdal
