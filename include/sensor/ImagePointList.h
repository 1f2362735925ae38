// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/ImagePoint.h>
#include <sensor/kessensor_export.h>

#include <string>
#include <vector>

namespace sensor {

/// The measurements of ground points in one image of a strip, in the order of their file or of the calls that added
/// them. Points of the same id all stay; a look-up finds the first. x is the sample, y the line, both in pixels from 0.
///
/// The file is UTF-8 text with a point a line: the id in double quotes, x, y, their standard deviations, and 1 for a
/// point that is in use, separated by blanks or tabs. Numbers have the point of the C locale. A number that can't be
/// read is 0, a line without a quoted id is left out, a point of negative x or y too; none of it is reported.
///
/// Operations report by a number: 0 is done, 1 is not found, or a file that can't be read or written. Reading
/// operations may run in any number of threads; others need the list to themselves.
class KESSENSOR_EXPORT ImagePointList {
public:
  ImagePointList() = default;
  /// An empty list for an image, without a file.
  ImagePointList(std::string const& stripID, std::string const& bandID);
  ImagePointList(std::vector<geo::ImagePoint> const& points, std::string const& stripID, std::string const& bandID);
  /// The points of a file; none when it can't be read. The list keeps the name in any case.
  ImagePointList(std::string const& fileName, std::string const& stripID, std::string const& bandID);
  /// The points of an image: of the file with the image's name and the extension "ipt" in `folder` or in one of the two
  /// folders above it, the first that can be read. Where there is none, the list is empty and its file is the one in
  /// `folder`. Throws "Invalid image filename" when the image's name has no extension.
  ImagePointList(std::string const& imageFileName, std::string const& folder, std::string const& stripID,
                 std::string const& bandID);

  /// Appends a point, also one of negative coordinates; returns 0.
  int addPoint(geo::ImagePoint const& point);
  /// Appends the points, with `clear` in place of the old ones; returns 0.
  int addPoints(std::vector<geo::ImagePoint> const& points, bool clear);

  /// Reads a file after the points, or with `clear` in their place. 1, and the list as it was, when the file can't be
  /// read. The list's own file name stays. Memory: the points, and the longest line; text in UTF-16 or UTF-32 is read
  /// as a whole and may have 256 MiB. A line above 1 GiB is left out.
  ///
  /// Any first character of a line is taken for the opening quote, and a line that ends too early goes on
  /// with its last field.
  int read(std::string const& fileName, bool const& clear);

  /// Writes the list's own file with three decimals.
  int write();
  /// Replaces the file as a whole by all points, with `precision` decimals (6 when it is negative), and makes it the
  /// list's own. 1, and the old file and the list's file name as they were, when it can't be written.
  int write(std::string const& fileName, int precision);

  /// Copies out the first point of an id: 0, or 1 when there is none.
  int imagePoint(std::string const& id, geo::ImagePoint& point) const;
  /// The point at an index; beyond either end an empty one, which isn't active.
  geo::ImagePoint operator[](int const& index) const;

  /// Whether the image is known: both its strip and its band.
  bool isImageSet() const { return !mStripID.empty() && !mBandID.empty(); }
  /// The strip's id followed by the band's.
  std::string imageID() const { return mStripID + mBandID; }
  std::string const& stripID() const { return mStripID; }
  void setStripID(std::string const& stripID) { mStripID = stripID; }
  std::string const& bandID() const { return mBandID; }
  void setBandID(std::string const& bandID) { mBandID = bandID; }
  std::string const& fileName() const { return mFileName; }

  int numPoints() const { return static_cast<int>(mPoints.size()); }
  std::vector<geo::ImagePoint> const& points() const { return mPoints; }

private:
  std::vector<geo::ImagePoint> mPoints;
  std::string mFileName;
  std::string mStripID;
  std::string mBandID;
};

}  // namespace sensor
