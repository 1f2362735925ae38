// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Utf16Decoder.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// The most bytes in a row.
inline constexpr std::size_t longestRow = std::size_t{1} << 20;

/// The form of a table.
struct CsvForm {
  std::string name;      ///< Stands for the table in messages.
  char separator = ',';  ///< A comma, a semicolon or a tab: what the header line has most of.
  std::vector<std::string> columns;

  /// Index of a column of that name, or else of the first that differs by blanks around it or by upper and lower case
  /// alone; their number when there is none.
  std::size_t find(std::string_view column) const;
  /// The same, but throws "NAME:1: no column \"...\"; there are \"...\", \"...\"" when there is none.
  std::size_t column(std::string_view column) const;
  /// The columns in quotes, with commas between.
  std::string names() const;
  /// NAME:LINE.
  std::string place(std::size_t line) const { return name + ":" + std::to_string(line); }
};

/// A block of rows. It keeps its memory when it is filled again.
class CsvRows {
public:
  std::size_t size() const { return mRows.size(); }
  /// The line on which a row begins, counted from 1.
  std::size_t line(std::size_t row) const { return mFirstLine + mRows[row].line; }

  /// Splits each row into its fields, and reads the numbers of some columns into `numbers`, row after row: NaN for a
  /// blank field, "nan" and "inf". Throws "NAME:LINE: ..." on the first row with another number of fields than there
  /// are columns or with a field that should be a number and isn't; after the last row, what ended the reading.
  void split(CsvForm const& form, std::vector<std::size_t> const& numberColumns, std::vector<double>& numbers);

  /// A field without its quotes. Like all below, after `split`.
  std::string_view field(std::size_t row, std::size_t column) const { return fields(row, column, column); }
  /// Fields from `first` to `last`, with the separators between them.
  std::string_view fields(std::size_t row, std::size_t first, std::size_t last) const;
  /// Whether it is known that no field of a row needs quotes.
  bool isPlain(std::size_t row) const { return mRows[row].isPlain; }

private:
  friend class CsvReader;

  // Places in the text. Quotes that a split takes out leave a gap at the end of a row.
  struct Row {
    std::uint32_t begin;
    std::uint32_t end;
    std::uint32_t line;  // From the first line of the block.
    bool isPlain;
  };

  class Plain;

  void splitAny(CsvForm const& form, std::vector<std::size_t> const& numberColumns, std::size_t row, double* numbers);

  std::string mText;
  std::size_t mFirstLine = 1;
  std::vector<Row> mRows;
  std::exception_ptr mFault;
  std::size_t mColumns = 0;
  std::vector<std::uint32_t> mEnds;  // Of the fields of all rows.
};

/// Reads a table with a header line in blocks of rows. Fields may be quoted; a quoted field may hold separators,
/// doubled quotes and line ends. A byte-order mark and carriage returns before line feeds are dropped, blank lines are
/// skipped. Text is UTF-8, or UTF-16 with its mark, of which UTF-8 is made.
class CsvReader {
public:
  /// Reads the header line. `name` stands for the table in messages. Throws "NAME: no header line" on an empty table.
  CsvReader(std::istream& in, std::string name);

  CsvForm const& form() const { return mForm; }

  /// Reads the next `count` rows, or as many as there are; no more than fill 64 MiB. False after the last. A quote that
  /// never closes, a row of more than a mebibyte and a stream that fails end the reading, which `CsvRows::split`
  /// throws.
  bool read(std::size_t count, CsvRows& rows);

private:
  struct Line {
    std::size_t begin;
    std::size_t end;
    std::size_t next;
  };

  void scan(std::size_t count, CsvRows& rows);
  bool findLine(std::string& text, std::size_t begin, Line& line);
  std::size_t findEndOfRow(std::string& text, Line& line);
  bool fill(std::string& text);
  void start(std::string& text);
  void requireLength(std::size_t length, std::size_t line) const;

  std::istream& mIn;
  CsvForm mForm;
  std::string mRest;  // What was read after the last row.
  std::size_t mLine = 0;
  bool mHasStarted = false;
  std::optional<Utf16Decoder> mDecoder;
  bool mHasEnded = false;
  bool mHasQuotes = false;
};

}  // namespace tool
