// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Numbers.h"

#include <array>
#include <charconv>
#include <cmath>
#include <files/NumberText.h>
#include <files/ShortestNumber.h>
#include <limits>
#include <type_traits>

namespace tool {

namespace {

std::string_view trimmed(std::string_view field) {
  constexpr std::string_view blanks = " \t";
  auto const first = field.find_first_not_of(blanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return field.substr(first, field.find_last_not_of(blanks) - first + 1);
}

// What isn't a number in its whole length, or has no double near it, is nothing.
std::optional<double> parsed(std::string_view field) {
  if (field.starts_with('+') && !field.starts_with("+-")) {
    field.remove_prefix(1);
  }
  double value = 0.0;
  auto const [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
  return error == std::errc() && end == field.data() + field.size() ? std::optional(value) : std::nullopt;
}

}  // namespace

std::string text(double value) {
  return files::shortestText(value);
}

std::string text(float value) {
  return files::shortestText(value);
}

std::string fixed(double value, int decimals) {
  return NumberForm(decimals).text(value);
}

std::string significant(double value, int digits) {
  std::array<char, NumberForm::longest> text{};
  char* const end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, digits).ptr;
  return {text.data(), end};
}

NumberForm NumberForm::ofAngles() const {
  return mDecimals ? NumberForm(*mDecimals + moreOfAngles) : NumberForm();
}

template <class Number>
char* NumberForm::print(char* begin, Number value) const {
  char* const end = begin + longest;
  if (mDecimals) {
    return std::to_chars(begin, end, value, std::chars_format::fixed, *mDecimals).ptr;
  }
  if constexpr (std::is_same_v<Number, double>) {
    return files::writeShortest(begin, value);
  } else {
    return std::to_chars(begin, end, value).ptr;
  }
}

template <class Number>
std::string NumberForm::text(Number value) const {
  std::array<char, longest> characters{};
  return {characters.data(), print(characters.data(), value)};
}

template char* NumberForm::print(char*, double) const;
template std::string NumberForm::text(double) const;
template std::string NumberForm::text(float) const;

std::optional<double> finiteNumber(std::string_view field) {
  auto const value = parsed(trimmed(field));
  return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<double> numberOrNan(std::string_view field) {
  field = trimmed(field);
  auto const value = field.empty() ? std::numeric_limits<double>::quiet_NaN() : parsed(field);
  return value && !std::isfinite(*value) ? std::numeric_limits<double>::quiet_NaN() : value;
}

}  // namespace tool
