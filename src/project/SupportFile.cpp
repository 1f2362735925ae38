// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/SupportFile.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <locale>
#include <ostream>

namespace sensor {

namespace {

char const* spectralKindOf(std::string const& bandId) {
  std::string const kind = bandId.substr(0, 3);
  if (kind == "BLU") {
    return "BLUE";
  }
  if (kind == "GRN") {
    return "GREEN";
  }
  if (kind == "RED") {
    return "RED";
  }
  return kind == "NIR" ? "NEAR_INFRARED" : "PANCHROMATIC";
}

char const* viewOf(char direction) {
  if (direction == 'B') {
    return "BACKWARD";
  }
  return direction == 'F' ? "FORWARD" : "NADIR";
}

// The two notations of numbers. They hold on the stream until the next one.
std::ostream& scientific(std::ostream& out) {
  constexpr int digits = 14;
  return out << std::scientific << std::setprecision(digits);
}

struct Fixed {
  int digits;
};

std::ostream& operator<<(std::ostream& out, Fixed notation) {
  return out << std::fixed << std::setprecision(notation.digits);
}

std::ostream& operator<<(std::ostream& out, geo::XYZPoint const& point) {
  return out << point.x << ' ' << point.y << ' ' << point.z;
}

// A text that may come from anywhere, on one line: what follows a line end would be read as an entry.
std::string onOneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\n' || c == '\v' || c == '\f' || c == '\r'; }, ' ');
  return text;
}

void writeImage(std::ostream& out, SupportFile const& file) {
  out << "support_file d\n"
      << "IMAGE_ID \"" << onOneLine(file.imageId) << "\"\n"
      << "IMAGE_FILE_NAME 1 \"" << onOneLine(file.imageFileName) << "\"\n"
      << "LINES " << file.numLines << '\n'
      << "SAMPLES " << file.numSamples << '\n';
}

// Images are neither rectified nor corrected: these terms change nothing.
void writeRectification(std::ostream& out) {
  constexpr geo::XYZPoint firstRow{0.0, 0.0, 1.0};
  constexpr geo::XYZPoint secondRow{0.0, 1.0, 0.0};
  constexpr geo::XYZPoint noBias;
  out << "RECTIFICATION_TERMS\n"
      << scientific << '\t' << firstRow << "\n\t" << secondRow << '\n'
      << "GRND_BIAS " << noBias << '\n'
      << "BIAS " << Fixed{6} << 0.0 << " GAIN " << 1.0 << '\n';
}

void writePlace(std::ostream& out, SupportFile const& file) {
  out << "GROUND_ZERO " << scientific << file.centre << '\n'
      << "LOAD_PT " << file.centre << '\n'
      << "COORD_SYSTEM 0\n"
      << "UNITS 1\n"
      << "USE_FAST_MATH 0\n"
      << "MAX_AND_MIN_ELEVATION " << Fixed{3} << file.anchor.z << ' ' << file.meanFlyingHeight << '\n';
}

void writeTake(std::ostream& out, SupportFile const& file) {
  out << "IMAGE_MOTION 0\n"
      << "INITIALIZED 2\n"
      << "STATUS 0\n"
      << "PHOTO_DATE \"" << file.date << "\"\n"
      << "QUALITY 53\n"
      << "SENSOR_TYPE KES\n"
      << "IMAGE_LEVEL 0\n"
      << "MEAN_TERRAIN_HEIGHT " << Fixed{6} << file.meanTerrainHeight << '\n'
      << "ANCHOR_LATITUDE " << Fixed{12} << file.anchor.y << '\n'
      << "ANCHOR_LONGITUDE " << file.anchor.x << '\n';
}

void writeLine(std::ostream& out, SupportFile const& file) {
  out << "LINE_STAGGERED " << file.band.staggered << '\n'
      << "VIEW_OF_LINE " << file.band.view << '\n'
      << "RADIOMETRIC_PROPERTY " << file.band.spectralKind << '\n'
      << "IMAGE_DATE \"" << file.date << "\"\n"
      << "NUMBER_SCAN_LINES " << file.numLines << '\n'
      << "SENSOR_ROTATION FALSE\n"
      << "CORRECTION NO_CORRECTION\n"
      << "LEVEL_0_GSD " << Fixed{8} << file.gsd << '\n';
}

void writeFiles(std::ostream& out, SupportFile const& file) {
  out << "ORIGINAL_ORIENTATION " << onOneLine(file.originalOrientation) << '\n';
  if (!file.adjustedOrientation.empty()) {
    out << "ADJUSTED_ORIENTATION " << onOneLine(file.adjustedOrientation) << '\n';
  }
  out << "ORIGINAL_CALIBRATION " << onOneLine(file.calibration) << '\n';
}

// The east, north and up axes at the anchor as rows in geocentric axes: the rotation from geocentric differences to the
// local system.
void writeLocalSystem(std::ostream& out, SupportFile const& file) {
  double const sinLat = std::sin(file.anchor.y);
  double const cosLat = std::cos(file.anchor.y);
  double const sinLon = std::sin(file.anchor.x);
  double const cosLon = std::cos(file.anchor.x);
  geo::XYZPoint const east{-sinLon, cosLon, 0.0};
  geo::XYZPoint const north{-cosLon * sinLat, -sinLon * sinLat, cosLat};
  geo::XYZPoint const up{cosLon * cosLat, sinLon * cosLat, sinLat};
  out << "LOCAL_ORIGIN " << scientific << file.localOrigin << '\n'
      << "BASIS " << east << ' ' << north << ' ' << up << '\n';
}

}  // namespace

BandWords::BandWords(std::string const& bandId)
    : spectralKind(spectralKindOf(bandId)), view(viewOf(bandId.at(3))),
      staggered(bandId.at(6) == 'B' ? "TRUE" : "FALSE") {}

void writeSupportFile(std::ostream& out, SupportFile const& file) {
  out.imbue(std::locale::classic());
  writeImage(out, file);
  writeRectification(out);
  writePlace(out, file);
  writeTake(out, file);
  writeLine(out, file);
  writeFiles(out, file);
  writeLocalSystem(out, file);
}

}  // namespace sensor
