// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/GeographicSystem.h"

#include "geo/CommonUnits.h"
#include "geo/Definition.h"
#include "geo/Wgs84.h"

#include <cmath>
#include <limits>
#include <utility>

namespace geo {
namespace {

/// How far, in radians, a latitude may lie beyond a pole by the rounding of a conversion.
constexpr double LATITUDE_SLACK = 1e-12;

std::string axis(char const* name, char const* direction, int order, std::string const& unit) {
  return std::string("AXIS[\"") + name + "\"," + direction + ",ORDER[" + std::to_string(order) + "]," + unit + "]";
}

}  // namespace

GeographicSystem::GeographicSystem(GeographicForm form) : GeographicSystem(form, definitionOf(form)) {}

GeographicSystem::GeographicSystem(GeographicForm form, std::string definition)
    : mForm(form), mDefinition(std::move(definition)) {}

std::string GeographicSystem::nameOf(GeographicForm form) {
  return std::string("WGS 84 (") + (form.latitudeFirst ? "latitude, longitude" : "longitude, latitude") + " in " +
         (form.degrees ? "degrees" : "radians") + ", height)";
}

std::string GeographicSystem::definitionOf(GeographicForm form) {
  std::string const unit = form.degrees ? "ANGLEUNIT[\"degree\",0.0174532925199432958]" : "ANGLEUNIT[\"radian\",1]";
  std::string const longitude = axis("longitude", "east", form.latitudeFirst ? 2 : 1, unit);
  std::string const latitude = axis("latitude", "north", form.latitudeFirst ? 1 : 2, unit);
  std::string const angles = form.latitudeFirst ? latitude + "," + longitude : longitude + "," + latitude;
  return "GEOGCRS[\"" + nameOf(form) +
         "\",DATUM[\"World Geodetic System 1984\",ELLIPSOID[\"WGS 84\",6378137,298.257223563,"
         "LENGTHUNIT[\"metre\",1]]],PRIMEM[\"Greenwich\",0],CS[ellipsoidal,3]," +
         angles + "," + axis("ellipsoidal height", "up", 3, "LENGTHUNIT[\"metre\",1]") + "]";
}

units const& GeographicSystem::verticalUnits() const {
  return metre();
}

units const& GeographicSystem::horizontalUnits() const {
  return mForm.degrees ? degreeOnEquator() : radianOnEquator();
}

QDomElement GeographicSystem::toXml(QDomDocument& document) const {
  return definitionToXml(document, mDefinition);
}

void GeographicSystem::toGeodetic(XYZPoint* points, std::size_t n) const {
  double const scale = mForm.degrees ? wgs84::RADIANS_PER_DEGREE : 1.0;
  for (std::size_t i = 0; i < n; ++i) {
    XYZPoint& point = points[i];
    if (mForm.latitudeFirst) {
      std::swap(point.x, point.y);
    }
    point.x *= scale;
    point.y *= scale;
    if (std::fabs(point.y) > 0.5 * wgs84::PI + LATITUDE_SLACK) {
      point.y = std::numeric_limits<double>::quiet_NaN();
    }
  }
}

void GeographicSystem::fromGeodetic(XYZPoint* points, std::size_t n) const {
  double const scale = mForm.degrees ? 1.0 / wgs84::RADIANS_PER_DEGREE : 1.0;
  for (std::size_t i = 0; i < n; ++i) {
    XYZPoint& point = points[i];
    point.x *= scale;
    point.y *= scale;
    if (mForm.latitudeFirst) {
      std::swap(point.x, point.y);
    }
  }
}

}  // namespace geo
