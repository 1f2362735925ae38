// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/NumberList.h"

#include "xmlFileData/WideText.h"

#include <QIODevice>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <charconv>
#include <files/PlainNumber.h>
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

// The number that a word is, when it begins, but for its minus, and ends with a digit.
std::optional<double> wordNumber(std::u16string_view word) {
  std::array<char, maxPlainSize> text;
  if (word.size() > text.size() || !std::all_of(word.begin(), word.end(), isOfNumber) || !isDigit(word.back()) ||
      !isDigit(word[word.front() == u'-' ? 1 : 0])) {
    return std::nullopt;
  }
  std::transform(word.begin(), word.end(), text.begin(), [](char16_t c) { return static_cast<char>(c); });
  double value = 0.0;
  char const* end = text.data() + word.size();
  auto const result = std::from_chars(text.data(), end, value);
  return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
}

// Adds the numbers of a text in which one is left to the stream.
void addByStream(std::u16string_view words, std::vector<double>& numbers) {
  QString text = fromWide(words);
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

std::vector<double> numberList(std::u16string_view text, std::size_t expected) {
  std::vector<double> numbers;
  numbers.reserve(std::min(expected, (text.size() + 1) / 2));
  char16_t const* const end = text.data() + text.size();
  for (char16_t const* at = text.data(); at != end;) {
    if (isBlank(*at)) {
      ++at;
      continue;
    }
    auto const plain = files::plainNumber(at, end);
    if (plain.end != nullptr && (plain.end == end || isBlank(*plain.end))) {
      numbers.push_back(plain.value);
      at = plain.end;
      continue;
    }
    char16_t const* const wordEnd = std::find_if(at, end, isBlank);
    auto const number = wordNumber({at, static_cast<std::size_t>(wordEnd - at)});
    if (!number) {
      addByStream({at, static_cast<std::size_t>(end - at)}, numbers);
      return numbers;
    }
    numbers.push_back(*number);
    at = wordEnd;
  }
  return numbers;
}

}  // namespace xmlFileData
