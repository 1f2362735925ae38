// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>

#include <string>
#include <variant>
#include <vector>

namespace tool {

/// What kind of values an attribute has.
enum class FieldType { text, number, whole };

struct Field {
  std::string name;
  FieldType type;
};

/// A value of an attribute, whole numbers as doubles, too; the first is no value.
using Attribute = std::variant<std::monostate, std::string, double>;

/// Points, of which a polygon repeats the first at the end, and the values of the layer's fields in their order.
struct Feature {
  std::vector<geo::XYZPoint> points;
  std::vector<Attribute> attributes;
};

enum class Shape { point, line, polygon };

/// Features of one shape, which have heights.
struct VectorLayer {
  std::string name;
  Shape shape;
  std::vector<Field> fields;
  std::vector<Feature> features;
  std::string style;  ///< Of QGIS (QML), for GeoPackage; empty for none.
};

/// Whether a file's extension is one that layers can be written to: .geojson, .json, .gpkg.
bool isVectorFile(std::string const& file);
/// Whether it is that of a GeoPackage, which holds several layers in any system.
bool isGeoPackage(std::string const& file);

/// Writes layers to a GeoPackage, or one layer to a GeoJSON file, which replaces an older one as a whole. `crs` is any
/// definition of PROJ; empty for WGS 84 longitude and latitude (degrees) and ellipsoidal heights (metres), the only one
/// of GeoJSON. Styles are in the table `layer_styles`, where QGIS looks for them. The file is read again and compared.
/// Throws "can't write FILE: " and the reason; an older file then stays as it was.
void writeLayers(std::string const& file, std::string const& crs, std::vector<VectorLayer> const& layers);

}  // namespace tool
