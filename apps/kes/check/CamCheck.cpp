// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "check/FileChecks.h"
#include "check/SourceFile.h"
#include "shared/Numbers.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/SerializerCameraKesV1Cam.h>

#include <QByteArray>

#include <algorithm>
#include <cmath>
#include <files/formats/CamFile.h>
#include <set>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace tool {

namespace {

using sensor::camFile::Keyword;

constexpr double largestMisalignment = 0.2;

std::vector<std::string> wordsOf(std::string_view line) {
  std::istringstream stream{std::string(line)};
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

double numberOf(std::string const& word) {
  return QByteArray::fromStdString(word).toDouble();
}

class CamCheck {
public:
  explicit CamCheck(FileFindings& findings) : mFindings(&findings) {}

  std::string run() {
    auto text = SourceFile(mFindings->file()).text();
    if (text) {
      forEachLine(*text, [&](std::string_view line, std::int64_t number) { take(line, atLine(number)); });
      checkWhole();
    }
    requireReadable();
    return mBand;
  }

private:
  void take(std::string_view line, Place place) {
    if (mIsAtEnd) {
      return;
    }
    if (mSeen.count(Keyword::startXY) != 0) {
      takeCoordinates(line, place);
    } else if (place.number > 1) {
      takeHeader(line, place);
    }
  }

  void takeHeader(std::string_view line, Place place) {
    Keyword const keyword = sensor::camFile::keywordOf(line);
    std::vector<std::string> const words = wordsOf(line);
    if (words.empty() || line.starts_with(sensor::camFile::mountOffset)) {
      return;
    }
    if (keyword == Keyword::none) {
      mFindings->warn(place, "unknown keyword \"" + words.front() + "\" is left out");
      return;
    }
    if (!mSeen.insert(keyword).second) {
      mFindings->error(place, words.front() + " stands here again: the last one counts");
    }
    takeValue(keyword, line, words, place);
  }

  void takeValue(Keyword keyword, std::string_view line, std::vector<std::string> const& words, Place place) {
    std::string const value = words.size() > 1 ? words[1] : "";
    switch (keyword) {
    case Keyword::sensorLine:
      mBand = line.substr(std::min(line.size(), line.find('"') + 1));
      mBand.resize(std::min(mBand.size(), mBand.find('"')));
      break;
    case Keyword::focalLength:
      mFocalLength = positiveNumber(words.front(), value, place);
      break;
    case Keyword::pixelSize:
      positiveNumber(words.front(), value, place);
      break;
    case Keyword::numPixels:
      mNumPixels = static_cast<std::int64_t>(positiveNumber(words.front(), value, place));
      break;
    case Keyword::radiometricGain:
      positiveNumber(words.front(), value, place);
      break;
    case Keyword::irradianceGain:
    case Keyword::leftSideGain:
    case Keyword::centerWavelength:
    case Keyword::spectralWidth:
      number(words.front(), value, place);
      break;
    default:
      break;
    }
  }

  double number(std::string const& keyword, std::string const& value, Place place) {
    if (std::string const fault = faultOfNumber(value); !fault.empty()) {
      drop(place, keyword + " \"" + value + "\" " + fault);
    }
    return numberOf(value);
  }

  double positiveNumber(std::string const& keyword, std::string const& value, Place place) {
    double const result = number(keyword, value, place);
    if (faultOfNumber(value).empty() && !(result > 0.0)) {
      mFindings->error(place, keyword + " is " + value);
    }
    return result;
  }

  void takeCoordinates(std::string_view line, Place place) {
    if (line.starts_with(sensor::camFile::endXY)) {
      mIsAtEnd = true;
      return;
    }
    std::vector<std::string> const words = wordsOf(line);
    if (words.empty()) {
      return;
    }
    for (std::string const& word : words) {
      if (std::string const fault = faultOfNumber(word); !fault.empty()) {
        drop(place, "\"" + word + "\" " + fault);
        return;
      }
    }
    if (words.size() != 2) {
      mFindings->error(place, std::to_string(words.size()) + " numbers where x and y are expected");
    }
    mCoordinates += static_cast<std::int64_t>(words.size());
    double const look = std::atan(std::fabs(numberOf(words[0])) / mFocalLength) * degrees;
    if (look > steepestLook && mSteep++ == 0) {
      mFirstSteep = place;
      mSteepLook = look;
    }
  }

  void checkWhole() {
    requireKeyword(Keyword::sensorLine, "SENSOR_LINE", "the band has no id");
    requireKeyword(Keyword::focalLength, "FOCAL_LENGTH_MM", "the focal length is 0");
    requireKeyword(Keyword::numPixels, "NUM_PIXELS", "12000 pixels are taken");
    requireKeyword(Keyword::pixelSize, "PIXEL_SIZE", "0.0065 mm are taken");
    if (mSteep > 0) {
      mFindings->error(mFirstSteep, std::to_string(mSteep) + " pixels look more than 60 degrees ahead or back, the " +
                                        "first one " + fixed(mSteepLook, 1) + " degrees");
    }
    std::int64_t const pairs = mCoordinates / 2;
    if (mSeen.count(Keyword::numPixels) != 0 && pairs != mNumPixels && !mIsDropped) {
      std::string const text = "NUM_PIXELS is " + std::to_string(mNumPixels) + ", and there are " +
                               std::to_string(pairs) + " pairs of coordinates";
      if (pairs < mNumPixels) {
        drop(wholeFile, text);
      } else {
        mFindings->error(wholeFile, text + ": the last ones are left out");
      }
    }
    if (!mIsAtEnd) {
      mFindings->warn(wholeFile, "no END_XY: the file may be cut");
    }
  }

  void requireKeyword(Keyword keyword, std::string const& text, std::string const& consequence) {
    if (mSeen.count(keyword) == 0) {
      mFindings->error(wholeFile, "no " + text + ": " + consequence);
    }
  }

  // The reader's own verdict.
  void requireReadable() {
    sensor::CalibrationGeometryKes geometry;
    sensor::CalibrationRadiometryKesV1 radiometry;
    try {
      sensor::SerializerCameraKesV1Cam("").readCam(mFindings->file(), &geometry, &radiometry);
    } catch (std::runtime_error const& error) {
      if (!mIsDropped) {
        drop(wholeFile, error.what());
      }
    }
  }

  void drop(Place place, std::string const& text) {
    mIsDropped = true;
    mFindings->error(place, text + ": the camera lacks this band");
  }

  FileFindings* mFindings;
  std::string mBand;
  std::set<Keyword> mSeen;
  double mFocalLength = 0.0;
  std::int64_t mNumPixels = 0;
  std::int64_t mCoordinates = 0;
  std::int64_t mSteep = 0;
  Place mFirstSteep;
  double mSteepLook = 0.0;
  bool mIsAtEnd = false;
  bool mIsDropped = false;
};

void checkAngles(std::vector<std::string> const& words, Place place, FileFindings& findings) {
  constexpr std::size_t count = 6;
  for (std::size_t i = 0; i < count; ++i) {
    if (i >= words.size() || !faultOfNumber(words[i]).empty()) {
      std::string const fault = i >= words.size() ? "fewer than six numbers" : words[i] + " " + faultOfNumber(words[i]);
      findings.error(place, fault + ": the calibration can't be read");
      return;
    }
    double const value = numberOf(words[i]);
    bool const isDeviation = i % 2 == 1;
    if (isDeviation && value < 0.0) {
      findings.error(place, "a standard deviation of " + words[i]);
    } else if (!isDeviation && std::fabs(value) > largestMisalignment) {
      findings.warn(place, "an angle of " + words[i] + " radians is large for a misalignment");
    }
  }
  if (words.size() > count) {
    findings.warn(place, "what follows the six numbers is left out");
  }
}

}  // namespace

std::string checkCam(FileFindings findings) {
  return CamCheck(findings).run();
}

void checkMisalignment(FileFindings findings) {
  auto const text = SourceFile(findings.file()).text();
  if (!text) {
    findings.error(wholeFile, "can't be opened: the calibration can't be read");
    return;
  }
  bool hasNumbers = false;
  forEachLine(*text, [&](std::string_view line, std::int64_t number) {
    if (line.starts_with('#') || (hasNumbers && wordsOf(line).empty())) {
      return;
    }
    if (hasNumbers) {
      findings.warn(atLine(number), "a second line of numbers is left out");
      return;
    }
    hasNumbers = true;
    checkAngles(wordsOf(line), atLine(number), findings);
  });
  if (!hasNumbers) {
    findings.error(wholeFile, "no numbers: the calibration can't be read");
  }
}

}  // namespace tool
