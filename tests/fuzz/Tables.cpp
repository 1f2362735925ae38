// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kinds.h"
#include "Run.h"
#include "shared/Csv.h"
#include "shared/CsvReader.h"
#include "support/TempFolder.h"

#include <geo/GroundPoint.h>
#include <geo/ImagePoint.h>
#include <sensor/GroundPointList.h>
#include <sensor/ImagePointList.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

namespace fuzz {

namespace {

using test::TempFolder;

/// Of a text with these decimals, and a double.
bool isNearInDecimals(double a, double b, double unit) {
  return isNear(a, b, 0.51 * unit + 1e-15 * std::abs(a));
}

bool isSame(geo::GroundPoint const& a, geo::GroundPoint const& b) {
  auto const isNumber = [](double x, double y) { return isNearInDecimals(x, y, 1e-10); };
  return a.id == b.id && isNumber(a.x, b.x) && isNumber(a.y, b.y) && isNumber(a.z, b.z) && isNumber(a.sx, b.sx) &&
         isNumber(a.sy, b.sy) && isNumber(a.sz, b.sz) && a.type == b.type;
}

bool isSame(geo::ImagePoint const& a, geo::ImagePoint const& b) {
  auto const isNumber = [](double x, double y) { return isNearInDecimals(x, y, 1e-3); };
  return a.id == b.id && isNumber(a.x, b.x) && isNumber(a.y, b.y) && isNumber(a.sx, b.sx) && isNumber(a.sy, b.sy) &&
         a.active == b.active;
}

/// A ground point's id that isn't quoted may have quotes in it, for which the writer has no form.
template <class Point>
bool canBeWritten(std::vector<Point> const& points) {
  return std::none_of(points.begin(), points.end(),
                      [](Point const& point) { return point.id.find('"') != std::string::npos; });
}

template <class Point>
void requireSame(std::vector<Point> const& a, std::vector<Point> const& b) {
  require(
      std::equal(a.begin(), a.end(), b.begin(), b.end(), [](Point const& x, Point const& y) { return isSame(x, y); }),
      "points that are read back");
}

using Fields = std::vector<std::string>;

/// All rows of a table, as texts. The number of rows that are read at once must not matter.
std::vector<Fields> rowsOf(std::string const& text, std::size_t atOnce) {
  std::istringstream in(text);
  tool::CsvReader reader(in, "table");
  std::vector<Fields> result{reader.form().columns};
  tool::CsvRows rows;
  std::vector<double> numbers;
  while (reader.read(atOnce, rows)) {
    rows.split(reader.form(), {}, numbers);
    for (std::size_t row = 0; row < rows.size(); ++row) {
      Fields fields;
      for (std::size_t column = 0; column < reader.form().columns.size(); ++column) {
        fields.emplace_back(rows.field(row, column));
      }
      rows.fields(row, 0, fields.size() - 1);
      result.push_back(fields);
    }
  }
  return result;
}

/// Reads all columns as numbers.
void readNumbers(std::string const& text) {
  std::istringstream in(text);
  tool::CsvReader reader(in, "table");
  std::vector<std::size_t> columns(reader.form().columns.size());
  std::iota(columns.begin(), columns.end(), std::size_t{0});
  tool::CsvRows rows;
  std::vector<double> numbers;
  while (reader.read(3, rows)) {
    rows.split(reader.form(), columns, numbers);
    require(numbers.size() == rows.size() * columns.size(), "a number for each field");
  }
}

std::string tableOf(std::vector<Fields> const& rows) {
  std::string text;
  for (Fields const& fields : rows) {
    tool::appendCsvLine(text, fields);
  }
  return text;
}

/// A row of one empty field is a blank line, which a reader skips.
bool isBlank(Fields const& fields) {
  return fields.size() == 1 && fields.front().find_first_not_of(" \t\r\n") == std::string::npos;
}

/// A carriage return before a line feed is dropped, also within quotes.
bool losesReturns(Fields const& fields) {
  return std::any_of(fields.begin(), fields.end(),
                     [](std::string const& field) { return field.find("\r\n") != std::string::npos; });
}

/// A table whose text, with commas, isn't taken for another one: the marks of encodings are bytes like any others in the
/// middle of a table.
bool canBeWritten(std::vector<Fields> const& rows) {
  std::string const first = rows.front().front().substr(0, 2);
  bool const beginsWithMark = first == "\xEF\xBB" || first == "\xFF\xFE" || first == "\xFE\xFF";
  return !beginsWithMark && std::none_of(rows.begin(), rows.end(), isBlank) &&
         std::none_of(rows.begin(), rows.end(), losesReturns);
}

}  // namespace

void groundPoints(std::string_view bytes) {
  TempFolder const folder;
  sensor::GroundPointList list;
  list.read(folder.file("points.gpt", bytes), true);
  require(list.write(folder / "short.gpt", true) == 0, "a short list that is written");
  require(list.write(folder / "copy.gpt", false) == 0, "a list that is written");
  sensor::GroundPointList again;
  again.read(folder / "copy.gpt", true);
  if (canBeWritten(list.points())) {
    requireSame(list.points(), again.points());
  }
}

void imagePoints(std::string_view bytes) {
  TempFolder const folder;
  sensor::ImagePointList list;
  list.read(folder.file("image.ipt", bytes), true);
  require(list.write(folder / "copy.ipt", 3) == 0, "a list that is written");
  sensor::ImagePointList again;
  again.read(folder / "copy.ipt", true);
  requireSame(list.points(), again.points());
}

void csvTable(std::string_view bytes) {
  std::string const text(bytes);
  accepts([&] { readNumbers(text); });
  std::vector<Fields> rows;
  bool const isTable = accepts([&] { rows = rowsOf(text, 1000); });
  require(isTable == accepts([&] { require(rowsOf(text, 1) == rows || !isTable, "the same rows one by one"); }),
          "a table that is read row by row");
  if (isTable && canBeWritten(rows)) {
    require(rowsOf(tableOf(rows), 1000) == rows, "rows that are read back");
  }
}

}  // namespace fuzz
