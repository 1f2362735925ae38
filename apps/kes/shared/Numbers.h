// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <files/Angles.h>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// In a radian.
constexpr double degrees = files::degreesPerRadian;

/// The shortest text that reads back to the same number, whatever the locale.
std::string text(double value);
std::string text(float value);

/// A number with a fixed number of decimals, whatever the locale.
std::string fixed(double value, int decimals);

/// A number with so many significant digits at most, as a power of ten where it is very small or large: "0.0123",
/// "1.23e-07".
std::string significant(double value, int digits);

/// How the numbers of a table are written: each as the shortest text that reads back to the same number or, for
/// readers, with so many decimals.
class NumberForm {
public:
  /// No number of a table has more characters.
  static constexpr std::size_t longest = 400;
  static constexpr int mostDecimals = 15;
  /// By how many decimals an angle has more than a length: 1e-5 degrees are about a metre on the ground.
  static constexpr int moreOfAngles = 5;

  /// The shortest texts.
  NumberForm() = default;
  explicit NumberForm(int decimals) : mDecimals(decimals) {}

  /// That of angles and of what else is as fine (quaternions, times) beside lengths of this form.
  NumberForm ofAngles() const;
  /// Writes a number from `begin` on, where there is room for `longest` characters; returns the end.
  template <class Number>
  char* print(char* begin, Number value) const;
  template <class Number>
  std::string text(Number value) const;

private:
  std::optional<int> mDecimals;
};

/// The number that is the whole of `field`, blanks around it aside; nothing when it isn't one. "nan" and "inf" aren't
/// numbers.
std::optional<double> finiteNumber(std::string_view field);

/// The same for a value that a table may lack: NaN for a blank field, "nan" and "inf".
std::optional<double> numberOrNan(std::string_view field);

}  // namespace tool
