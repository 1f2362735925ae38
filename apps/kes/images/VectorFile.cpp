// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "images/VectorFile.h"

#include "GdalErrors.h"
#include "files/WorkFolder.h"

#include <ogrsf_frmts.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr char const* stylesName = "layer_styles";
constexpr char const* geometryName = "geom";

struct Format {
  char const* driver;
  char const* extension;  // without which SQLite's driver warns
  char const* layerOption;
  // Half a unit of the last place that is written: degrees, metres.
  double angleTolerance;
  double heightTolerance;
};

// GeoJSON has seven places of a degree and three of a metre (RFC 7946 leaves the number to the writer).
Format formatOf(std::string const& file) {
  return isGeoPackage(file) ? Format{"GPKG", ".gpkg", "GEOMETRY_NAME=geom", 0.0, 0.0}
                            : Format{"GeoJSON", ".geojson", "RFC7946=YES", 0.51e-7, 0.51e-3};
}

OGRSpatialReference referenceOf(std::string const& crs) {
  OGRSpatialReference reference;
  reference.SetFromUserInput(crs.empty() ? "EPSG:4979" : crs.c_str(),
                             OGRSpatialReference::SET_FROM_USER_INPUT_LIMITATIONS_get());
  reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  return reference;
}

OGRwkbGeometryType typeOf(Shape shape) {
  switch (shape) {
  case Shape::point:
    return wkbPoint25D;
  case Shape::line:
    return wkbLineString25D;
  default:
    return wkbPolygon25D;
  }
}

OGRFieldType typeOf(FieldType type) {
  switch (type) {
  case FieldType::text:
    return OFTString;
  case FieldType::whole:
    return OFTInteger64;
  default:
    return OFTReal;
  }
}

template <class Curve>
void addPoints(Feature const& feature, Curve& curve) {
  for (geo::XYZPoint const& point : feature.points) {
    curve.addPoint(point.x, point.y, point.z);
  }
}

OGRGeometryUniquePtr geometryOf(Feature const& feature, Shape shape) {
  if (shape == Shape::point) {
    geo::XYZPoint const& point = feature.points.front();
    return OGRGeometryUniquePtr(new OGRPoint(point.x, point.y, point.z));
  }
  if (shape == Shape::line) {
    auto line = std::make_unique<OGRLineString>();
    addPoints(feature, *line);
    return OGRGeometryUniquePtr(line.release());
  }
  OGRLinearRing ring;
  addPoints(feature, ring);
  auto polygon = std::make_unique<OGRPolygon>();
  polygon->addRing(&ring);
  return OGRGeometryUniquePtr(polygon.release());
}

std::vector<geo::XYZPoint> pointsOf(OGRSimpleCurve const& curve) {
  std::vector<geo::XYZPoint> points;
  for (int i = 0; i < curve.getNumPoints(); ++i) {
    points.emplace_back(curve.getX(i), curve.getY(i), curve.getZ(i));
  }
  return points;
}

bool areStyled(std::vector<VectorLayer> const& layers) {
  return std::any_of(layers.begin(), layers.end(), [](VectorLayer const& layer) { return !layer.style.empty(); });
}

// Writes the file in a work folder. Each step throws when GDAL reports a failure, whatever it returns.
class Writer {
public:
  Writer(files::WorkFolder const& folder, std::string const& name, Format const& format)
      : mFolder(folder), mName(name), mFormat(format) {}

  void write(std::string const& crs, std::vector<VectorLayer> const& layers) {
    GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName(mFormat.driver);
    require(driver != nullptr);
    mData.reset(driver->Create((mFolder / mName).c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    require(mData != nullptr);
    OGRSpatialReference reference = referenceOf(crs);
    for (VectorLayer const& layer : layers) {
      write(layer, reference);
    }
    if (areStyled(layers)) {
      writeStyles(layers);
    }
    // What goes wrong at the end shows only here.
    mData.reset();
    require(true);
  }

private:
  void require(bool done) const {
    if (!done || mErrors.any()) {
      mFolder.fail(mErrors.any() ? mErrors.first() : "unknown reason");
    }
  }

  void write(VectorLayer const& layer, OGRSpatialReference& reference) const {
    char const* options[] = {mFormat.layerOption, nullptr};
    OGRLayer* const made =
        mData->CreateLayer(layer.name.c_str(), &reference, typeOf(layer.shape), const_cast<char**>(options));
    require(made != nullptr);
    for (Field const& field : layer.fields) {
      addField(*made, field.name.c_str(), typeOf(field.type));
    }
    for (Feature const& feature : layer.features) {
      addFeature(*made, layer, feature);
    }
  }

  void addField(OGRLayer& layer, char const* name, OGRFieldType type, char const* usual = nullptr) const {
    OGRFieldDefn field(name, type);
    field.SetDefault(usual);
    require(layer.CreateField(&field) == OGRERR_NONE);
  }

  void addFeature(OGRLayer& made, VectorLayer const& layer, Feature const& feature) const {
    OGRGeometryUniquePtr const geometry = geometryOf(feature, layer.shape);
    OGRFeatureUniquePtr const row(OGRFeature::CreateFeature(made.GetLayerDefn()));
    require(row->SetGeometry(geometry.get()) == OGRERR_NONE);
    for (std::size_t i = 0; i < layer.fields.size(); ++i) {
      char const* const name = layer.fields[i].name.c_str();
      if (auto const* const text = std::get_if<std::string>(&feature.attributes[i])) {
        row->SetField(name, text->c_str());
      } else if (auto const* const number = std::get_if<double>(&feature.attributes[i])) {
        row->SetField(name, *number);
      } else {
        row->SetFieldNull(row->GetFieldIndex(name));
      }
    }
    require(made.CreateFeature(row.get()) == OGRERR_NONE);
  }

  // The table as QGIS makes it itself.
  void writeStyles(std::vector<VectorLayer> const& layers) const {
    char const* options[] = {"FID=id", nullptr};
    OGRLayer* const table = mData->CreateLayer(stylesName, nullptr, wkbNone, const_cast<char**>(options));
    require(table != nullptr);
    for (char const* const name : {"f_table_catalog", "f_table_schema", "f_table_name", "f_geometry_column",
                                   "styleName", "styleQML", "styleSLD"}) {
      addField(*table, name, OFTString);
    }
    OGRFieldDefn isDefault("useAsDefault", OFTInteger);
    isDefault.SetSubType(OFSTBoolean);
    require(table->CreateField(&isDefault) == OGRERR_NONE);
    for (char const* const name : {"description", "owner", "ui"}) {
      addField(*table, name, OFTString);
    }
    addField(*table, "update_time", OFTDateTime, "CURRENT_TIMESTAMP");
    for (VectorLayer const& layer : layers) {
      if (!layer.style.empty()) {
        addStyle(*table, layer);
      }
    }
  }

  void addStyle(OGRLayer& table, VectorLayer const& layer) const {
    OGRFeatureUniquePtr const row(OGRFeature::CreateFeature(table.GetLayerDefn()));
    row->SetField("f_table_catalog", "");
    row->SetField("f_table_schema", "");
    row->SetField("f_table_name", layer.name.c_str());
    row->SetField("f_geometry_column", geometryName);
    row->SetField("styleName", layer.name.c_str());
    row->SetField("styleQML", layer.style.c_str());
    row->SetField("styleSLD", "");
    row->SetField("useAsDefault", 1);
    row->SetField("description", "");
    row->SetField("owner", "");
    require(table.CreateFeature(row.get()) == OGRERR_NONE);
  }

  files::WorkFolder const& mFolder;
  std::string const& mName;
  Format const& mFormat;
  kesgdal::GdalErrors mErrors;
  GDALDatasetUniquePtr mData;
};

// Compares a file that was opened again with what was to be written.
class Check {
public:
  Check(GDALDataset& data, Format const& format) : mData(data), mFormat(format) {}

  bool holds(std::string const& crs, std::vector<VectorLayer> const& layers) {
    int const tables = static_cast<int>(layers.size()) + (areStyled(layers) ? 1 : 0);
    OGRSpatialReference const reference = referenceOf(crs);
    return mData.GetLayerCount() == tables && isSound() && hasStyles(layers) &&
           std::all_of(layers.begin(), layers.end(), [&](VectorLayer const& layer) { return holds(layer, reference); });
  }

private:
  bool holds(VectorLayer const& expected, OGRSpatialReference const& reference) {
    OGRLayer* const layer = mData.GetLayerByName(expected.name.c_str());
    if (layer == nullptr || !hasReference(*layer, reference) || !hasIndex(*layer, expected)) {
      return false;
    }
    layer->ResetReading();
    for (Feature const& feature : expected.features) {
      OGRFeatureUniquePtr const row(layer->GetNextFeature());
      if (!row || !hasAttributes(*row, expected, feature) ||
          !hasGeometry(row->GetGeometryRef(), expected.shape, feature)) {
        return false;
      }
    }
    return OGRFeatureUniquePtr(layer->GetNextFeature()) == nullptr;
  }

  bool isDatabase() const { return mFormat.driver == std::string("GPKG"); }

  // GeoJSON is in WGS 84 always and doesn't say so.
  bool hasReference(OGRLayer& layer, OGRSpatialReference const& expected) const {
    return !isDatabase() || (layer.GetSpatialRef() != nullptr && layer.GetSpatialRef()->IsSame(&expected) != 0);
  }

  bool hasStyles(std::vector<VectorLayer> const& layers) {
    OGRLayer* const table = mData.GetLayerByName(stylesName);
    return std::all_of(layers.begin(), layers.end(), [&](VectorLayer const& layer) {
      if (layer.style.empty()) {
        return true;
      }
      OGRFeatureUniquePtr const row(table == nullptr ? nullptr : table->GetNextFeature());
      return row && row->GetFieldAsString("f_table_name") == layer.name &&
             row->GetFieldAsString("styleQML") == layer.style;
    });
  }

  // By SQLite's own check.
  bool isSound() const {
    if (!isDatabase()) {
      return true;
    }
    OGRLayer* const result = mData.ExecuteSQL("PRAGMA integrity_check", nullptr, nullptr);
    OGRFeatureUniquePtr const row(result == nullptr ? nullptr : result->GetNextFeature());
    bool const isSound = row && row->GetFieldAsString(0) == std::string("ok");
    mData.ReleaseResultSet(result);
    return isSound;
  }

  // The file has 15 digits of an extent.
  static bool areNear(double a, double b) { return std::abs(a - b) <= 1e-14 * std::max(std::abs(b), 100.0); }

  static bool areNear(OGREnvelope const& a, OGREnvelope const& b) {
    return areNear(a.MinX, b.MinX) && areNear(a.MinY, b.MinY) && areNear(a.MaxX, b.MaxX) && areNear(a.MaxY, b.MaxY);
  }

  // The spatial index finds each feature in its place, and the layer's extent covers all.
  bool hasIndex(OGRLayer& layer, VectorLayer const& expected) const {
    if (!isDatabase()) {
      return true;
    }
    std::vector<Feature> const& features = expected.features;
    OGREnvelope all;
    for (Feature const& feature : features) {
      OGREnvelope one;
      geometryOf(feature, expected.shape)->getEnvelope(&one);
      all.Merge(one);
    }
    OGREnvelope extent;
    bool isThere = features.empty() || (layer.GetExtent(&extent, FALSE) == OGRERR_NONE && areNear(extent, all));
    layer.SetSpatialFilterRect(all.MinX, all.MinY, all.MaxX, all.MaxY);
    isThere = isThere && (features.empty() || layer.GetFeatureCount() == static_cast<GIntBig>(features.size()));
    layer.SetSpatialFilter(nullptr);
    return isThere && layer.TestCapability(OLCFastSpatialFilter) != 0;
  }

  // GeoJSON takes texts that look like dates for dates.
  static std::string textOf(OGRFeature const& row, int field) {
    if (row.GetFieldDefnRef(field)->GetType() != OFTDate) {
      return row.GetFieldAsString(field);
    }
    std::string text = row.GetFieldAsString(field);
    std::replace(text.begin(), text.end(), '/', '-');
    return text;
  }

  static bool isSame(OGRFeature const& row, int field, Attribute const& value) {
    if (auto const* const text = std::get_if<std::string>(&value)) {
      return row.IsFieldSetAndNotNull(field) != 0 && textOf(row, field) == *text;
    }
    auto const* const number = std::get_if<double>(&value);
    return number == nullptr ? row.IsFieldSetAndNotNull(field) == 0
                             : row.IsFieldSetAndNotNull(field) != 0 && row.GetFieldAsDouble(field) == *number;
  }

  static bool hasAttributes(OGRFeature const& row, VectorLayer const& layer, Feature const& feature) {
    bool isEqual = row.GetFieldCount() == static_cast<int>(layer.fields.size());
    for (std::size_t i = 0; isEqual && i < layer.fields.size(); ++i) {
      int const field = row.GetFieldIndex(layer.fields[i].name.c_str());
      isEqual = field >= 0 && isSame(row, field, feature.attributes[i]);
    }
    return isEqual;
  }

  bool isNear(geo::XYZPoint const& point, geo::XYZPoint const& expected) const {
    return std::abs(point.x - expected.x) <= mFormat.angleTolerance &&
           std::abs(point.y - expected.y) <= mFormat.angleTolerance &&
           std::abs(point.z - expected.z) <= mFormat.heightTolerance;
  }

  template <class Iterator>
  bool areNear(Iterator begin, Iterator end, std::vector<geo::XYZPoint> const& expected) const {
    return std::equal(begin, end, expected.begin(), expected.end(),
                      [this](geo::XYZPoint const& a, geo::XYZPoint const& b) { return isNear(a, b); });
  }

  // GeoJSON's rings run counterclockwise.
  bool isOutline(OGRPolygon const& polygon, Feature const& feature) const {
    std::vector<geo::XYZPoint> const points = pointsOf(*polygon.getExteriorRing());
    return polygon.getNumInteriorRings() == 0 && (areNear(points.begin(), points.end(), feature.points) ||
                                                  areNear(points.rbegin(), points.rend(), feature.points));
  }

  bool isLine(OGRLineString const& line, Feature const& feature) const {
    std::vector<geo::XYZPoint> const points = pointsOf(line);
    return areNear(points.begin(), points.end(), feature.points);
  }

  // GeoJSON cuts an outline where it crosses the antimeridian.
  bool isCutOutline(OGRMultiPolygon const& parts, Feature const& feature) const {
    std::vector<geo::XYZPoint> points;
    for (OGRPolygon const* const part : parts) {
      std::vector<geo::XYZPoint> const more = pointsOf(*part->getExteriorRing());
      points.insert(points.end(), more.begin(), more.end());
    }
    return std::all_of(feature.points.begin(), feature.points.end(), [&](geo::XYZPoint const& expected) {
      return std::any_of(points.begin(), points.end(),
                         [&](geo::XYZPoint const& point) { return isNear(point, expected); });
    });
  }

  bool hasGeometry(OGRGeometry const* geometry, Shape shape, Feature const& feature) const {
    if (geometry == nullptr || geometry->IsEmpty() != 0) {
      return false;
    }
    switch (wkbFlatten(geometry->getGeometryType())) {
    case wkbPoint:
      return shape == Shape::point &&
             isNear({geometry->toPoint()->getX(), geometry->toPoint()->getY(), geometry->toPoint()->getZ()},
                    feature.points.front());
    case wkbLineString:
      return shape == Shape::line && isLine(*geometry->toLineString(), feature);
    case wkbPolygon:
      return shape == Shape::polygon && isOutline(*geometry->toPolygon(), feature);
    case wkbMultiPolygon:
      return !isDatabase() && isCutOutline(*geometry->toMultiPolygon(), feature);
    default:
      return false;
    }
  }

  GDALDataset& mData;
  Format const& mFormat;
};

// Throws unless the file, opened again, holds what was written.
void check(files::WorkFolder const& folder, std::string const& name, Format const& format, std::string const& crs,
           std::vector<VectorLayer> const& layers) {
  kesgdal::GdalErrors const errors;
  GDALDatasetUniquePtr data(GDALDataset::Open((folder / name).c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
  bool const isWhole = data && Check(*data, format).holds(crs, layers);
  data.reset();
  if (!isWhole || errors.any()) {
    folder.fail(errors.any() ? errors.first() : "it doesn't read back as it was written");
  }
}

// Another program has an older file open, or was killed: its changes aren't in the file itself, and SQLite would take
// them for changes of the new one.
void requireNoJournal(files::WorkFolder const& folder, std::string const& file) {
  std::error_code ignored;
  for (char const* const suffix : {"-journal", "-wal"}) {
    if (fs::exists(file + suffix, ignored)) {
      folder.fail("there are changes of it in " + file + suffix);
    }
  }
}

}  // namespace

bool isGeoPackage(std::string const& file) {
  return fs::path(file).extension() == ".gpkg";
}

bool isVectorFile(std::string const& file) {
  std::string const extension = fs::path(file).extension().string();
  return isGeoPackage(file) || extension == ".geojson" || extension == ".json";
}

void writeLayers(std::string const& file, std::string const& crs, std::vector<VectorLayer> const& layers) {
  GDALAllRegister();
  Format const format = formatOf(file);
  files::WorkFolder const folder(file);
  std::string const name = std::string("new") + format.extension;
  requireNoJournal(folder, file);
  Writer(folder, name, format).write(crs, layers);
  check(folder, name, format, crs, layers);
  folder.moveOut(name);
}

}  // namespace tool
