// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Csv.h"
#include "shared/CsvReader.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// Rows of a table of points, with the numbers of some of their columns.
struct PointRows {
  CsvRows rows;
  std::vector<double> numbers;  ///< Row after row, NaN for an empty field.
};

/// The results of a point that are numbers, and the forms in which they are written.
struct ResultNumbers {
  std::span<double const> values;
  std::span<NumberForm const> forms;
};

/// A table of points on its way through the tool: reads blocks of rows with the numbers of some columns, and writes
/// each row again with results. A result replaces a column of its name, or follows all others.
class PointTable {
public:
  /// Throws when a column of `numbers` is missing.
  PointTable(std::istream& in, std::string const& name, std::vector<std::string> const& numbers,
             std::vector<std::string> const& results);

  /// Reads up to `count` rows; false after the last one. For one thread at a time.
  bool read(std::size_t count, PointRows& points) { return mReader.read(count, points.rows); }
  /// Makes numbers of what was read. Several threads may do that, each with rows of its own.
  void split(PointRows& points) const { points.rows.split(mReader.form(), mNumberColumns, points.numbers); }
  /// FILE:LINE of row i.
  std::string place(PointRows const& points, std::size_t i) const { return mReader.form().place(points.rows.line(i)); }

  void appendHeader(CsvText& text) const;
  /// Appends row i with its results, of which those after the numbers are texts.
  void appendRow(CsvText& text, PointRows const& points, std::size_t i, ResultNumbers const& numbers,
                 std::string_view last) const;

private:
  // Columns of the table that is written: some that follow each other in the table that is read, or a result.
  struct Piece {
    bool isResult;
    std::size_t first;  // A column that is read, or the number of the result.
    std::size_t last;
  };

  void addPiece(std::size_t column, std::vector<std::size_t> const& resultColumns);
  void appendFields(CsvText& text, CsvRows const& rows, std::size_t i, Piece const& piece) const;

  CsvReader mReader;
  std::vector<std::size_t> mNumberColumns;
  std::vector<std::string> mNames;
  std::vector<Piece> mPieces;
};

}  // namespace tool
