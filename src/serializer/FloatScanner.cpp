// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "serializer/FloatScanner.h"

#include "common/QtText.h"

#include <QIODevice>

#include <algorithm>
#include <charconv>

namespace sensor {

namespace {

constexpr std::string_view whiteSpace = " \t\n\v\f\r";
constexpr std::string_view digits = "0123456789";
// A stream stops within a number that is far longer.
constexpr std::size_t maxPlainSize = 64;

// How many digits a text begins with.
std::size_t digitCount(std::string_view text) {
  return std::min(text.find_first_not_of(digits), text.size());
}

// Whether a text is a sign or none, digits, and perhaps a point and digits. It then is far from the limits of a double.
bool isPlain(std::string_view text) {
  if (!text.empty() && text.front() == '-') {
    text.remove_prefix(1);
  }
  std::size_t const whole = digitCount(text);
  if (whole == 0 || whole == text.size()) {
    return whole > 0;
  }
  std::string_view const fraction = text.substr(whole + 1);
  return text[whole] == '.' && !fraction.empty() && digitCount(fraction) == fraction.size();
}

}  // namespace

std::optional<float> FloatScanner::next() {
  return mStream ? nextOfStream() : nextPlain();
}

std::optional<float> FloatScanner::nextPlain() {
  std::string_view number = mRest;
  number.remove_prefix(std::min(number.find_first_not_of(whiteSpace), number.size()));
  std::size_t const size = std::min(number.find_first_of(whiteSpace), number.size());
  number = number.substr(0, size);
  if (size > maxPlainSize || !isPlain(number)) {
    mStreamText = QString::fromUtf8(mRest.data(), static_cast<QStringSize>(mRest.size()));
    mStream.emplace(&mStreamText, QIODevice::ReadOnly);
    return nextOfStream();
  }
  mRest.remove_prefix(static_cast<std::size_t>(number.data() - mRest.data()) + size);
  double value = 0.0;
  std::from_chars(number.data(), number.data() + size, value);
  return static_cast<float>(value);
}

std::optional<float> FloatScanner::nextOfStream() {
  float value = 0.0F;
  *mStream >> value;
  return mStream->status() == QTextStream::Ok ? std::optional(value) : std::nullopt;
}

}  // namespace sensor
