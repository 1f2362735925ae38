// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/TimeQuantity.h>
#include <sensor/kessensor_export.h>
#include <sensor/odf.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sensor {

/// The exterior orientation of one sensor line of a take, as an orientation file (ODF) stores it: a header of names,
/// units and base values, and records of time, position, angles and standard deviations, packed into integers.
///
/// A packed value is (value - base) times scale; angles and standard deviations have no base. Beside the packed records
/// there are seven internal vectors of doubles, t, x, y, z, omega, phi, kappa, from which `compress` makes the records.
/// The two are not kept in step: `compress`, `setNumSets`, `setStdDev` and `read` change records, `setXYZOPK` and
/// `CalculateInternalVectors` change internal vectors.
///
/// Times are seconds, positions LSR metres, angles and the anchor point radians. There is no interpolation between
/// records. Scales and bases from a file are used unchecked: a scale of 0 leads to values that aren't finite.
///
/// A value: copies are deep. Not for concurrent use.
class KESSENSOR_EXPORT KESOrientation {
public:
  /// An empty store of version "ODF 1.2", with the current time as absolute time, no anchor point and the usual scales.
  KESOrientation();
  /// Reads the file. Throws std::runtime_error "sensor::KESOrientation::KESOrientation(42) Can't load " + name.
  explicit KESOrientation(std::string const& fileName);

  /// Whether header, scales and records are the same; if `other` has internal vectors (its t isn't empty), those too.
  bool operator==(KESOrientation const& other) const;
  bool operator!=(KESOrientation const& other) const { return !(*this == other); }

  std::string const& fileName() const { return mFileName; }
  void setFileName(std::string const& name) { mFileName = name; }
  /// The version text of the file that was read; "ODF 1.2" by default and after writing.
  std::string const& version() const { return mVersion; }
  void setVersion(std::string const& version) { mVersion = version; }
  std::string const& dataSource() const { return mDataSource; }
  void setDataSource(std::string const& source) { mDataSource = source; }
  std::string const& projectName() const { return mProjectName; }
  void setProjectName(std::string const& name) { mProjectName = name; }
  std::string const& stripName() const { return mStripName; }
  void setStripName(std::string const& name) { mStripName = name; }
  /// A code that is stored and handed on.
  int positionUnits() const { return mPositionUnits; }
  void setPositionUnits(int code) { mPositionUnits = code; }
  /// A code; 2 has a finer angular scale by default.
  int angularUnits() const { return mAngularUnits; }
  /// Stores the code and sets the angular scale: 10^8 for code 2, else 10^6.
  void setAngularUnits(int code);
  /// A code that is stored and handed on.
  int rotationSequence() const { return mRotationSequence; }
  void setRotationSequence(int code) { mRotationSequence = code; }
  std::string const& comments() const { return mComments; }
  void setComments(std::string const& comments) { mComments = comments; }
  /// Whole seconds; the moment of creation until set or read.
  TimeQuantity<std::int32_t> absoluteTime() const { return mAbsoluteTime; }
  void setAbsoluteTime(TimeQuantity<std::int32_t> const& time) { mAbsoluteTime = time; }
  /// Radians; 100 stands for "not set".
  double anchorLatitude() const { return mAnchorLatitude; }
  double anchorLongitude() const { return mAnchorLongitude; }
  void setAnchorPoint(double latitude, double longitude);
  TimeQuantity<std::int32_t> baseTime() const { return mBaseTime; }
  void setBaseTime(TimeQuantity<std::int32_t> const& time) { mBaseTime = time; }
  std::int32_t baseX() const { return mBaseX; }
  void setBaseX(std::int32_t base) { mBaseX = base; }
  std::int32_t baseY() const { return mBaseY; }
  void setBaseY(std::int32_t base) { mBaseY = base; }
  std::int32_t baseZ() const { return mBaseZ; }
  void setBaseZ(std::int32_t base) { mBaseZ = base; }

  /// The scales themselves; `precision` returns their digits.
  int timeScale() const { return mTimeScale; }
  int positionScale() const { return mPositionScale; }
  int angularScale() const { return mAngularScale; }
  int positionStdDevScale() const { return mPositionStdDevScale; }
  int angularStdDevScale() const { return mAngularStdDevScale; }
  /// Sets the scale under a key to 10^digits: 22 time, 23 position, 24 angles, 25 and 26 the standard deviations of
  /// positions and angles. Another key changes nothing.
  void setPrecision(int key, int digits);
  /// The decimal digits of the scale under a key, to the nearest; 0 for another key.
  int precision(int key) const;

  /// The packed records.
  std::vector<odf> const& records() const { return mRecords; }
  int numSets() const { return static_cast<int>(mRecords.size()); }
  /// Replaces the records by `count` zeroed ones (none, if negative); returns 1.
  int setNumSets(int count);
  /// With `clear` as above. Without, records up to `count` stay, and zeroed ones are added after them; returns `count`.
  int setNumSets(int count, bool clear);

  /// A value of a record. The index isn't tested: there must be such a record.
  TimeQuantity<double> t(int index) const;
  double x(int index) const;
  double y(int index) const;
  double z(int index) const;
  double omega(int index) const;
  double phi(int index) const;
  double kappa(int index) const;

  /// Values of `count` records from `start` on, into arrays of that size: 1; or 0 when there are no such records.
  int XYZOPK(long start, long count, TimeQuantity<double>* t, double* x, double* y, double* z, double* omega,
             double* phi, double* kappa) const;
  /// Copies arrays of `count` values into the internal vectors from element `start` on: 1; or -1 when they would go
  /// beyond the number of records. Values for elements before the first (a negative `start`) are left out. If one of
  /// the vectors is empty, all start with zeros for all records, and older values are lost; vectors that are shorter
  /// than the records are filled up with zeros.
  int setXYZOPK(long start, long count, TimeQuantity<double> const* t, double const* x, double const* y,
                double const* z, double const* omega, double const* phi, double const* kappa);

  /// Standard deviations of `count` records from `start` on: 1; or 0 when there are no such records.
  int stdDev(long start, long count, float* x, float* y, float* z, float* omega, float* phi, float* kappa) const;
  /// One standard deviation of a record: 16 x, 17 y, 18 z, 19 omega, 20 phi, 21 kappa; 0 for another key. The index
  /// isn't tested.
  float stdDev(int key, int index) const;
  /// Packs standard deviations into the records, which must be there: the range isn't tested. Returns 1; or 0 at the
  /// first packed value above 65536, which the standard error stream reports as "Numerical overflow in x stddev value:
  /// 65537.000000" (so of y, z, omega, phi, kappa). What stands before it stays packed. A packed value above 65535.5
  /// that isn't refused wraps to 0.
  int setStdDev(long start, long count, float const* x, float const* y, float const* z, float const* omega,
                float const* phi, float const* kappa);

  /// Smallest and largest z of the records in whole units: the fractions of the packed values are dropped, towards
  /// zero. Both are the base without records.
  void zRange(double& min, double& max) const;

  /// Packs the internal vectors into the records, around new bases in the middle of their ranges: 2; or 4 to 10 when t,
  /// x, y, z, omega, phi or kappa doesn't fit into 32 bits. Then the bases are the new ones, and records and fields
  /// before the one that doesn't fit are packed. Values are rounded to the nearest number only where they are positive:
  /// half is added, and the fraction dropped towards zero. NaN is packed as 0. When an internal vector has fewer values
  /// than there are records, nothing changes: records that were read are packed as they stand. Without records, the
  /// position bases become 0.
  int compress();
  /// Fills the internal vectors with the values of the records.
  void CalculateInternalVectors();

  /// Stores the name and reads the file: 0; or 1 when it can't be opened, its count of records isn't a number or is
  /// negative, or it holds fewer records. The records that are missing from a file that was cut are zero; a file whose
  /// count is beyond all proportion to its size has none. Internal vectors aren't filled.
  ///
  /// Texts end at their first blank. A text that is empty takes over the one before it, except that empty `comments`
  /// leave those of the store, and the first, `dataSource`, becomes empty. A number that can't be read leaves the
  /// store's; one beyond the range of its type becomes the end of that range.
  int read(std::string const& fileName);
  /// Packs (`compress`) and writes a file of version "ODF 1.2", which becomes the store's version: 2; 3 when it can't
  /// be written, and then the old file stays as it was; 4 to 10 as `compress`, and then the file is empty. The name
  /// isn't stored. A text that is too long for its field runs on into the next ones, as far as their own text doesn't
  /// cover it.
  int write(std::string const& fileName);

private:
  // Of a new store, and of every file of version 1.0, whose own scales are ignored.
  static constexpr int usualTimeScale = 10000;
  static constexpr int usualPositionScale = 1000;
  static constexpr int usualPositionStdDevScale = 100000;
  static constexpr int usualAngularStdDevScale = 10000000;

  int read();
  std::int64_t readHeader(std::string_view header);
  bool makeRecords(std::int64_t count);
  std::string header() const;
  void setBases();
  int packRecord(std::size_t i);
  bool endsBeyondRecords(long start, long count) const;
  bool hasRecords(long start, long count) const;
  std::size_t shortestInternalVector() const;
  void setScalesOfOldVersion();
  static int KESOrientation::*scale(int key);

  std::string mFileName;
  std::string mVersion;
  std::string mDataSource;
  std::string mProjectName;
  std::string mStripName;
  int mPositionUnits = 0;
  int mAngularUnits = 3;
  int mRotationSequence = 0;
  std::string mComments;
  TimeQuantity<std::int32_t> mAbsoluteTime;
  double mAnchorLatitude = 100.0;
  double mAnchorLongitude = 100.0;
  TimeQuantity<std::int32_t> mBaseTime = seconds<std::int32_t>(0);
  std::int32_t mBaseX = 0;
  std::int32_t mBaseY = 0;
  std::int32_t mBaseZ = 0;
  std::vector<odf> mRecords;
  std::vector<TimeQuantity<double>> mT;
  std::vector<double> mX;
  std::vector<double> mY;
  std::vector<double> mZ;
  std::vector<double> mOmega;
  std::vector<double> mPhi;
  std::vector<double> mKappa;
  int mTimeScale = usualTimeScale;
  int mPositionScale = usualPositionScale;
  int mAngularScale = 1000000;
  int mPositionStdDevScale = usualPositionStdDevScale;
  int mAngularStdDevScale = usualAngularStdDevScale;
};

}  // namespace sensor
