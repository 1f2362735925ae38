// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

#include <cstdint>
#include <map>
#include <string>

namespace sensor {

/// A property of image lines that changes rarely, as a sparse table of line number to value with a small binary file
/// behind it. From the line of a record on its value holds; over the one line in front of a change the value goes
/// linearly from the old to the new.
///
/// `Value` is the type in memory, `Stored` the type in the file; value = stored * scale. The file has no header, a
/// record is the line (unsigned, 32 bits) and the stored value, packed, in order of lines. An empty file is an empty
/// table, which answers as if the property were absent: TDI stage 1, integration time -1.
///
/// Const operations may run in any number of threads.
template <class Value, class Stored>
class KESSENSOR_EXPORT ScanlineData {
public:
  /// The table of a file; throws what `read` throws.
  ScanlineData(std::string const& fileName, double scale);
  /// One value for all lines.
  ScanlineData(Value const& constant, double scale);
  virtual ~ScanlineData();
  ScanlineData(ScanlineData const&) = default;
  ScanlineData& operator=(ScanlineData const&) = default;

  /// The value at a fractional line. Lines up to the first of the table have its value, lines after the last the
  /// last's.
  virtual float at(float line) const;
  /// Smallest and largest value of the table.
  virtual float minimum() const;
  virtual float maximum() const;
  /// The mean of the two extremes.
  virtual float middle() const;
  /// Writes the table to a file, which from then on is `fileName`; entries that repeat the value before them are left
  /// out. Values are rounded to the stored type. Throws std::runtime_error "Can't open file for writing: " + name, and
  /// then neither the old file nor `fileName` has changed.
  virtual void write(std::string const& fileName);
  /// Adds the records of `fileName` to the table; an empty file leaves it as it is. Throws std::runtime_error
  /// "Can't open file: " + name, "File size is no multiple of the data size, in: " + name,
  /// "Failed to read file: " + name (the table is empty then).
  virtual void read();

  /// The file that was read or last written; empty for a constant.
  std::string const& fileName() const { return mFileName; }

private:
  std::map<std::uint32_t, Value> mValues;
  std::string mFileName;
  double mScale;
};

extern template class ScanlineData<float, unsigned int>;
extern template class ScanlineData<float, unsigned char>;

}  // namespace sensor
