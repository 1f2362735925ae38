// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "images/FootprintFile.h"

#include "GdalErrors.h"
#include "files/WorkFolder.h"

#include <ogrsf_frmts.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr char layerName[] = "footprints";
constexpr char const* textFields[] = {"strip", "band"};
constexpr char const* numberFields[] = {"gsd", "start", "end", "look", "complete"};

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
  return fs::path(file).extension() == ".gpkg" ? Format{"GPKG", ".gpkg", "GEOMETRY_NAME=geom", 0.0, 0.0}
                                               : Format{"GeoJSON", ".geojson", "RFC7946=YES", 0.51e-7, 0.51e-3};
}

OGRSpatialReference wgs84() {
  OGRSpatialReference reference;
  reference.importFromEPSG(4979);
  reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  return reference;
}

OGRPolygon polygonOf(Footprint const& footprint) {
  OGRLinearRing ring;
  for (geo::XYZPoint const& point : footprint.points) {
    ring.addPoint(point.x, point.y, point.z);
  }
  OGRPolygon polygon;
  polygon.addRing(&ring);
  return polygon;
}

std::vector<geo::XYZPoint> pointsOf(OGRPolygon const& polygon) {
  std::vector<geo::XYZPoint> points;
  OGRLinearRing const& ring = *polygon.getExteriorRing();
  for (int i = 0; i < ring.getNumPoints(); ++i) {
    points.emplace_back(ring.getX(i), ring.getY(i), ring.getZ(i));
  }
  return points;
}

std::vector<double> numbersOf(Footprint const& footprint) {
  return {footprint.gsd, footprint.start, footprint.end, footprint.look, footprint.complete};
}

// Writes the file in a work folder. Each step throws when GDAL reports a failure, whatever it returns.
class Writer {
public:
  Writer(files::WorkFolder const& folder, std::string const& name, Format const& format)
      : mFolder(folder), mName(name), mFormat(format) {}

  void write(std::vector<Footprint> const& footprints) {
    GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName(mFormat.driver);
    require(driver != nullptr);
    mData.reset(driver->Create((mFolder / mName).c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    require(mData != nullptr);
    OGRSpatialReference reference = wgs84();
    char const* options[] = {mFormat.layerOption, nullptr};
    OGRLayer* const layer = mData->CreateLayer(layerName, &reference, wkbPolygon25D, const_cast<char**>(options));
    require(layer != nullptr);
    addFields(*layer);
    for (Footprint const& footprint : footprints) {
      addFeature(*layer, footprint);
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

  void addFields(OGRLayer& layer) const {
    for (char const* const name : textFields) {
      OGRFieldDefn field(name, OFTString);
      require(layer.CreateField(&field) == OGRERR_NONE);
    }
    for (char const* const name : numberFields) {
      OGRFieldDefn field(name, OFTReal);
      require(layer.CreateField(&field) == OGRERR_NONE);
    }
  }

  void addFeature(OGRLayer& layer, Footprint const& footprint) const {
    OGRPolygon const polygon = polygonOf(footprint);
    OGRFeatureUniquePtr const feature(OGRFeature::CreateFeature(layer.GetLayerDefn()));
    require(feature->SetGeometry(&polygon) == OGRERR_NONE);
    feature->SetField("strip", footprint.strip.c_str());
    feature->SetField("band", footprint.band.c_str());
    std::vector<double> const numbers = numbersOf(footprint);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      feature->SetField(numberFields[i], numbers[i]);
    }
    require(layer.CreateFeature(feature.get()) == OGRERR_NONE);
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

  bool holds(std::vector<Footprint> const& footprints) {
    OGRLayer* const layer = mData.GetLayerCount() == 1 ? mData.GetLayer(0) : nullptr;
    if (layer == nullptr || layer->GetName() != std::string(layerName) || !hasReference(*layer) || !isSound() ||
        !hasIndex(*layer, footprints)) {
      return false;
    }
    layer->ResetReading();
    for (Footprint const& footprint : footprints) {
      OGRFeatureUniquePtr const feature(layer->GetNextFeature());
      if (!feature || !hasAttributes(*feature, footprint) || !hasOutline(feature->GetGeometryRef(), footprint)) {
        return false;
      }
    }
    return OGRFeatureUniquePtr(layer->GetNextFeature()) == nullptr;
  }

private:
  bool isDatabase() const { return mFormat.driver == std::string("GPKG"); }

  // GeoJSON is in WGS 84 always and doesn't say so.
  bool hasReference(OGRLayer& layer) const {
    OGRSpatialReference const expected = wgs84();
    return !isDatabase() || (layer.GetSpatialRef() != nullptr && layer.GetSpatialRef()->IsSame(&expected) != 0);
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
  static bool areNear(OGREnvelope const& a, OGREnvelope const& b) {
    constexpr double tolerance = 1e-12;  // degrees
    return std::abs(a.MinX - b.MinX) <= tolerance && std::abs(a.MinY - b.MinY) <= tolerance &&
           std::abs(a.MaxX - b.MaxX) <= tolerance && std::abs(a.MaxY - b.MaxY) <= tolerance;
  }

  // The spatial index finds each feature in its place, and the layer's extent covers all.
  bool hasIndex(OGRLayer& layer, std::vector<Footprint> const& footprints) const {
    if (!isDatabase()) {
      return true;
    }
    OGREnvelope all;
    for (Footprint const& footprint : footprints) {
      OGREnvelope one;
      polygonOf(footprint).getEnvelope(&one);
      all.Merge(one);
    }
    OGREnvelope extent;
    bool isThere = footprints.empty() || (layer.GetExtent(&extent, FALSE) == OGRERR_NONE && areNear(extent, all));
    layer.SetSpatialFilterRect(all.MinX, all.MinY, all.MaxX, all.MaxY);
    isThere = isThere && (footprints.empty() || layer.GetFeatureCount() == static_cast<GIntBig>(footprints.size()));
    layer.SetSpatialFilter(nullptr);
    return isThere && layer.TestCapability(OLCFastSpatialFilter) != 0;
  }

  static bool hasAttributes(OGRFeature& feature, Footprint const& footprint) {
    std::vector<double> const numbers = numbersOf(footprint);
    bool isSame = feature.GetFieldCount() == static_cast<int>(std::size(textFields) + numbers.size()) &&
                  feature.GetFieldAsString("strip") == footprint.strip &&
                  feature.GetFieldAsString("band") == footprint.band;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      isSame = isSame && feature.GetFieldAsDouble(numberFields[i]) == numbers[i];
    }
    return isSame;
  }

  bool isNear(geo::XYZPoint const& point, geo::XYZPoint const& expected) const {
    return std::abs(point.x - expected.x) <= mFormat.angleTolerance &&
           std::abs(point.y - expected.y) <= mFormat.angleTolerance &&
           std::abs(point.z - expected.z) <= mFormat.heightTolerance;
  }

  // GeoJSON's rings run counterclockwise.
  bool isOutline(OGRPolygon const& polygon, Footprint const& footprint) const {
    auto const same = [this](geo::XYZPoint const& a, geo::XYZPoint const& b) { return isNear(a, b); };
    std::vector<geo::XYZPoint> const points = pointsOf(polygon);
    std::vector<geo::XYZPoint> const& expected = footprint.points;
    return polygon.getNumInteriorRings() == 0 &&
           (std::equal(points.begin(), points.end(), expected.begin(), expected.end(), same) ||
            std::equal(points.rbegin(), points.rend(), expected.begin(), expected.end(), same));
  }

  // GeoJSON cuts an outline where it crosses the antimeridian.
  bool isCutOutline(OGRMultiPolygon const& parts, Footprint const& footprint) const {
    std::vector<geo::XYZPoint> points;
    for (OGRPolygon const* const part : parts) {
      std::vector<geo::XYZPoint> const more = pointsOf(*part);
      points.insert(points.end(), more.begin(), more.end());
    }
    return std::all_of(footprint.points.begin(), footprint.points.end(), [&](geo::XYZPoint const& expected) {
      return std::any_of(points.begin(), points.end(),
                         [&](geo::XYZPoint const& point) { return isNear(point, expected); });
    });
  }

  bool hasOutline(OGRGeometry const* geometry, Footprint const& footprint) const {
    if (geometry == nullptr || geometry->IsEmpty() != 0) {
      return false;
    }
    switch (wkbFlatten(geometry->getGeometryType())) {
    case wkbPolygon:
      return isOutline(*geometry->toPolygon(), footprint);
    case wkbMultiPolygon:
      return !isDatabase() && isCutOutline(*geometry->toMultiPolygon(), footprint);
    default:
      return false;
    }
  }

  GDALDataset& mData;
  Format const& mFormat;
};

// Throws unless the file, opened again, holds what was written.
void check(files::WorkFolder const& folder, std::string const& name, Format const& format,
           std::vector<Footprint> const& footprints) {
  kesgdal::GdalErrors const errors;
  GDALDatasetUniquePtr data(GDALDataset::Open((folder / name).c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
  bool const isWhole = data && Check(*data, format).holds(footprints);
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

bool isFootprintFile(std::string const& file) {
  std::string const extension = fs::path(file).extension().string();
  return extension == ".geojson" || extension == ".json" || extension == ".gpkg";
}

void writeFootprints(std::string const& file, std::vector<Footprint> const& footprints) {
  GDALAllRegister();
  Format const format = formatOf(file);
  files::WorkFolder const folder(file);
  std::string const name = std::string("new") + format.extension;
  requireNoJournal(folder, file);
  Writer(folder, name, format).write(footprints);
  check(folder, name, format, footprints);
  folder.moveOut(name);
}

}  // namespace tool
