// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Csv.h"

#include "shared/Numbers.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tool {

namespace {

constexpr std::size_t longestRow = 1 << 20;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

// Adds the fields of one line to those of a record that may have begun on an earlier one. `quoted`: the last field is
// within quotes; returns the same for the end of the line.
bool split(std::string const& line, bool quoted, std::vector<std::string>& fields) {
  std::size_t i = 0;
  while (i < line.size()) {
    std::size_t const begin = i;
    while (i < line.size() && line[i] != '"' && (quoted || line[i] != ',')) {
      ++i;
    }
    fields.back().append(line, begin, i - begin);
    if (i == line.size()) {
      break;
    }
    bool const isDoubled = quoted && i + 1 < line.size() && line[i + 1] == '"';
    if (line[i] == ',') {
      fields.emplace_back();
    } else if (isDoubled) {
      fields.back() += line[++i];
    } else if (quoted || fields.back().empty()) {
      quoted = !quoted;
    } else {
      fields.back() += '"';
    }
    ++i;
  }
  return quoted;
}

bool needsQuotes(std::string const& field) {
  return field.find_first_of(",\"\r\n") != std::string::npos;
}

}  // namespace

CsvReader::CsvReader(std::istream& in, std::string name) : mIn(in), mName(std::move(name)) {
  if (!readRecord(mColumns)) {
    throw std::runtime_error(mName + ": no header line");
  }
}

std::size_t CsvReader::column(std::string_view name) const {
  auto const found = std::find(mColumns.begin(), mColumns.end(), name);
  if (found == mColumns.end()) {
    throw std::runtime_error(mName + ":1: no column \"" + std::string(name) + "\"");
  }
  return static_cast<std::size_t>(found - mColumns.begin());
}

bool CsvReader::next() {
  if (!readRecord(mFields)) {
    return false;
  }
  if (mFields.size() != mColumns.size()) {
    throw std::runtime_error(place() + ": " + std::to_string(mFields.size()) + " fields under " +
                             std::to_string(mColumns.size()) + " columns");
  }
  return true;
}

double CsvReader::number(std::size_t column) const {
  auto const value = numberOrNan(mFields[column]);
  if (!value) {
    throw std::runtime_error(place() + ": \"" + mFields[column] + "\" in column \"" + mColumns[column] +
                             "\" is not a number");
  }
  return *value;
}

std::string CsvReader::place() const {
  return mName + ":" + std::to_string(mRowLine);
}

bool CsvReader::readRecord(std::vector<std::string>& fields) {
  std::string line;
  do {
    if (!readLine(line)) {
      return false;
    }
  } while (line.empty());
  mRowLine = mLine;
  fields.clear();
  fields.reserve(mColumns.size());
  fields.emplace_back();
  for (bool quoted = split(line, false, fields); quoted; quoted = split(line, true, fields)) {
    if (!readLine(line)) {
      throw std::runtime_error(place() + ": a quote is never closed");
    }
    fields.back() += '\n';
    requireLength(fields.back().size(), mRowLine);
  }
  return true;
}

// A device or a binary file may have no line ends.
void CsvReader::requireLength(std::size_t length, std::size_t line) const {
  if (length > longestRow + 1) {
    throw std::runtime_error(mName + ":" + std::to_string(line) + ": a row of more than " + std::to_string(longestRow) +
                             " characters");
  }
}

bool CsvReader::readLine(std::string& line) {
  mBuffer.resize(longestRow + 2);
  mIn.getline(mBuffer.data(), static_cast<std::streamsize>(mBuffer.size()));
  if (mIn.bad()) {
    throw std::runtime_error(mName + ": reading failed");
  }
  auto const count = static_cast<std::size_t>(mIn.gcount());
  if (mIn.fail() && count == 0) {
    return false;
  }
  ++mLine;
  requireLength(mIn.fail() ? mBuffer.size() : count, mLine);
  line.assign(mBuffer.data(), mIn.eof() ? count : count - 1);
  if (mLine == 1 && line.starts_with(byteOrderMark)) {
    line.erase(0, byteOrderMark.size());
  }
  if (line.ends_with('\r')) {
    line.pop_back();
  }
  return true;
}

void appendCsvLine(std::string& out, std::vector<std::string> const& fields) {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i > 0) {
      out += ',';
    }
    if (!needsQuotes(fields[i])) {
      out += fields[i];
      continue;
    }
    out += '"';
    for (char const c : fields[i]) {
      out.append(c == '"' ? 2 : 1, c);
    }
    out += '"';
  }
  out += '\n';
}

}  // namespace tool
