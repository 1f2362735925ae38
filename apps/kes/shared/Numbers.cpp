// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Numbers.h"

#include <array>
#include <charconv>
#include <cmath>

namespace tool {

namespace {

template <class Real>
std::string shortest(Real value) {
  std::array<char, 32> digits{};
  auto const end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  return {digits.data(), end};
}

std::string_view trimmed(std::string_view field) {
  constexpr std::string_view blanks = " \t";
  auto const first = field.find_first_not_of(blanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return field.substr(first, field.find_last_not_of(blanks) - first + 1);
}

}  // namespace

std::string text(double value) {
  return shortest(value);
}

std::string text(float value) {
  return shortest(value);
}

std::optional<double> finiteNumber(std::string_view field) {
  field = trimmed(field);
  if (field.starts_with('+')) {
    field.remove_prefix(1);
  }
  double value = 0.0;
  auto const [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
  bool const whole = error == std::errc() && end == field.data() + field.size();
  return whole && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

}  // namespace tool
