// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "common/TextLines.h"
#include "files/FileReplacement.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sensor {

/// Reads the points of a text file with a point a line, after `points` or with `clear` in their place. `parse` makes a
/// point, or nothing, of a line. False, and `points` as they were, when the file can't be read.
template <class Point, class Parse>
bool readPoints(std::string const& fileName, bool clear, std::vector<Point>& points, Parse parse) {
  TextLines lines(fileName);
  if (!lines.isOpen()) {
    return false;
  }
  // The points take their own size and no more, unless their lines are too short to be of use: a file of line feeds
  // must not have memory for as many points.
  constexpr std::int64_t usualLineSize = 16;
  std::vector<Point> read;
  read.reserve(static_cast<std::size_t>(std::min(lines.countLines(), lines.size() / usualLineSize)));
  std::string_view line;
  while (lines.next(line)) {
    if (std::optional<Point> point = parse(line)) {
      read.push_back(*std::move(point));
    }
  }
  if (lines.hasFailed()) {
    return false;
  }
  if (clear || points.empty()) {
    points.swap(read);
  } else {
    points.insert(points.end(), std::make_move_iterator(read.begin()), std::make_move_iterator(read.end()));
  }
  return true;
}

/// Appends points, or takes them in place of the old ones. The points may be the list's own.
template <class Point>
void addTo(std::vector<Point>& list, std::vector<Point> const& points, bool replace) {
  if (replace || list.empty()) {
    list = points;
    return;
  }
  std::size_t const count = points.size();
  for (std::size_t i = 0; i < count; ++i) {
    list.push_back(points[i]);
  }
}

/// Replaces a file by a line for each point, which `append` adds to a text; false leaves the old file.
template <class Point, class Append>
bool writePoints(std::string const& fileName, std::vector<Point> const& points, Append append) {
  constexpr std::size_t pieceSize = std::size_t{1} << 16;
  files::FileReplacement file(fileName);
  std::string text;
  for (Point const& point : points) {
    append(text, point);
    if (text.size() >= pieceSize) {
      file.write(text);
      text.clear();
    }
  }
  file.write(text);
  return file.commit();
}

/// Copies out the first point of an id: 0, or 1 when there is none.
template <class Point>
int findPoint(std::vector<Point> const& points, std::string const& id, Point& point) {
  auto const found = std::find_if(points.begin(), points.end(), [&](Point const& p) { return p.id == id; });
  if (found == points.end()) {
    return 1;
  }
  point = *found;
  return 0;
}

}  // namespace sensor
