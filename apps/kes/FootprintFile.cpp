#include "FootprintFile.h"

#include "NameBeside.h"

#include <ogrsf_frmts.h>

#include <filesystem>
#include <stdexcept>

namespace kes {

namespace {

namespace fs = std::filesystem;

constexpr char layerName[] = "footprints";

struct Format {
  char const* driver;
  char const* layerOption;
};

Format formatOf(std::string const& file) {
  return fs::path(file).extension() == ".gpkg" ? Format{"GPKG", "GEOMETRY_NAME=geom"}
                                               : Format{"GeoJSON", "RFC7946=YES"};
}

// Runs with GDAL's messages kept for the exception in place of printed.
class QuietErrors {
public:
  QuietErrors() {
    CPLPushErrorHandler(CPLQuietErrorHandler);
    CPLErrorReset();
  }
  ~QuietErrors() { CPLPopErrorHandler(); }
  QuietErrors(QuietErrors const&) = delete;
  QuietErrors& operator=(QuietErrors const&) = delete;
};

[[noreturn]] void fail(std::string const& file) {
  std::string const reason = CPLGetLastErrorMsg();
  throw std::runtime_error("can't write " + file + (reason.empty() ? "" : ": " + reason));
}

void addFields(OGRLayer& layer, std::string const& file) {
  for (char const* name : {"strip", "band"}) {
    OGRFieldDefn field(name, OFTString);
    if (layer.CreateField(&field) != OGRERR_NONE) {
      fail(file);
    }
  }
  for (char const* name : {"gsd", "start", "end"}) {
    OGRFieldDefn field(name, OFTReal);
    if (layer.CreateField(&field) != OGRERR_NONE) {
      fail(file);
    }
  }
}

void addFeature(OGRLayer& layer, Footprint const& footprint, std::string const& file) {
  OGRLinearRing ring;
  for (geo::XYZPoint const& point : footprint.points) {
    ring.addPoint(point.x, point.y, point.z);
  }
  OGRPolygon polygon;
  polygon.addRing(&ring);
  OGRFeatureUniquePtr const feature(OGRFeature::CreateFeature(layer.GetLayerDefn()));
  feature->SetGeometry(&polygon);
  feature->SetField("strip", footprint.strip.c_str());
  feature->SetField("band", footprint.band.c_str());
  feature->SetField("gsd", footprint.gsd);
  feature->SetField("start", footprint.start);
  feature->SetField("end", footprint.end);
  if (layer.CreateFeature(feature.get()) != OGRERR_NONE) {
    fail(file);
  }
}

void fill(std::string const& name, std::string const& file, std::vector<Footprint> const& footprints) {
  Format const format = formatOf(file);
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName(format.driver);
  GDALDatasetUniquePtr data(driver == nullptr ? nullptr : driver->Create(name.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
  if (!data) {
    fail(file);
  }
  OGRSpatialReference wgs84;
  wgs84.importFromEPSG(4979);
  wgs84.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  char const* options[] = {format.layerOption, nullptr};
  OGRLayer* const layer = data->CreateLayer(layerName, &wgs84, wkbPolygon25D, const_cast<char**>(options));
  if (layer == nullptr) {
    fail(file);
  }
  addFields(*layer, file);
  for (Footprint const& footprint : footprints) {
    addFeature(*layer, footprint, file);
  }
  // What goes wrong at the end shows only here.
  CPLErrorReset();
  data.reset();
  if (CPLGetLastErrorType() >= CE_Failure) {
    fail(file);
  }
}

// Whether all that was written can be read.
bool isWhole(std::string const& name, std::size_t count) {
  GDALDatasetUniquePtr const data(GDALDataset::Open(name.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
  if (!data || data->GetLayerCount() != 1) {
    return false;
  }
  std::size_t read = 0;
  for (auto const& feature : data->GetLayer(0)) {
    read += feature->GetGeometryRef() != nullptr && !feature->GetGeometryRef()->IsEmpty();
  }
  return read == count;
}

}  // namespace

bool isFootprintFile(std::string const& file) {
  std::string const extension = fs::path(file).extension().string();
  return extension == ".geojson" || extension == ".json" || extension == ".gpkg";
}

void writeFootprints(std::string const& file, std::vector<Footprint> const& footprints) {
  GDALAllRegister();
  QuietErrors const quiet;
  NameBeside const beside(file);
  fill(beside.name(), file, footprints);
  if (!isWhole(beside.name(), footprints.size()) || !beside.replaceFile()) {
    fail(file);
  }
}

}  // namespace kes
