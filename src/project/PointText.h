// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace sensor {

/// `text` without white space, including Unicode's, at its ends.
std::string_view withoutEndBlanks(std::string_view text);

/// The number that `text` is in the C locale, with white space around it or not; 0 when it isn't a number.
double numberIn(std::string_view text);

/// Adds `value` in fixed notation as a `QTextStream` prints it, regardless of the host's locale: a tie goes away from
/// zero, a zero has no sign.
void appendNumber(std::string& text, double value, int decimals);

/// The fields of a line of a point list, separated by blanks and tabs. The last field is never used up: asked for more,
/// it comes again.
class PointFields {
public:
  explicit PointFields(std::string_view text) : mRest(withoutEndBlanks(text)) {}

  std::string_view take();
  double takeNumber() { return numberIn(take()); }

  /// What isn't taken yet.
  std::string_view rest() const { return mRest; }
  /// Whether the rest is more than one field.
  bool hasSeveral() const { return separator() != mRest.size(); }

private:
  std::size_t separator() const;

  std::string_view mRest;
};

}  // namespace sensor
