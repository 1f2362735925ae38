// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QTextStream>

#include <optional>
#include <string_view>

namespace sensor {

/// Takes floats off a UTF-8 text by the rules of `QTextStream`: any white space before a number is skipped, and the
/// text of a number becomes a double and that a float. It takes the same texts for numbers and gives the same values,
/// but is many times faster where numbers are plain (a sign, digits, a point, digits) and stand between ASCII white
/// space. From the first other text on, a `QTextStream` itself reads the rest.
class FloatScanner {
public:
  /// The text must outlive the scanner.
  explicit FloatScanner(std::string_view text) : mRest(text) {}
  ~FloatScanner() = default;
  FloatScanner(FloatScanner const&) = delete;
  FloatScanner& operator=(FloatScanner const&) = delete;

  /// The next number; nothing when there is none, and from then on.
  std::optional<float> next();

private:
  std::optional<float> nextPlain();
  std::optional<float> nextLong(char const* begin);
  std::optional<float> nextOfStream();

  std::string_view mRest;
  QString mStreamText;
  std::optional<QTextStream> mStream;
};

}  // namespace sensor
