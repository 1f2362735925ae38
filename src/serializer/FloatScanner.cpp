// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "serializer/FloatScanner.h"

#include "common/QtText.h"

#include <QIODevice>

#include <algorithm>
#include <charconv>
#include <files/PlainNumber.h>

namespace sensor {

namespace {

constexpr std::string_view digits = "0123456789";
// A stream stops within a number that is far longer.
constexpr std::size_t maxPlainSize = 64;

bool isWhiteSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

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
  char const* const end = mRest.data() + mRest.size();
  char const* const begin = std::find_if_not(mRest.data(), end, isWhiteSpace);
  auto const plain = files::plainNumber(begin, end);
  if (plain.end != nullptr && (plain.end == end || isWhiteSpace(*plain.end))) {
    mRest.remove_prefix(static_cast<std::size_t>(plain.end - mRest.data()));
    return static_cast<float>(plain.value);
  }
  return nextLong(begin);
}

// A number of many digits, or what else stands at `begin`.
std::optional<float> FloatScanner::nextLong(char const* begin) {
  char const* const textEnd = mRest.data() + mRest.size();
  char const* const end = std::find_if(begin, textEnd, isWhiteSpace);
  std::string_view const number(begin, static_cast<std::size_t>(end - begin));
  if (number.size() > maxPlainSize || !isPlain(number)) {
    mStreamText = QString::fromUtf8(mRest.data(), static_cast<QStringSize>(mRest.size()));
    mStream.emplace(&mStreamText, QIODevice::ReadOnly);
    return nextOfStream();
  }
  mRest.remove_prefix(static_cast<std::size_t>(end - mRest.data()));
  double value = 0.0;
  std::from_chars(begin, end, value);
  return static_cast<float>(value);
}

std::optional<float> FloatScanner::nextOfStream() {
  float value = 0.0F;
  *mStream >> value;
  return mStream->status() == QTextStream::Ok ? std::optional(value) : std::nullopt;
}

}  // namespace sensor
