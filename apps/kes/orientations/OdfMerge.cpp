// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "orientations/OdfMerge.h"

#include "orientations/EopDescription.h"
#include "shared/InputGuard.h"
#include "shared/Numbers.h"
#include "shared/Output.h"

#include <sensor/EOPData.h>
#include <sensor/KESOrientation.h>
#include <sensor/ODFConverter.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace tool {

namespace {

// Degrees.
constexpr double largestLongitude = 180.0;
constexpr double largestLatitude = 90.0;

// Keeps what the library prints on the standard error stream, for the exception.
class CapturedErrors {
public:
  CapturedErrors() : mOld(std::cerr.rdbuf(mText.rdbuf())) {}
  ~CapturedErrors() { std::cerr.rdbuf(mOld); }
  CapturedErrors(CapturedErrors const&) = delete;
  CapturedErrors& operator=(CapturedErrors const&) = delete;

  std::string firstLine() const { return mText.str().substr(0, mText.str().find('\n')); }

private:
  std::ostringstream mText;
  std::streambuf* mOld;
};

// The orientation files that a support file names, read word by word as the import does.
std::vector<std::string> orientationsIn(std::string const& supportFile) {
  constexpr int longestWord = 1 << 16;
  std::error_code ignored;
  std::ifstream in;
  if (std::filesystem::is_regular_file(supportFile, ignored)) {
    in.open(supportFile);
  }
  std::vector<std::string> names;
  std::string before;
  for (std::string word; in >> std::setw(longestWord) >> word; before = word) {
    if (before == "ORIGINAL_ORIENTATION" || before == "ADJUSTED_ORIENTATION") {
      names.push_back(word);
    }
  }
  return names;
}

void checkInputs(OdfMerge const& options) {
  InputGuard const output(options.out);
  for (std::string const& odf : options.odfs) {
    output.check(odf);
  }
  for (std::string const& support : options.supports) {
    output.check(support);
    for (std::string const& odf : orientationsIn(support)) {
      output.check(odf);
    }
  }
}

void convert(OdfMerge const& options, sensor::ODFConverter& converter) {
  geo::XYZPoint anchor;
  if (!options.anchor.empty()) {
    anchor = {options.anchor[0] / degrees, options.anchor[1] / degrees, options.anchor[2]};
  }
  CapturedErrors const errors;
  int const result = options.odfs.empty() ? converter.run(options.supports, options.adjusted)
                                          : converter.run(options.odfs, anchor, options.supports);
  if (result != 0) {
    throw std::runtime_error(errors.firstLine());
  }
}

struct Odf {
  std::string file;
  double start;
  double end;

  std::string text() const { return file + ", " + tool::text(start) + " s to " + tool::text(end) + " s"; }
};

Odf odf(std::string const& file) {
  sensor::KESOrientation const orientation(file);
  return {file, orientation.t(0).value(), orientation.t(orientation.numSets() - 1).value()};
}

bool isAdjusted(std::string const& file) {
  return file.ends_with(".adj.odf");
}

// Orientations of before and after an adjustment don't fit at the joint.
void requireOneKind(std::vector<std::string> const& files) {
  auto const adjusted = std::find_if(files.begin(), files.end(), isAdjusted);
  auto const original = std::find_if_not(files.begin(), files.end(), isAdjusted);
  if (adjusted != files.end() && original != files.end()) {
    throw std::runtime_error("can't join an original and an adjusted orientation: " + *original + ", " + *adjusted);
  }
}

// Of the sphere between two points, radians.
double angleBetween(double longitudeA, double latitudeA, double longitudeB, double latitudeB) {
  double const s = std::sin(0.5 * (latitudeB - latitudeA));
  double const t = std::sin(0.5 * (longitudeB - longitudeA));
  return 2.0 * std::asin(std::sqrt(std::fmin(s * s + std::cos(latitudeA) * std::cos(latitudeB) * t * t, 1.0)));
}

// The headers have the place at which the records were made. An anchor point far from there that would be nearer with
// its two numbers in the other order is a slip.
void requireOrder(std::vector<double> const& anchor, std::vector<std::string> const& files) {
  constexpr double farAway = 1.0;  // degrees
  for (std::string const& file : files) {
    std::optional<HeaderAnchor> const header = anchorOf(sensor::KESOrientation(file));
    if (!header) {
      continue;
    }
    auto const away = [&](double longitude, double latitude) {
      return angleBetween(longitude / degrees, latitude / degrees, header->longitude, header->latitude) * degrees;
    };
    if (away(anchor[0], anchor[1]) > farAway && away(anchor[1], anchor[0]) < away(anchor[0], anchor[1])) {
      throw std::runtime_error("are longitude and latitude of --anchor swapped? The header of " + file + " has " +
                               text(header->longitude * degrees) + " " + text(header->latitude * degrees) +
                               "; --force takes the point as it is");
    }
  }
}

// The file that starts first and the one that ends last; of equal ones the earlier in the list.
void addJoinedFiles(Listing& listing, std::vector<std::string> const& files) {
  Odf first = odf(files.front());
  Odf last = first;
  for (std::string const& file : files) {
    Odf const other = odf(file);
    first = other.start < first.start ? other : first;
    last = other.end > last.end ? other : last;
  }
  listing.add("starts first", first.text());
  listing.add("ends last", last.text());
}

void warn(int count, char const* what, double first) {
  if (count > 0) {
    std::cerr << "kes: warning: " << count << (count == 1 ? " record " : " records ") << what << ", the first at "
              << text(first) << " s\n";
  }
}

void warnOfTimesThatDontRise(sensor::EOPData const& eop) {
  int repeated = 0;
  int back = 0;
  double firstRepeated = 0.0;
  double firstBack = 0.0;
  sensor::EOP before;
  sensor::EOP record;
  eop.atIndex(0, before);
  for (int i = 1; i < eop.numSets(); ++i, before = record) {
    eop.atIndex(i, record);
    if (record.gpsTime == before.gpsTime && repeated++ == 0) {
      firstRepeated = record.gpsTime;
    }
    if (record.gpsTime < before.gpsTime && back++ == 0) {
      firstBack = record.gpsTime;
    }
  }
  warn(repeated, "at the time of the one before", firstRepeated);
  warn(back, "stepping back in time", firstBack);
}

}  // namespace

std::optional<HeaderAnchor> anchorOf(sensor::KESOrientation const& odf) {
  constexpr double notSet = 100.0;
  if (odf.anchorLatitude() == notSet && odf.anchorLongitude() == notSet) {
    return std::nullopt;
  }
  return HeaderAnchor{odf.anchorLongitude(), odf.anchorLatitude()};
}

void OdfMerge::addTo(CLI::App& command) {
  command.add_option("OUT", out, "Orientation file (EOP) to write")->required();
  CLI::Option* const files = command.add_option(
      "ODF", odfs, "Orientation files of the lines of a take; without any, the files that the support files name");
  CLI::Option* const given =
      command
          .add_option("--anchor", anchor,
                      "Anchor point: longitude and latitude (degrees), height (metres) [that in the headers]")
          ->type_name("LON LAT H")
          ->expected(3);
  command.add_flag("--force", force, "Take the anchor point even if longitude and latitude look swapped")->needs(given);
  CLI::Option* const support =
      command.add_option("--support", supports, "Support files, one for each ODF; theirs is the anchor point then")
          ->type_name("FILE")
          ->excludes(given);
  command.add_flag("--adjusted", adjusted, "The adjusted orientations that the support files name [the original ones]")
      ->needs(support)
      ->excludes(files);
}

void OdfMerge::check() const {
  if (odfs.empty() && supports.empty()) {
    throw CLI::RequiredError("ODF or --support");
  }
  if (anchor.empty()) {
    return;
  }
  if (!(std::abs(anchor[0]) <= largestLongitude) || !(std::abs(anchor[1]) <= largestLatitude) ||
      !std::isfinite(anchor[2])) {
    throw CLI::ValidationError("--anchor", "not a longitude from -180 to 180, a latitude from -90 to 90, and a height");
  }
  // The library would silently use the anchor point of the headers in place of such a point.
  if (anchor[0] == 0.0 || anchor[1] == 0.0) {
    throw CLI::ValidationError("--anchor", "an anchor point on the equator or the zero meridian can't be given");
  }
}

int OdfMerge::run() const {
  checkInputs(*this);
  requireOneKind(odfs);
  if (!anchor.empty() && !force) {
    requireOrder(anchor, odfs);
  }
  sensor::ODFConverter converter;
  converter.setOutputFile(out);
  converter.setAppSource("kes " KESSENSOR_VERSION);
  convert(*this, converter);
  sensor::EOPData const eop(out, true, false);
  Listing listing;
  listing.add("orientation", out);
  addJoinedFiles(listing, converter.odfFiles());
  EopDescription const description = describe(eop);
  listing.add("records", std::to_string(description.records));
  addAnchor(listing, description.anchor);
  listing.print();
  if (anchor.empty() && supports.empty()) {
    std::cerr << "kes: warning: the headers have no height of the anchor point: heights count from 0 m above the "
                 "ellipsoid; --anchor or --support give another\n";
  }
  warnOfTimesThatDontRise(eop);
  return 0;
}

}  // namespace tool
