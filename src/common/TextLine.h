// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string_view>

namespace sensor {

/// Takes the first line off `text`, with the line feed at its end, and gives it without.
inline std::string_view takeLine(std::string_view& text) {
  std::size_t const end = text.find('\n');
  std::string_view const line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

}  // namespace sensor
