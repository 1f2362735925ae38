// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/GeocentricSystem.h"

#include "geo/CommonUnits.h"
#include "geo/Definition.h"
#include "geo/Wgs84.h"

#include <algorithm>
#include <utility>

namespace geo {

GeocentricSystem::GeocentricSystem(std::string definition) : mDefinition(std::move(definition)) {}

units const& GeocentricSystem::verticalUnits() const {
  return metre();
}

units const& GeocentricSystem::horizontalUnits() const {
  return metre();
}

QDomElement GeocentricSystem::toXml(QDomDocument& document) const {
  return definitionToXml(document, mDefinition);
}

void GeocentricSystem::toGeodetic(XYZPoint* points, std::size_t n) const {
  std::transform(points, points + n, points, wgs84::toGeodetic);
}

void GeocentricSystem::fromGeodetic(XYZPoint* points, std::size_t n) const {
  std::transform(points, points + n, points, wgs84::toGeocentric);
}

void GeocentricSystem::toGeocentric(XYZPoint* /*points*/, std::size_t /*n*/) const {}

void GeocentricSystem::fromGeocentric(XYZPoint* /*points*/, std::size_t /*n*/) const {}

}  // namespace geo
