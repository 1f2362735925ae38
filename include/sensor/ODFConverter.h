// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <sensor/TimeQuantity.h>
#include <sensor/kessensor_export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace sensor {

/// Joins the orientation of a take, held in one orientation file (ODF) a sensor line, in one EOP file: all of the ODF
/// that starts first, then what the ODF that ends last has after the end of the first one.
///
/// Where the second one begins follows from its mean interval, so at the joint a time may repeat or step back by a
/// record; `EOPData` reads and interpolates such files. A joint over a gap takes all of the second one.
///
/// Both `run` operations give 0 when the file was written; 1 when there are not as many support files as ODFs; 2 when
/// anchor points differ by more than 2e-10. Results 1 and 2 come with a message on the standard error stream, and
/// nothing is written. Both throw what `KESOrientation` and `EOPData` throw, and std::runtime_error "Different absolute
/// times between ODFs of the same take!", "No ODFs given to import" (also when all are left out), "No records in ODF: "
/// + name.
///
/// A value. Not for concurrent use.
class KESSENSOR_EXPORT ODFConverter {
public:
  ODFConverter() = default;

  /// The EOP file to write; its name may end in anything.
  void setOutputFile(std::string const& fileName) { mOutputFile = fileName; }
  /// Goes into the EOP file.
  void setAppSource(std::string const& source) { mAppSource = source; }
  /// The absolute time of an EOP file whose ODFs have none (0); otherwise theirs takes its place, here too.
  void setAbsoluteTime(TimeQuantity<std::uint32_t> const& time) { mAbsoluteTime = time; }

  /// The ODFs that the last run joined, the ones that it left out aside.
  std::vector<std::string> const& odfFiles() const { return mOdfFiles; }

  /// Joins the ODFs that support files name after the key ADJUSTED_ORIENTATION or ORIGINAL_ORIENTATION (the last one
  /// in each file counts), at the anchor point in the support files.
  /// Throws "No support files given to import", "Can't open sup file: " + name,
  /// "No orientation defined in support file " + name, and what the other form throws.
  int run(std::vector<std::string> const& supportFiles, bool adjusted);

  /// Joins ODFs; those with PANF02A or PANF02B anywhere in their path are left out.
  ///
  /// The anchor point (x longitude, y latitude, radians; z height) comes from the support files, if there are any: one
  /// for each of `odfFiles`, all of the same anchor. Otherwise it is `anchor`, if neither its x nor its y is 0.
  /// Otherwise it comes from the headers of the ODFs, which must agree, at height 0. Throws "Can't read anchor from
  /// support file: " + name for a support file that can't be opened or has something else than a number after
  /// ANCHOR_LATITUDE or ANCHOR_LONGITUDE.
  int run(std::vector<std::string> const& odfFiles, geo::XYZPoint anchor, std::vector<std::string> const& supportFiles);

private:
  void retrieveODFfile(std::vector<std::string> const& odfFiles, std::string& first, std::string& last);
  int firstIndexMaxODF(std::string const& first, std::string const& last);
  geo::XYZPoint anchorFromSup(std::string const& supportFile);
  int settleAnchor(geo::XYZPoint const& first, std::size_t odfCount, std::vector<std::string> const& supportFiles,
                   geo::XYZPoint& anchor);
  int anchorOfHeaders(geo::XYZPoint const& first, geo::XYZPoint& anchor) const;
  int anchorOfSupportFiles(std::vector<std::string> const& supportFiles, geo::XYZPoint& anchor);
  void settleAbsoluteTime(TimeQuantity<std::int32_t> const& first, TimeQuantity<std::int32_t> const& last);

  std::string mOutputFile;
  std::string mReserved;  // Keeps its place among the fields; nothing uses it.
  std::string mAppSource;
  TimeQuantity<std::uint32_t> mAbsoluteTime = seconds<std::uint32_t>(0);
  std::vector<std::string> mOdfFiles;
};

}  // namespace sensor
