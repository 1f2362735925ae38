// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "check/FileChecks.h"
#include "check/SourceFile.h"
#include "orientations/SupportText.h"
#include "shared/Numbers.h"

#include <sensor/KESOrientation.h>

#include <QByteArray>

#include <array>
#include <cmath>
#include <files/formats/OdfFile.h>
#include <map>
#include <numbers>
#include <sstream>
#include <stdexcept>

namespace tool {

namespace {

namespace odfFile = sensor::odfFile;

constexpr std::int64_t headerSize = odfFile::headerSize;
constexpr std::int64_t recordSize = sizeof(sensor::odf);

struct NamedField {
  odfFile::Field field;
  char const* name;
  bool isScale = false;
};

constexpr std::array numbers{NamedField{odfFile::count, "number of records"},
                             NamedField{odfFile::positionUnits, "code of the positions' unit"},
                             NamedField{odfFile::positionScale, "scale of positions", true},
                             NamedField{odfFile::angularUnits, "code of the angles' unit"},
                             NamedField{odfFile::angularScale, "scale of angles", true},
                             NamedField{odfFile::rotationSequence, "code of the rotation sequence"},
                             NamedField{odfFile::absoluteTime, "absolute time"},
                             NamedField{odfFile::baseTime, "base of times"},
                             NamedField{odfFile::timeScale, "scale of times", true},
                             NamedField{odfFile::baseX, "base of x"},
                             NamedField{odfFile::baseY, "base of y"},
                             NamedField{odfFile::baseZ, "base of z"},
                             NamedField{odfFile::positionStdDevScale, "scale of positions' standard deviations", true},
                             NamedField{odfFile::angularStdDevScale, "scale of angles' standard deviations", true}};

Place placeOf(odfFile::Field field) {
  return atByte(static_cast<std::int64_t>(field.offset));
}

// The first word of a field of the header, up to the zero bytes after it.
std::string wordIn(std::string const& header, odfFile::Field field) {
  std::istringstream text(
      header.substr(field.offset, std::min(field.size, header.find('\0', field.offset) - field.offset)));
  std::string word;
  text >> word;
  return word;
}

void checkHeader(std::string const& header, FileFindings& findings) {
  std::string const version = header.substr(0, std::min<std::size_t>(odfFile::version.size, header.find('\0')));
  bool const isOld = version == odfFile::oldVersion;
  if (!isOld && version != odfFile::currentVersion) {
    findings.error(placeOf(odfFile::version), "unknown version \"" + version + "\"");
  }
  for (NamedField const& entry : numbers) {
    // An old file's scales are fixed, whatever its header says.
    if (isOld && entry.isScale) {
      continue;
    }
    std::string const word = wordIn(header, entry.field);
    if (std::string const fault = faultOfNumber(word); !fault.empty()) {
      findings.error(placeOf(entry.field), std::string(entry.name) + " \"" + word + "\" " + fault);
    } else if (entry.isScale && !(QByteArray::fromStdString(word).toDouble() > 0.0)) {
      findings.error(placeOf(entry.field), std::string(entry.name) + " is " + word);
    }
  }
}

void checkAnchor(sensor::KESOrientation const& odf, FileFindings& findings) {
  constexpr double notSet = 100.0;
  double const latitude = odf.anchorLatitude();
  double const longitude = odf.anchorLongitude();
  if (latitude == notSet && longitude == notSet) {
    return;
  }
  if (!(std::fabs(latitude) <= 0.5 * std::numbers::pi && std::fabs(longitude) <= std::numbers::pi)) {
    findings.error(placeOf(odfFile::anchorLatitude), "the anchor point (" + text(longitude) + ", " + text(latitude) +
                                                         ") isn't longitude and latitude in radians");
  }
}

void checkTimes(sensor::KESOrientation const& odf, FileFindings& findings) {
  for (int i = 1; i < odf.numSets(); ++i) {
    double const before = odf.t(i - 1).value();
    double const time = odf.t(i).value();
    if (!(time > before)) {
      findings.warn(atByte(headerSize + i * recordSize), "record " + std::to_string(i) +
                                                             " isn't later than the one before it: " + text(time) +
                                                             " s after " + text(before) + " s");
    }
  }
}

// The records that the file holds beside those that its header promises.
void checkCount(std::string const& header, std::int64_t size, FileFindings& findings) {
  auto const promised = QByteArray::fromStdString(wordIn(header, odfFile::count)).toLongLong();
  std::int64_t const end = headerSize + promised * recordSize;
  if (promised > 0 && size < end) {
    findings.error(atByte(size), "the header promises " + std::to_string(promised) + " records, and the file holds " +
                                     std::to_string((size - headerSize) / recordSize));
  } else if (promised >= 0 && size > std::max(end, headerSize)) {
    findings.warn(atByte(end), std::to_string(size - end) + " bytes at the end aren't read");
  }
}

void checkEntry(SupportEntry const& entry, FileFindings& findings) {
  SupportKeyword const* const keyword = supportKeyword(entry.keyword);
  if (keyword == nullptr) {
    findings.warn(atLine(entry.line), "unknown keyword \"" + entry.keyword + "\" is left out");
    return;
  }
  if (entry.value.empty()) {
    findings.error(atLine(entry.line), entry.keyword + " has no value: the next keyword is taken for it");
    return;
  }
  if (keyword->numbers == 0) {
    return;
  }
  int count = 0;
  std::istringstream words(entry.value);
  for (std::string word; words >> word; ++count) {
    if (std::string const fault = faultOfNumber(word); !fault.empty()) {
      findings.error(atLine(entry.line), entry.keyword + ": \"" + word + "\" " + fault);
    }
  }
  if (count != keyword->numbers) {
    findings.error(atLine(entry.line), entry.keyword + " has " + std::to_string(count) + " numbers in place of " +
                                           std::to_string(keyword->numbers));
  }
}

}  // namespace

void checkOdf(FileFindings findings) {
  SourceFile file(findings.file());
  std::string header(headerSize, '\0');
  if (!file.isOpen() || !file.read(0, header.data(), std::min(file.size(), headerSize))) {
    findings.error(wholeFile, "can't be read");
    return;
  }
  checkHeader(header, findings);
  checkCount(header, file.size(), findings);
  try {
    sensor::KESOrientation const odf(findings.file());
    checkAnchor(odf, findings);
    checkTimes(odf, findings);
  } catch (std::runtime_error const& error) {
    findings.error(wholeFile, error.what());
  }
}

void checkSupportFile(FileFindings findings) {
  try {
    std::map<std::string, std::int64_t> lines;
    for (SupportEntry const& entry : readSupportFile(findings.file())) {
      checkEntry(entry, findings);
      auto const [first, isNew] = lines.emplace(entry.keyword, entry.line);
      if (!isNew) {
        findings.error(atLine(entry.line), entry.keyword + " stands in line " + std::to_string(first->second) +
                                               ", too: the last one counts");
      }
    }
    for (char const* required : {"ANCHOR_LATITUDE", "ANCHOR_LONGITUDE", "ORIGINAL_ORIENTATION"}) {
      if (lines.count(required) == 0) {
        findings.error(wholeFile, std::string("no ") + required);
      }
    }
  } catch (std::runtime_error const& error) {
    findings.error(wholeFile, error.what());
  }
}

}  // namespace tool
