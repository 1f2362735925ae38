// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

/// A table of comma-separated values with a header line, read a row at a time. Fields may be quoted; a quoted field may
/// hold commas, doubled quotes and line ends. A byte-order mark and carriage returns before line feeds are dropped,
/// blank lines are skipped.
class CsvReader {
public:
  /// Reads the header line. `name` stands for the table in messages. Throws "NAME: no header line" on an empty table.
  CsvReader(std::istream& in, std::string name);

  std::vector<std::string> const& columns() const { return mColumns; }
  /// Index of a column; throws "NAME:1: no column \"...\"" when the table lacks it.
  std::size_t column(std::string_view name) const;

  /// Goes to the next row; false after the last. Throws "NAME:LINE: ..." on a row with another number of fields than
  /// the header, a quote that never closes, or a row of more than a mebibyte.
  bool next();
  std::vector<std::string> const& fields() const { return mFields; }
  /// The fields, which the reader no longer has.
  std::vector<std::string> takeFields() { return std::move(mFields); }
  /// The field as a number, NaN for a blank field, "nan" and "inf"; throws "NAME:LINE: \"TEXT\" in column \"COLUMN\" is
  /// not a number" on other texts.
  double number(std::size_t column) const;
  std::string const& name() const { return mName; }
  /// The line on which the current row begins, counted from 1.
  std::size_t line() const { return mRowLine; }
  /// NAME:LINE, the place of the current row.
  std::string place() const;

private:
  bool readRecord(std::vector<std::string>& fields);
  bool readLine(std::string& line);
  void requireLength(std::size_t length, std::size_t line) const;

  std::istream& mIn;
  std::vector<char> mBuffer;
  std::string mName;
  std::vector<std::string> mColumns;
  std::vector<std::string> mFields;
  std::size_t mLine = 0;
  std::size_t mRowLine = 0;
};

/// Appends the fields as one line; quotes those that need it.
void appendCsvLine(std::string& out, std::vector<std::string> const& fields);

}  // namespace tool
