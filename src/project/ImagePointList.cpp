// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/PointFile.h"
#include "project/PointListPlaces.h"
#include "project/PointText.h"

#include <sensor/ImagePointList.h>

#include <cstddef>
#include <stdexcept>

namespace sensor {

namespace {

constexpr int usualDecimals = 3;

// The first character of a text may have several bytes.
std::string_view withoutFirstCharacter(std::string_view text) {
  std::size_t size = 1;
  while (size < text.size() && (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80U) {
    ++size;
  }
  return text.substr(size);
}

std::optional<geo::ImagePoint> pointIn(std::string_view line) {
  line = withoutEndBlanks(line);
  if (line.empty()) {
    return std::nullopt;
  }
  line = withoutFirstCharacter(line);
  std::size_t const end = line.find('"');
  if (end == std::string_view::npos) {
    return std::nullopt;
  }
  geo::ImagePoint point;
  point.id = line.substr(0, end);
  PointFields fields(line.substr(end + 1));
  point.x = fields.takeNumber();
  point.y = fields.takeNumber();
  point.sx = fields.takeNumber();
  point.sy = fields.takeNumber();
  point.active = fields.rest().substr(0, 1) == "1";
  if (point.x < 0.0 || point.y < 0.0) {
    return std::nullopt;
  }
  return point;
}

void appendPoint(std::string& text, geo::ImagePoint const& point, int decimals) {
  text += '"';
  text += point.id;
  text += "\" ";
  for (double const value : {point.x, point.y, point.sx, point.sy}) {
    appendNumber(text, value, decimals);
    text += ' ';
  }
  text += point.active ? "1\n" : "0\n";
}

}  // namespace

ImagePointList::ImagePointList(std::string const& stripID, std::string const& bandID)
    : mStripID(stripID), mBandID(bandID) {}

ImagePointList::ImagePointList(std::vector<geo::ImagePoint> const& points, std::string const& stripID,
                               std::string const& bandID)
    : mPoints(points), mStripID(stripID), mBandID(bandID) {}

ImagePointList::ImagePointList(std::string const& fileName, std::string const& stripID, std::string const& bandID)
    : mFileName(fileName), mStripID(stripID), mBandID(bandID) {
  read(fileName, true);
}

ImagePointList::ImagePointList(std::string const& imageFileName, std::string const& folder, std::string const& stripID,
                               std::string const& bandID)
    : mStripID(stripID), mBandID(bandID) {
  auto const name = pointListName(imageFileName);
  if (!name) {
    throw std::runtime_error("Invalid image filename");
  }
  for (std::string const& place : pointListFolders(QDir(fromUtf8(folder)).path())) {
    mFileName = place + "/" + name->toStdString();
    if (read(mFileName, true) == 0) {
      return;
    }
  }
  // A list that is written later goes beside the strip.
  mFileName = folder + "/" + name->toStdString();
}

int ImagePointList::addPoint(geo::ImagePoint const& point) {
  mPoints.push_back(point);
  return 0;
}

int ImagePointList::addPoints(std::vector<geo::ImagePoint> const& points, bool clear) {
  addTo(mPoints, points, clear);
  return 0;
}

int ImagePointList::read(std::string const& fileName, bool const& clear) {
  return readPoints(fileName, clear, mPoints, pointIn) ? 0 : 1;
}

int ImagePointList::write() {
  return write(mFileName, usualDecimals);
}

int ImagePointList::write(std::string const& fileName, int precision) {
  auto const append = [&](std::string& text, geo::ImagePoint const& point) { appendPoint(text, point, precision); };
  if (!writePoints(fileName, mPoints, append)) {
    return 1;
  }
  mFileName = fileName;
  return 0;
}

int ImagePointList::imagePoint(std::string const& id, geo::ImagePoint& point) const {
  return findPoint(mPoints, id, point);
}

geo::ImagePoint ImagePointList::operator[](int const& index) const {
  if (index < 0 || index >= numPoints()) {
    geo::ImagePoint empty;
    empty.active = false;
    return empty;
  }
  return mPoints[static_cast<std::size_t>(index)];
}

}  // namespace sensor
