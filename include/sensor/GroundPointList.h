// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/GroundPoint.h>
#include <sensor/kessensor_export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace sensor {

/// The ground control points of a block, in the order of their file or of the calls that added them. Points of the same
/// id all stay; a look-up finds the first.
///
/// The file is UTF-8 text with a point a line: the id, in double quotes when it holds blanks, the three coordinates,
/// and as an option their standard deviations and the type, separated by blanks or tabs. Lines whose first character is
/// ';' are comments. Numbers have the point of the C locale. Units are those of the block's coordinate system for
/// ground points. A number that can't be read is 0, a line without an id is left out; neither is reported.
///
/// Operations report by a number: 0 is done, 1 is not found, or a file that can't be read or written. Reading
/// operations may run in any number of threads; others need the list to themselves.
class KESSENSOR_EXPORT GroundPointList {
public:
  GroundPointList() = default;
  /// The points of a file; none when it can't be read.
  explicit GroundPointList(std::string const& fileName);
  explicit GroundPointList(std::vector<geo::GroundPoint> const& points);

  /// Appends a point; returns 0.
  int addPoint(geo::GroundPoint const& point);
  /// Appends the points, or takes them in place of the old ones; returns 0.
  int addPoints(std::vector<geo::GroundPoint> const& points, bool replace);

  /// Reads a file after the points, or with `clear` in their place. 1, and the list as it was, when the file can't be
  /// read. Memory: the points, and the longest line; text in UTF-16 or UTF-32 is read as a whole and may have 256 MiB.
  /// A line above 1 GiB is left out.
  ///
  /// A line that ends too early goes on with its last field: "1234" is the point 1234 at (1234, 1234, 1234). After z
  /// come all of the standard deviations and the type, or a single word that is ignored. No more characters are read as
  /// the type than the field of sz has: after a sz of "1" a type 12 is a 1.
  int read(std::string const& fileName, bool const& clear);

  /// Replaces the file as a whole by all points, with ten decimals; in short form without standard deviations and type.
  /// 1, and the old file as it was, when it can't be written.
  int write(std::string const& fileName, bool const& shortForm) const;

  /// Copies out the first point of an id: 0, or 1 when there is none.
  int groundPoint(std::string const& id, geo::GroundPoint& point) const;
  /// The point at an index, which isn't tested.
  geo::GroundPoint& operator[](int const& index);
  /// Takes out the point at an index, which isn't tested; the others keep their order.
  void removePoint(int index);

  int numPoints() const { return static_cast<int>(mPoints.size()); }
  std::vector<geo::GroundPoint> const& points() const { return mPoints; }

  /// "New-1", "New-2" and so on: an id that no call before has given in this process. No list is searched for it, and
  /// threads must not call it at the same time.
  static std::string createUniqueID();

private:
  std::vector<geo::GroundPoint> mPoints;

  static std::int32_t sCounter;
};

}  // namespace sensor
