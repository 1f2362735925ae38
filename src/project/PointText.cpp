// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/PointText.h"

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace sensor {

namespace {

constexpr std::string_view asciiBlanks = " \t\n\v\f\r";

// In UTF-8, as spreadsheets and web pages leave them beside numbers.
constexpr std::array<std::string_view, 19> wideBlanks = {
    "\u0085", "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006",
    "\u2007", "\u2008", "\u2009", "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"};

std::size_t blankAtStart(std::string_view text) {
  if (asciiBlanks.find(text.front()) != std::string_view::npos) {
    return 1;
  }
  auto const* const found = std::find_if(wideBlanks.begin(), wideBlanks.end(),
                                         [&](auto blank) { return text.substr(0, blank.size()) == blank; });
  return found == wideBlanks.end() ? 0 : found->size();
}

std::size_t blankAtEnd(std::string_view text) {
  if (asciiBlanks.find(text.back()) != std::string_view::npos) {
    return 1;
  }
  auto const* const found = std::find_if(wideBlanks.begin(), wideBlanks.end(), [&](auto blank) {
    return text.size() >= blank.size() && text.substr(text.size() - blank.size()) == blank;
  });
  return found == wideBlanks.end() ? 0 : found->size();
}

bool isAscii(char c) {
  return static_cast<unsigned char>(c) < 0x80;
}

}  // namespace

std::string_view withoutEndBlanks(std::string_view text) {
  for (std::size_t count = 1; !text.empty() && count > 0;) {
    count = isAscii(text.front()) && text.front() > ' ' ? 0 : blankAtStart(text);
    text.remove_prefix(count);
  }
  for (std::size_t count = 1; !text.empty() && count > 0;) {
    count = isAscii(text.back()) && text.back() > ' ' ? 0 : blankAtEnd(text);
    text.remove_suffix(count);
  }
  return text;
}

double numberIn(std::string_view text) {
  double value = 0.0;
  char const* const end = text.data() + text.size();
  auto const result = std::from_chars(text.data(), end, value);
  if (result.ec == std::errc() && result.ptr == end && std::isfinite(value)) {
    return value;
  }
  // A plus sign and words for infinity: Qt decides what else is a number. A value beyond the range isn't. No number
  // needs more characters than this, and a NUL would end the text too early.
  constexpr std::size_t longest = 4096;
  text = withoutEndBlanks(text);
  bool const isText = text.size() <= longest && text.find('\0') == std::string_view::npos;
  bool isNumber = false;
  value = isText ? QByteArray(text.data(), static_cast<int>(text.size())).toDouble(&isNumber) : 0.0;
  return isNumber ? value : 0.0;
}

void appendNumber(std::string& text, double value, int decimals) {
  constexpr int usual = 6;
  text += QString::number(value, 'f', decimals < 0 ? usual : decimals).toStdString();
}

// The place of the next blank or tab, or the size. A plain loop, since the search for one of several
// characters calls a function for each.
std::size_t PointFields::separator() const {
  auto const* const found = std::find_if(mRest.begin(), mRest.end(), [](char c) { return c == ' ' || c == '\t'; });
  return static_cast<std::size_t>(found - mRest.begin());
}

std::string_view PointFields::take() {
  std::string_view const field = mRest.substr(0, separator());
  if (field.size() < mRest.size()) {
    mRest = withoutEndBlanks(mRest.substr(field.size()));
  }
  return field;
}

}  // namespace sensor
