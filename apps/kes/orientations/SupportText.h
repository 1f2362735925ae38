// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

namespace tool {

/// What a support file tells under one keyword.
struct SupportEntry {
  std::string keyword;
  /// The words behind the keyword, or the text in quotes, if there is one, without them.
  std::string value;
  bool isQuoted = false;
};

/// The entries of a support file in their order. Lines that begin with a blank or a tab go on with the entry before them; the gain
/// that stands in the line of the bias is an entry of its own.
/// Throws "can't open FILE", "can't read FILE", and "not a support file: FILE" on a file that doesn't begin as one or is
/// larger than any.
std::vector<SupportEntry> readSupportFile(std::string const& file);

/// Whether all that a support file has to tell is there, down to its last line.
bool isComplete(std::vector<SupportEntry> const& entries);

}  // namespace tool
