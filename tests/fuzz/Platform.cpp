// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kinds.h"
#include "Run.h"
#include "support/TempFolder.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <raster/Statistics.h>

#include <QDomDocument>
#include <QRegularExpression>

#include <cmath>
#include <map>
#include <memory>
#include <string>

namespace fuzz {

namespace {

using test::TempFolder;
using Layers = std::map<raster::LayerType, raster::Statistics::Layer>;

void requireSameLayers(Layers const& a, Layers const& b) {
  require(a.size() == b.size(), "as many bands");
  for (auto x = a.begin(), y = b.begin(); x != a.end(); ++x, ++y) {
    auto const isSame = [&](double raster::Statistics::Layer::*value) {
      return isNear(x->second.*value, y->second.*value, 1e-9 * std::abs(x->second.*value));
    };
    require(x->first == y->first && x->second.histogram == y->second.histogram, "histograms that are read back");
    require(isSame(&raster::Statistics::Layer::minimum) && isSame(&raster::Statistics::Layer::maximum) &&
                isSame(&raster::Statistics::Layer::mean) && isSame(&raster::Statistics::Layer::standardDeviation),
            "statistics that are read back");
  }
}

/// PROJ is none of ours: of what the library hands on, it sees codes, and strings of a few projections with numbers.
bool isAllowed(std::string const& definition) {
  static QRegularExpression const allowed(
      "^\\s*(EPSG:[0-9]{1,6}(\\+[0-9]{1,6})?"
      "|\\+proj=(utm|longlat|tmerc|merc|lcc|stere|laea|geocent)( "
      "\\+(zone|lat_0|lon_0|lat_1|lat_2|k|x_0|y_0)=-?[0-9.]{1,9})*"
      "( \\+south)?( \\+(datum=WGS84|ellps=GRS80))?( \\+units=(m|us-ft|km))?( \\+no_defs)? \\+type=crs)\\s*$");
  return definition.size() < 256 && allowed.match(QString::fromStdString(definition)).hasMatch();
}

void transform(geo::coordSys const& system) {
  std::unique_ptr<geo::coordSys> const degrees(geo::coordSysFactory::getInstance()->createGEO84(false, false));
  for (geo::XYZPoint const& place : {geo::XYZPoint{0.272, 0.8393, 421.0}, geo::XYZPoint{-1.4, -0.6, 0.0},
                                     geo::XYZPoint{3.2, 1.6, 1e5}, geo::XYZPoint{std::nan(""), 1e300, 0.0}}) {
    geo::XYZPoint map;
    geo::XYZPoint back;
    if (geo::coordSys::transform(degrees.get(), &system, place, map) == 0) {
      geo::coordSys::transform(&system, degrees.get(), map, back);
    }
  }
}

std::unique_ptr<geo::coordSys> systemOf(QDomElement const& element) {
  return std::unique_ptr<geo::coordSys>(geo::coordSysFactory::getInstance()->createCoordSys(element));
}

}  // namespace

void statistics(std::string_view bytes) {
  TempFolder const folder;
  raster::Statistics read(0, 50, 100, 1, 1.0F);
  if (!read.load(folder.file("image.stat", bytes), 1.0F, raster::Statistics::allLayers)) {
    return;
  }
  for (auto const& entry : read.layers()) {
    accepts([&] { read.percentiles(entry.first); });
  }
  read.save(folder / "copy.stat");
  raster::Statistics again(0, 50, 100, 1, 1.0F);
  again.load(folder / "copy.stat", 1.0F, raster::Statistics::allLayers);
  requireSameLayers(read.layers(), again.layers());
}

// A definition as it stands in a file.
void coordinateSystem(std::string_view bytes) {
  std::string const text(bytes);
  QDomDocument document;
  QDomElement element = document.createElement(QStringLiteral("CoordinateSystem"));
  element.setAttribute(QStringLiteral("definition"), QString::fromStdString(text));
  std::unique_ptr<geo::coordSys> system;
  if (!isAllowed(text) || !accepts([&] { system = systemOf(element); })) {
    return;
  }
  transform(*system);
  auto const again = systemOf(system->toXml(document));
  require(system->definition() == again->definition(), "a definition that is read back");
}

}  // namespace fuzz
