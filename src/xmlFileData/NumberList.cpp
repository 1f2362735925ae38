// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/NumberList.h"

#include "common/QtText.h"

#include <QIODevice>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>

namespace xmlFileData {

namespace {

// A stream stops within a number that is far longer.
constexpr std::size_t maxPlainSize = 64;

bool isBlank(char16_t c) {
  return c == u' ' || (c >= u'\t' && c <= u'\r');
}

bool isDigit(char16_t c) {
  return c >= u'0' && c <= u'9';
}

// What a plain number is made of, as far as the standard's conversion and the stream agree on it.
bool isOfNumber(char16_t c) {
  return isDigit(c) || c == u'-' || c == u'.' || c == u'e' || c == u'E' || c == u'+';
}

// The number that a word is, when it is a plain one: begins, but for its minus, and ends with a digit.
std::optional<double> plainNumber(std::u16string_view word) {
  std::array<char, maxPlainSize> text;
  if (word.size() > text.size() || !std::all_of(word.begin(), word.end(), isOfNumber) || !isDigit(word.back()) ||
      !isDigit(word[word.size() > 1 && word.front() == u'-' ? 1 : 0])) {
    return std::nullopt;
  }
  std::transform(word.begin(), word.end(), text.begin(), [](char16_t c) { return static_cast<char>(c); });
  double value = 0.0;
  char const* end = text.data() + word.size();
  auto const result = std::from_chars(text.data(), end, value);
  return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
}

// Adds the numbers of a text in which one isn't plain.
void addByStream(QString text, std::vector<double>& numbers) {
  QTextStream stream(&text, QIODevice::ReadOnly);
  for (stream.skipWhiteSpace(); !stream.atEnd(); stream.skipWhiteSpace()) {
    double value = 0.0;
    stream >> value;
    if (stream.status() != QTextStream::Ok) {
      return;
    }
    numbers.push_back(value);
  }
}

}  // namespace

std::vector<double> numberList(QString const& text, std::size_t expected) {
  std::u16string_view const all(reinterpret_cast<char16_t const*>(text.utf16()), static_cast<std::size_t>(text.size()));
  std::vector<double> numbers;
  numbers.reserve(std::min(expected, (all.size() + 1) / 2));
  for (std::size_t at = 0; at < all.size();) {
    std::size_t const begin = at;
    while (at < all.size() && !isBlank(all[at])) {
      ++at;
    }
    if (at > begin) {
      auto const number = plainNumber(all.substr(begin, at - begin));
      if (!number) {
        addByStream(text.mid(static_cast<sensor::QStringSize>(begin)), numbers);
        return numbers;
      }
      numbers.push_back(*number);
    }
    ++at;
  }
  return numbers;
}

}  // namespace xmlFileData
