// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/Truncate.h"
#include "orientation/SupportFileStream.h"
#include "timing/Attitude.h"

#include <sensor/EOPData.h>
#include <sensor/KESOrientation.h>
#include <sensor/ODFConverter.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <utility>

namespace sensor {

namespace {

constexpr int done = 0;
constexpr int inconsistent = 1;
constexpr int anchorsDiffer = 2;

// Of longitude and latitude (radians) and height (metres) of an anchor point.
constexpr double anchorTolerance = 2e-10;

// The bands whose orientation no take needs.
constexpr std::array<char const*, 2> bandsLeftOut{"PANF02A", "PANF02B"};

constexpr int binaryEop = 0;

struct TimeSpan {
  double start;
  double end;
};

TimeSpan spanOf(KESOrientation const& orientation) {
  if (orientation.numSets() == 0) {
    throw std::runtime_error("No records in ODF: " + orientation.fileName());
  }
  return {orientation.t(0).value(), orientation.t(orientation.numSets() - 1).value()};
}

bool isLeftOut(std::string const& odfName) {
  return std::any_of(bandsLeftOut.begin(), bandsLeftOut.end(),
                     [&](char const* band) { return odfName.find(band) != std::string::npos; });
}

double distance(geo::XYZPoint const& a, geo::XYZPoint const& b) {
  double const dx = a.x - b.x;
  double const dy = a.y - b.y;
  double const dz = a.z - b.z;
  return std::sqrt(dx * dx + dy * dy + dz * dz);
}

geo::XYZPoint anchorOf(KESOrientation const& orientation) {
  return {orientation.anchorLongitude(), orientation.anchorLatitude(), 0.0};
}

// The name of the ODF that follows the last occurrence of the key in a support file.
std::string odfNameIn(std::string const& supportFile, std::string const& key) {
  SupportFileStream file(supportFile);
  std::string name;
  for (std::string word; file.next(word);) {
    if (word == key) {
      file.next(name);
    }
  }
  if (!file.isOpen() || file.hasFailed()) {
    throw std::runtime_error("Can't open sup file: " + supportFile);
  }
  if (name.empty()) {
    throw std::runtime_error("No orientation defined in support file " + supportFile);
  }
  return name;
}

void appendRecord(KESOrientation const& from, int i, EOPData& to) {
  EOP record;
  record.gpsTime = from.t(i).value();
  record.x = from.x(i);
  record.y = from.y(i);
  record.z = from.z(i);
  opkToQuaternion(from.omega(i), from.phi(i), from.kappa(i), record);
  to.addEOP(record);
  std::array<float, 6> v{};
  from.stdDev(i, 1, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
  to.setStdDevs(to.numSets() - 1, v[0], v[1], v[2], v[3], v[4], v[5]);
}

void appendRecords(KESOrientation const& from, int begin, EOPData& to) {
  for (int i = std::max(begin, 0); i < from.numSets(); ++i) {
    appendRecord(from, i, to);
  }
}

}  // namespace

int ODFConverter::run(std::vector<std::string> const& supportFiles, bool adjusted) {
  if (supportFiles.empty()) {
    throw std::runtime_error("No support files given to import");
  }
  std::string const key = adjusted ? "ADJUSTED_ORIENTATION" : "ORIGINAL_ORIENTATION";
  std::vector<std::string> odfFiles;
  odfFiles.reserve(supportFiles.size());
  for (std::string const& supportFile : supportFiles) {
    odfFiles.push_back(odfNameIn(supportFile, key));
  }
  return run(odfFiles, geo::XYZPoint(), supportFiles);
}

int ODFConverter::run(std::vector<std::string> const& odfFiles, geo::XYZPoint anchor,
                      std::vector<std::string> const& supportFiles) {
  std::size_t const odfCount = odfFiles.size();
  std::vector<std::string> joined;
  std::remove_copy_if(odfFiles.begin(), odfFiles.end(), std::back_inserter(joined), isLeftOut);
  mOdfFiles = std::move(joined);
  std::string first;
  std::string last;
  retrieveODFfile(mOdfFiles, first, last);
  int const begin = firstIndexMaxODF(first, last);
  KESOrientation const a(first);
  if (int const result = settleAnchor(anchorOf(a), odfCount, supportFiles, anchor); result != done) {
    return result;
  }
  EOPData eop("", true, false);
  eop.setAnchorPoint(anchor);
  appendRecords(a, 0, eop);
  KESOrientation const b(last);
  appendRecords(b, begin, eop);
  settleAbsoluteTime(a.absoluteTime(), b.absoluteTime());
  eop.setAbsTime(mAbsoluteTime);
  eop.setAppSource(mAppSource);
  eop.write(mOutputFile, binaryEop);
  return done;
}

void ODFConverter::retrieveODFfile(std::vector<std::string> const& odfFiles, std::string& first, std::string& last) {
  if (odfFiles.empty()) {
    throw std::runtime_error("No ODFs given to import");
  }
  // A file that can't be read shows before anything is made of the others.
  for (std::string const& name : odfFiles) {
    KESOrientation const readable(name);
  }
  first = last = odfFiles.front();
  auto [start, end] = spanOf(KESOrientation(first));
  for (std::size_t i = 1; i < odfFiles.size(); ++i) {
    TimeSpan const span = spanOf(KESOrientation(odfFiles[i]));
    if (span.start < start) {
      first = odfFiles[i];
      start = span.start;
    }
    if (span.end > end) {
      last = odfFiles[i];
      end = span.end;
    }
  }
}

// The index in `last` at which it continues `first`, by the mean interval of `last`: negative when there is a gap
// between the two.
int ODFConverter::firstIndexMaxODF(std::string const& first, std::string const& last) {
  double const end = spanOf(KESOrientation(first)).end;
  KESOrientation const orientation(last);
  TimeSpan const span = spanOf(orientation);
  int const count = orientation.numSets();
  double const interval = (span.end - span.start) / count;
  std::int64_t const rest = truncated<std::int32_t>((span.end - end) / interval + 0.5);
  return static_cast<int>(std::min<std::int64_t>(count - rest, std::numeric_limits<int>::max()));
}

int ODFConverter::settleAnchor(geo::XYZPoint const& first, std::size_t odfCount,
                               std::vector<std::string> const& supportFiles, geo::XYZPoint& anchor) {
  if (!supportFiles.empty() && supportFiles.size() != odfCount) {
    std::cerr << "Support files are inconsistent with ODFs\n";
    return inconsistent;
  }
  if (!supportFiles.empty()) {
    return anchorOfSupportFiles(supportFiles, anchor);
  }
  bool const isGiven = anchor.x != 0.0 && anchor.y != 0.0;
  return isGiven ? done : anchorOfHeaders(first, anchor);
}

int ODFConverter::anchorOfHeaders(geo::XYZPoint const& first, geo::XYZPoint& anchor) const {
  anchor = first;
  for (std::string const& name : mOdfFiles) {
    if (distance(anchor, anchorOf(KESOrientation(name))) > anchorTolerance) {
      std::cerr << "Anchor points differ in odf headers. Can not generate common (f)lop file.\n";
      return anchorsDiffer;
    }
  }
  return done;
}

int ODFConverter::anchorOfSupportFiles(std::vector<std::string> const& supportFiles, geo::XYZPoint& anchor) {
  anchor = anchorFromSup(supportFiles.front());
  for (std::string const& name : supportFiles) {
    if (distance(anchor, anchorFromSup(name)) > anchorTolerance) {
      std::cerr << "Anchor points differ in sup files. Can not generate common (f)lop file.\n";
      return anchorsDiffer;
    }
  }
  return done;
}

geo::XYZPoint ODFConverter::anchorFromSup(std::string const& supportFile) {
  SupportFileStream file(supportFile);
  geo::XYZPoint anchor;
  for (std::string word; file.next(word);) {
    if (word == "ANCHOR_LATITUDE") {
      file.next(anchor.y);
    } else if (word == "ANCHOR_LONGITUDE") {
      file.next(anchor.x);
    }
  }
  if (!file.isOpen() || file.hasFailed()) {
    throw std::runtime_error("Can't read anchor from support file: " + supportFile);
  }
  return anchor;
}

void ODFConverter::settleAbsoluteTime(TimeQuantity<std::int32_t> const& first, TimeQuantity<std::int32_t> const& last) {
  if (first != last) {
    throw std::runtime_error("Different absolute times between ODFs of the same take!");
  }
  if (first.value() != 0) {
    mAbsoluteTime = seconds(static_cast<std::uint32_t>(first.value()));
  }
}

}  // namespace sensor
