// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <sensor/EOP.h>
#include <sensor/TimeQuantity.h>
#include <sensor/kessensor_export.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace sensor {

/// The exterior orientation of a strip: records of position and attitude in order of GPS time, with an optional table
/// of standard deviations, its files, and the orientation at any time.
///
/// Perspective centres are in the local space rectangular system at the anchor point, metres. Files hold the angles
/// omega, phi, kappa in radians; in memory attitudes are quaternions whose signs go on from record to record, so that
/// their components can be interpolated.
///
/// Binary files have one of three versions; the third is written. A table of standard deviations has six floats a
/// record: x, y, z (metres), omega, phi, kappa (radians).
///
/// A value: copies are deep. Const operations may run in any number of threads; all others need the object to
/// themselves.
class KESSENSOR_EXPORT EOPData {
public:
  /// An empty store, then `read` unless the name is empty.
  explicit EOPData(std::string const& fileName = "", bool const& loadData = true, bool const& loadStdDevs = false);

  /// Reads the header of a binary file and, with `loadData`, its records; records that are in memory already stay, so
  /// unload them first. Throws std::runtime_error "failed to open EOP file: " + name (the old name stays); "error
  /// reading EOP parameter block " + reason, "version mismatch!!"; and what `loadData` throws. A file that is no
  /// orientation file has no records, and fails when they are loaded.
  ///
  /// The parameter block is taken as UTF-8, regardless of the encoding that it declares; invalid bytes become U+FFFD.
  /// Every program reads back sources in ASCII unchanged.
  void read(std::string const& fileName, bool const& loadData, bool const& loadStdDevs);

  /// Reads the records, and with `loadStdDevs` the standard deviations, of the current file, unless they are there.
  /// Throws std::runtime_error "failed to open EOP file: " + name, "Unknown EOP version in file: " + name,
  /// "Header/data mismatch in EOP file: " + name (also for a header that promises no record),
  /// "Header/std.dev. data mismatch in EOP file: " + name.
  ///
  /// After a failure to read records the store has none: `numSets` is 0, and look-ups return 1 and leave their output.
  /// What was read before a cut (of version 3, whole groups of eight records) counts for `heightRange`, `hasStdDevs`
  /// and `write` alone, until the next load or `addEOP` drops it.
  void loadData(bool const& loadStdDevs);
  /// Frees the records if they were loaded and, if they were dealt with, the standard deviations and the marks of
  /// changed records; header, count and times stay.
  void unloadData();
  bool isDataLoaded() const { return mDataLoaded; }
  /// Whether standard deviations were dealt with; also true of a file that has none.
  bool isStdDevLoaded() const { return mStdDevLoaded; }

  /// Writes what is in memory; a non-empty name becomes the current file. Format 1 is the listing of `writeToASCII`, 3
  /// the LOP file of `writeToLOP`, anything else a binary file of version 3. The old file stays until the new one is
  /// whole. Standard deviations that weren't loaded aren't written: load them before writing over their own file.
  /// Characters of a source that XML doesn't have become blanks. Throws std::runtime_error "failed to write EOP file: "
  /// + name, "error writing EOP header", and what the two throw.
  void write(std::string const& fileName, int const& format);
  /// A listing for people. Throws "failed to open EOP file: " + name, "failed to write EOP file: " + name.
  void writeToASCII(std::string const& fileName) const;
  /// Six doubles a record: x, y, z, omega, phi, kappa. Throws "failed to open LOP file: " + name,
  /// "failed to write EOP file: " + name.
  void writeToLOP(std::string const& fileName) const;

  /// The orientation at a GPS time: 0 on success, 1 (and `out` left as it is) on failure, in particular with fewer than
  /// two records in memory. Between two records position and quaternion are linear. At the very time of a record its
  /// attitude passes through its angles, which may change last bits and the sign. Outside the span the end record's
  /// attitude is kept, and its position extended by the step of the end interval times `frequency`; that returns 0 with
  /// status -1 in `out`.
  ///
  /// `frequency` leads to the interval at once where records stand at a constant rate. Otherwise a walk from there
  /// finds it, which is cut short where times never fall, so that no file makes it long.
  int atGPS(TimeQuantity<double> const& t, EOP& out) const;
  /// Record i: 0, or 1 (and `out` left as it is) when there is none.
  int atIndex(int i, EOP& out) const;
  /// Standard deviations at a GPS time, linear between two records: 0; or 1 with the default ones, when the table is
  /// empty or shorter than the records. Outside the span, the end record's. After a failure to load records, 1, and the
  /// output stays as it is.
  int stdDevAtGPS(TimeQuantity<double> const& t, float& x, float& y, float& z, float& omega, float& phi,
                  float& kappa) const;
  /// Standard deviations of record i, and 0. The index isn't tested: the table must have it.
  int stdDevAtIndex(int i, float& x, float& y, float& z, float& omega, float& phi, float& kappa) const;

  /// Records in memory, or in memory last.
  int numSets() const { return mNumSets; }
  /// Records per second, from the first interval; 0 until known.
  double frequency() const { return mFrequency; }
  /// Version of the binary file that was read or written last; 0 before.
  int eopVersion() const { return mEopVersion; }
  std::string const& fileName() const { return mFileName; }
  std::string const& posSource() const { return mPosSource; }
  std::string const& tmSource() const { return mTmSource; }
  std::string const& appSource() const { return mAppSource; }
  /// Whole seconds.
  TimeQuantity<std::uint32_t> absTime() const { return seconds(mAbsTime); }
  /// Origin of the local system: x longitude and y latitude in radians, z height in metres.
  geo::XYZPoint const& anchorPoint() const { return mAnchorPoint; }
  /// Whether there are standard deviations for every record; so true of an empty store.
  bool hasStdDevs() const { return mStdDevs.size() == mEops.size(); }
  /// Smallest and largest height of the perspective centres, rounded to float; both 0 without records.
  void heightRange(float& min, float& max) const;

  /// Appends a record and moves the end time. Start time and frequency are left alone.
  void addEOP(EOP const& eop);
  /// Takes the frequency from the first two records; nothing with fewer.
  void recomputeFrequency();
  /// Replaces record i; false when there is none.
  bool setEOP(int i, EOP const& eop);
  /// Adds corrections to position (metres) and angles (radians) of record i. False when there is none, or when it was
  /// corrected or updated before: a record takes one change, until data with standard deviations dealt with are
  /// unloaded.
  bool correctEOP(int i, float const& dx, float const& dy, float const& dz, float const& domega, float const& dphi,
                  float const& dkappa);
  /// Replaces position and attitude of record i, under the same condition.
  bool updateEOP(int i, double const& x, double const& y, double const& z, float const& omega, float const& phi,
                 float const& kappa);
  /// Replaces the standard deviations of record i; false when there is none. A table that is shorter than the records
  /// is first filled up with the default ones.
  bool setStdDevs(int i, float const& x, float const& y, float const& z, float const& omega, float const& phi,
                  float const& kappa);
  void setDefaultStdDevs(float x, float y, float z, float omega, float phi, float kappa);
  void setAnchorPoint(geo::XYZPoint const& anchor) { mAnchorPoint = anchor; }
  void setFileName(std::string const& fileName) { mFileName = fileName; }
  void setPOSSource(std::string const& source) { mPosSource = source; }
  void setTMSource(std::string const& source) { mTmSource = source; }
  void setAppSource(std::string const& source) { mAppSource = source; }
  void setAbsTime(TimeQuantity<std::uint32_t> const& time) { mAbsTime = time.value(); }

private:
  // Keeps what it looked up for as long as the revision stays.
  friend class LineOrientation;

  static constexpr int EOP_VERSION_1 = 1;
  static constexpr int EOP_VERSION_2 = 2;
  static constexpr int EOP_VERSION_3 = 3;

  // x, y, z, omega, phi, kappa.
  using StdDevs = std::array<float, 6>;
  // Where the records and the standard deviations stand in a file.
  struct Offsets {
    std::int32_t data;
    std::int32_t stdDevs;
  };
  // A number that no other state of any records has; a copy has the same records, and so the same number.
  class Revision {
  public:
    Revision() { renew(); }
    void renew();
    std::uint64_t number() const { return mNumber; }

  private:
    std::uint64_t mNumber;
  };

  int readHeader(std::string const& fileName);
  int parseXMLHeader(std::string const& block);
  void dropRecords();
  void keepRecords(bool complete);
  void makeSignsContinuous();
  void writeBinary();
  Offsets offsetsAfter(std::string const& block) const;
  static std::string header(Offsets const& offsets, std::string const& block);
  void updateHeader(Offsets const& offsets);
  std::string createXMLHeader() const;
  // What a failed load left in memory are no records of the store.
  int recordsInMemory() const { return mLoadFailed ? 0 : static_cast<int>(mEops.size()); }
  bool hasRecord(int i) const;
  bool takeChange(int i);
  int firstGuess(double t, int n) const;
  bool isAscending(int first, int last) const;
  int nextInterval(int i, int n, double t) const;
  int endOfWalk(int i, double t) const;
  int stdDevsAt(double t, StdDevs& out) const;
  void extrapolate(EOP const& from, EOP const& to, EOP const& end, double span, double t, EOP& out) const;

  std::vector<EOP> mEops;
  Revision mRevision;  // of all that `atGPS` depends on
  std::vector<StdDevs> mStdDevs;
  std::vector<bool> mCorrected;
  geo::XYZPoint mAnchorPoint;
  std::string mFileName;
  double mFrequency = 0.0;
  std::int32_t mDataOffset = 0;
  std::int32_t mStdDevOffset = 0;
  std::string mPosSource;
  std::string mTmSource;
  std::string mAppSource;
  std::int32_t mHeaderNumSets = 0;
  std::uint32_t mAbsTime = 0;
  StdDevs mDefaultStdDevs{0.05F, 0.05F, 0.05F, 1e-5F, 1e-5F, 1e-5F};
  bool mDataLoaded = false;
  bool mLoadFailed = false;
  // The times of the records never fall, and all are numbers.
  bool mAscending = true;
  bool mStdDevLoaded = false;
  std::int32_t mNumSets = 0;
  double mStartTime = 0.0;
  double mEndTime = 0.0;
  std::int32_t mEopVersion = 0;
};

}  // namespace sensor
