// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/PointTable.h"

#include <algorithm>
#include <utility>

namespace tool {

PointTable::PointTable(std::istream& in, std::string const& name, std::vector<std::string> const& numbers,
                       std::vector<std::string> const& results)
    : mReader(in, name), mNames(mReader.columns()) {
  for (std::string const& column : numbers) {
    mNumberColumns.push_back(mReader.column(column));
  }
  for (std::string const& column : results) {
    auto const found = std::find(mNames.begin(), mNames.end(), column);
    mResultColumns.push_back(static_cast<std::size_t>(found - mNames.begin()));
    if (found == mNames.end()) {
      mNames.push_back(column);
    }
  }
}

bool PointTable::readBlock(std::size_t rows) {
  mRows.clear();
  mValues.clear();
  mLines.clear();
  while (mRows.size() < rows && mReader.next()) {
    for (std::size_t const column : mNumberColumns) {
      mValues.push_back(mReader.number(column));
    }
    mLines.push_back(mReader.line());
    mRows.push_back(mReader.takeFields());
  }
  return !mRows.empty();
}

void PointTable::appendRow(std::string& text, std::size_t i, std::vector<std::string> results) {
  std::vector<std::string> row = std::move(mRows[i]);
  row.resize(mNames.size());
  for (std::size_t k = 0; k < results.size(); ++k) {
    row[mResultColumns[k]] = std::move(results[k]);
  }
  appendCsvLine(text, row);
}

}  // namespace tool
