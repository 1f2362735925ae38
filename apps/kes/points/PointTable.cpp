// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/PointTable.h"

#include <algorithm>

namespace tool {

PointTable::PointTable(std::istream& in, std::string const& name, std::vector<std::string> const& numbers,
                       std::vector<std::string> const& results)
    : mReader(in, name), mNames(mReader.form().columns) {
  for (std::string const& column : numbers) {
    mNumberColumns.push_back(mReader.form().column(column));
  }
  std::vector<std::size_t> resultColumns;
  for (std::string const& column : results) {
    std::size_t const found = mReader.form().find(column);
    bool const isNew = found == mReader.form().columns.size();
    resultColumns.push_back(isNew ? mNames.size() : found);
    if (isNew) {
      mNames.push_back(column);
    }
  }
  for (std::size_t column = 0; column < mNames.size(); ++column) {
    addPiece(column, resultColumns);
  }
}

void PointTable::addPiece(std::size_t column, std::vector<std::size_t> const& resultColumns) {
  auto const result = std::find(resultColumns.begin(), resultColumns.end(), column);
  if (result != resultColumns.end()) {
    auto const number = static_cast<std::size_t>(result - resultColumns.begin());
    mPieces.push_back({true, number, number});
  } else if (!mPieces.empty() && !mPieces.back().isResult) {
    mPieces.back().last = column;
  } else {
    mPieces.push_back({false, column, column});
  }
}

void PointTable::appendHeader(CsvText& text) const {
  char const separator = mReader.form().separator;
  for (std::size_t i = 0; i < mNames.size(); ++i) {
    if (i > 0) {
      text.append(separator);
    }
    text.appendField(mNames[i], anySeparator);
  }
  text.append('\n');
}

void PointTable::appendRow(CsvText& text, PointRows const& points, std::size_t i, ResultNumbers const& numbers,
                           std::string_view last) const {
  bool isFirst = true;
  for (Piece const& piece : mPieces) {
    if (!isFirst) {
      text.append(mReader.form().separator);
    }
    isFirst = false;
    if (!piece.isResult) {
      appendFields(text, points.rows, i, piece);
    } else if (piece.first < numbers.values.size()) {
      text.append(numbers.values[piece.first], numbers.forms[piece.first]);
    } else {
      text.append(last);
    }
  }
  text.append('\n');
}

void PointTable::appendFields(CsvText& text, CsvRows const& rows, std::size_t i, Piece const& piece) const {
  if (rows.isPlain(i)) {
    text.append(rows.fields(i, piece.first, piece.last));
    return;
  }
  char const separator = mReader.form().separator;
  for (std::size_t column = piece.first; column <= piece.last; ++column) {
    if (column > piece.first) {
      text.append(separator);
    }
    text.appendField(rows.field(i, column), {&separator, 1});
  }
}

}  // namespace tool
