// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Csv.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace tool {

/// A table of points on its way through the tool: reads blocks of rows with the numbers of some columns, and writes
/// each row again with results. A result replaces a column of its name, or follows all others.
class PointTable {
public:
  /// Throws when a column of `numbers` is missing.
  PointTable(std::istream& in, std::string const& name, std::vector<std::string> const& numbers,
             std::vector<std::string> const& results);

  /// Reads up to `rows` rows; false after the last one.
  bool readBlock(std::size_t rows);
  std::size_t size() const { return mRows.size(); }
  /// Number k of row i of the block, in the order of `numbers`; NaN for an empty field.
  double number(std::size_t i, std::size_t k) const { return mValues[i * mNumberColumns.size() + k]; }
  /// FILE:LINE of row i of the block.
  std::string place(std::size_t i) const { return mReader.name() + ":" + std::to_string(mLines[i]); }

  void appendHeader(std::string& text) const { appendCsvLine(text, mNames); }
  /// Appends row i of the block with its results, which takes it out of the block.
  void appendRow(std::string& text, std::size_t i, std::vector<std::string> results);

private:
  CsvReader mReader;
  std::vector<std::size_t> mNumberColumns;
  std::vector<std::string> mNames;
  std::vector<std::size_t> mResultColumns;
  std::vector<std::vector<std::string>> mRows;
  std::vector<double> mValues;
  std::vector<std::size_t> mLines;
};

}  // namespace tool
