// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/PointFile.h"
#include "project/PointText.h"

#include <sensor/GroundPointList.h>

#include <charconv>
#include <cstddef>

namespace sensor {

namespace {

constexpr int decimals = 10;
constexpr std::int32_t lastType = 7;

// Types beyond the last are the last, also in memory, where anything may stand.
template <class Integer>
std::int32_t knownType(Integer type) {
  return type >= 0 && type < lastType ? static_cast<std::int32_t>(type) : lastType;
}

std::int32_t typeIn(std::string_view text) {
  text = withoutEndBlanks(text);
  char const* const end = text.data() + text.size();
  bool const hasPlus = text.size() > 1 && text.front() == '+' && text[1] != '-';
  std::int64_t type = 0;
  auto const result = std::from_chars(text.data() + (hasPlus ? 1 : 0), end, type);
  if (result.ec == std::errc::invalid_argument || result.ptr != end) {
    return 0;
  }
  return result.ec == std::errc::result_out_of_range ? lastType : knownType(type);
}

// In characters of the text, not in bytes.
std::size_t lengthOf(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

void readDeviations(PointFields& fields, geo::GroundPoint& point) {
  point.sx = fields.takeNumber();
  point.sy = fields.takeNumber();
  std::string_view const sz = fields.take();
  point.sz = numberIn(sz);
  // As wide as the field before it: files are written so that a type of one digit always fits.
  point.type = typeIn(fields.rest().substr(0, lengthOf(sz)));
}

// Takes the quoted id off the start of a line; false when the quote isn't closed.
bool takeQuotedId(std::string_view& line, std::string& id) {
  std::size_t const end = line.find('"', 1);
  if (end == std::string_view::npos) {
    return false;
  }
  id = line.substr(1, end - 1);
  line.remove_prefix(end + 1);
  return true;
}

// Comments and quotes count at the very start of the line only.
std::optional<geo::GroundPoint> pointIn(std::string_view line) {
  if (line.empty() || line.front() == ';') {
    return std::nullopt;
  }
  geo::GroundPoint point;
  bool const isQuoted = line.front() == '"';
  if (isQuoted && !takeQuotedId(line, point.id)) {
    return std::nullopt;
  }
  PointFields fields(line);
  if (!isQuoted) {
    point.id = fields.take();
    if (point.id.empty()) {
      return std::nullopt;
    }
  }
  point.x = fields.takeNumber();
  point.y = fields.takeNumber();
  point.z = fields.takeNumber();
  if (fields.hasSeveral()) {
    readDeviations(fields, point);
  }
  return point;
}

void appendField(std::string& text, double value) {
  text += "  ";
  appendNumber(text, value, decimals);
}

void appendPoint(std::string& text, geo::GroundPoint const& point, bool shortForm) {
  text += '"';
  text += point.id;
  text += '"';
  appendField(text, point.x);
  appendField(text, point.y);
  appendField(text, point.z);
  if (!shortForm) {
    appendField(text, point.sx);
    appendField(text, point.sy);
    appendField(text, point.sz);
    text += "  ";
    text += std::to_string(knownType(point.type));
  }
  text += '\n';
}

}  // namespace

std::int32_t GroundPointList::sCounter = 1;

GroundPointList::GroundPointList(std::string const& fileName) {
  read(fileName, true);
}

GroundPointList::GroundPointList(std::vector<geo::GroundPoint> const& points) : mPoints(points) {}

int GroundPointList::addPoint(geo::GroundPoint const& point) {
  mPoints.push_back(point);
  return 0;
}

int GroundPointList::addPoints(std::vector<geo::GroundPoint> const& points, bool replace) {
  addTo(mPoints, points, replace);
  return 0;
}

int GroundPointList::read(std::string const& fileName, bool const& clear) {
  return readPoints(fileName, clear, mPoints, pointIn) ? 0 : 1;
}

int GroundPointList::write(std::string const& fileName, bool const& shortForm) const {
  auto const append = [&](std::string& text, geo::GroundPoint const& point) { appendPoint(text, point, shortForm); };
  return writePoints(fileName, mPoints, append) ? 0 : 1;
}

int GroundPointList::groundPoint(std::string const& id, geo::GroundPoint& point) const {
  return findPoint(mPoints, id, point);
}

geo::GroundPoint& GroundPointList::operator[](int const& index) {
  return mPoints[static_cast<std::size_t>(index)];
}

void GroundPointList::removePoint(int index) {
  mPoints.erase(mPoints.begin() + index);
}

std::string GroundPointList::createUniqueID() {
  return "New-" + std::to_string(sCounter++);
}

}  // namespace sensor
