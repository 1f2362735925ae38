// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace test {

/// The lines of a text, each of which has to end in a line feed.
inline std::vector<std::string> linesOf(std::string const& text) {
  std::vector<std::string> lines;
  std::size_t at = 0;
  for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', at)) {
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  if (at != text.size()) {
    lines.push_back("unfinished: " + text.substr(at));
  }
  return lines;
}

/// The numbers behind a line's keyword.
inline std::vector<double> numbersOf(std::string const& line) {
  std::istringstream in(line);
  in.imbue(std::locale::classic());
  std::string keyword;
  in >> keyword;
  std::vector<double> numbers;
  for (double number = 0.0; in >> number;) {
    numbers.push_back(number);
  }
  return numbers;
}

/// A number as a format of printf has it.
inline std::string printed(char const* format, double number) {
  std::string text(400, '\0');
  text.resize(static_cast<std::size_t>(std::snprintf(text.data(), text.size(), format, number)));
  return text;
}

/// Three numbers with 14 digits behind the point and an exponent.
inline std::string printed(double x, double y, double z) {
  return printed("%.14e", x) + " " + printed("%.14e", y) + " " + printed("%.14e", z);
}

}  // namespace test
