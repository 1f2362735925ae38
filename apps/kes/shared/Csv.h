// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Numbers.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// What may separate fields. The first line of a table has quotes around fields with any of them, for there a reader
/// looks for the table's own.
constexpr std::string_view anySeparator = ",;\t";

/// The text of a table while it is written. It keeps its memory when it is cleared.
class CsvText {
public:
  std::string_view view() const { return {mBytes.get(), mSize}; }
  void clear() { mSize = 0; }

  void append(std::string_view text);
  void append(char c);
  /// Nothing for a number that isn't finite.
  void append(double value, NumberForm const& form = {});
  /// A field, in quotes if it has a quote, a line end or one of the separators.
  void appendField(std::string_view field, std::string_view separators);

private:
  char* room(std::size_t size);

  std::unique_ptr<char[]> mBytes;
  std::size_t mSize = 0;
  std::size_t mCapacity = 0;
};

/// Appends the fields as one line with commas, which may be the first of a table; quotes those that need it.
void appendCsvLine(std::string& out, std::vector<std::string> const& fields);

}  // namespace tool
