// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <charconv>
#include <string>

namespace files {

/// The shortest text that reads back to the same number, whatever the locale. `Number` is float, double or an integer.
template <class Number>
inline std::string shortestText(Number value) {
  std::array<char, 32> digits{};
  return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr};
}

}  // namespace files
