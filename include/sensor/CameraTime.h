// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/CtglEntry.h>
#include <sensor/TimeQuantity.h>
#include <sensor/kessensor_export.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace sensor {

/// The exposure times of the lines of one image, and the way from a fractional line to a GPS time and back.
///
/// A CTG file has the time of every line. An image that was flown with a changing line rate has a CTGL file beside it,
/// which lists the changes of the cycle time (the time from one line to the next).
///
/// A value: copies are deep. All const operations may run in any number of threads; loading, writing and the non-const
/// `values` need the object to themselves.
class KESSENSOR_EXPORT CameraTime {
public:
  /// No lines, no file.
  CameraTime();
  /// Stores the path of the CTG file and loads it as `loadData` does.
  explicit CameraTime(std::string const& ctgFileName);

  /// Reads the CTG file, and the CTGL file if there is one; what was read before is dropped. Throws std::runtime_error
  /// and leaves the object as it was:
  /// - "failed to open CTG file: " + name; "failed to read CTG file: " + name, also when it holds no line, or more
  /// lines than
  ///   an int can count;
  /// - "Failed to open CTGL file: " + name; "failed to read CTGL file: " + name, also when it is empty, or has a time
  /// that
  ///   is no number;
  /// - "Incorrect size on CTGL file. Size = " + size + ", not divisible by 16, on file " + CTG name.
  void loadData();

  /// Writes the CTG file and, for an image whose rate changes, the CTGL file; cycle times lose what is below a whole
  /// microsecond. A file that can't be written stays as it was. Throws std::runtime_error
  /// "Cannot open .ctg file: " + name, "IO Error writing .ctg file:" + name,
  /// "Cannot open .ctgl file: " + name, "IO error writing .ctgl file: " + name.
  void writeData();

  /// GPS time of a fractional line. Within the table, linear between two lines; a line above -1 is extrapolated by the
  /// first interval, one further back by the first cycle time, and one after the last line by the last cycle time.
  TimeQuantity<double> gpsTime(float line) const { return TimeQuantity<double>::from_value(timeAt(line)); }

  /// Fractional line of a GPS time. At a uniform rate the table's first time and the mean rate alone decide; where
  /// the rate changes, the estimate from the governing change is refined on the table until its time is met to 0.1 ms,
  /// at most ten times, and comes back as it is then. A time in front of the table, or an estimate in front of line 0,
  /// isn't refined.
  float line(TimeQuantity<double> const& t) const;

  /// Time from a fractional line to the next. After a change the new rate holds; over the one line in front of it the
  /// cycle time is blended from the old to the new.
  TimeQuantity<double> cycleTime(float line) const;

  /// The cycle times of all changes, in order of time; empty at a uniform rate.
  std::vector<TimeQuantity<double>> cycleTimeSet() const;

  /// Whether the line rate changes, in other words whether a CTGL file was found.
  bool isNonUniformCT() const { return mNonUniform; }

  /// Number of lines.
  std::size_t size() const { return mValues.size(); }

  /// GPS times of lines 0, 1, 2 and so on, in seconds. What is changed here takes effect at once, but for the cycle
  /// times, which come from `loadData`.
  std::vector<double> const& values() const { return mValues; }
  std::vector<double>& values() { return mValues; }

  std::string const& ctgFileName() const { return mCtgFileName; }
  void setCtgFileName(std::string const& fileName) { mCtgFileName = fileName; }

  /// Path of the CTGL file: the CTG file's with "ctgl" in place of its last three characters.
  std::string ctglFileName() const;

  /// A copy of the changes, by their time in seconds.
  std::map<double, CtglEntry> getInternalCtglRepresentation() const { return mCtgl; }

private:
  double timeAt(float line) const;
  CtglEntry const& governingEntry(double t) const;
  float refined(float estimate, double t) const;

  bool mNonUniform = false;
  std::string mCtgFileName;
  std::vector<double> mValues;
  std::map<double, CtglEntry> mCtgl;
  double mFirstCycleTime = 0.0;
  double mLastCycleTime = 0.0;
};

}  // namespace sensor
