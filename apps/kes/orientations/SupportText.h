// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// An entry of a support file.
struct SupportEntry {
  std::string keyword;
  /// The words after the keyword, or the text in quotes, if there is one, without them.
  std::string value;
  bool isQuoted = false;
  std::int64_t line = 0;  ///< In the file, from 1 on.
};

/// What stands after a keyword of a support file: so many numbers, or one text.
struct SupportKeyword {
  char const* name;
  int numbers;  ///< 0: a text.
  char const* unit = "";
  double factor = 1.0;  ///< To the unit; angles are radians in the file.
};

/// Null for a keyword that isn't known.
SupportKeyword const* supportKeyword(std::string_view name);

/// The entries of a support file in their order. Lines that begin with a blank or a tab continue the entry before them;
/// the gain, which stands in the line of the bias, is an entry, too. Throws "can't open FILE", "can't read FILE", and
/// "not a support file: FILE" on a file that doesn't begin as one or is larger than any.
std::vector<SupportEntry> readSupportFile(std::string const& file);

/// Whether a support file is whole, down to its last line.
bool isComplete(std::vector<SupportEntry> const& entries);

}  // namespace tool
