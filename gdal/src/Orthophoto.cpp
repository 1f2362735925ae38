#include "MapDefinition.h"
#include "OrthoFile.h"
#include "OrthoWarper.h"
#include "SourceImage.h"
#include "Text.h"
#include "WorkFolder.h"

#include <dsm/RasterElevationSource.h>
#include <geo/coordSys.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <cmath>
#include <filesystem>
#include <kesgdal/OrthoGrid.h>
#include <kesgdal/Orthophoto.h>
#include <stdexcept>

namespace kesgdal {

namespace {

// Of all the time, about.
constexpr double warpPart = 0.85;

void requirePlan(sensor::KESStripModel const& strip, OrthoPlan const& plan) {
  if (strip.modelData() == nullptr || !strip.isDataLoaded()) {
    throw std::runtime_error("Can't orthorectify: the strip's data aren't loaded");
  }
  if (plan.bands.empty() || plan.threads < 1) {
    throw std::runtime_error("Can't orthorectify: neither bands nor threads may be none");
  }
  for (int const band : plan.bands) {
    if (band < 0 || band >= strip.numBands()) {
      throw std::runtime_error("Can't orthorectify: the strip has no band " + std::to_string(band));
    }
  }
}

// The smallest type that holds the values of all images.
GDALDataType commonType(sensor::KESStripModel const& strip, OrthoPlan const& plan) {
  GDALDataType type = GDT_Unknown;
  for (int const band : plan.bands) {
    GDALDataType const next = SourceImage(strip, band).type();
    type = type == GDT_Unknown ? next : GDALDataTypeUnion(type, next);
  }
  int isClamped = 0;
  int isRounded = 0;
  GDALAdjustValueToDataType(type, plan.noData, &isClamped, &isRounded);
  if (isClamped != 0 || isRounded != 0) {
    throw std::runtime_error("the images' type " + std::string(GDALGetDataTypeName(type)) + " can't hold the value " +
                             number(plan.noData) + " for no data");
  }
  return type;
}

OGRSpatialReference mapReference(geo::coordSys const& map) {
  OGRSpatialReference reference = spatialReferenceOf(map);
  if (reference.IsProjected() == 0 && reference.IsGeographic() == 0) {
    throw std::runtime_error("coordinate system \"" + definitionOf(map) + "\" is neither projected nor geographic");
  }
  return reference;
}

Extent extentOfAll(sensor::KESStripModel const& strip, dsm::RasterElevationSource* surface, OrthoPlan const& plan) {
  std::optional<Extent> all;
  for (int const band : plan.bands) {
    if (auto const one = footprint(strip, band, surface)) {
      all = all ? united(*all, *one) : *one;
    }
  }
  if (!all) {
    throw std::runtime_error("elevation model \"" + surface->fileName() + "\" doesn't cover the strip");
  }
  return *all;
}

// What is read must not be replaced.
void requireOtherFile(sensor::KESStripModel const& strip, dsm::RasterElevationSource const& surface,
                      OrthoPlan const& plan, std::string const& fileName) {
  std::vector<std::string> inputs{surface.fileName(), strip.modelData()->fileName()};
  for (int const band : plan.bands) {
    inputs.push_back(SourceImage::fileName(strip, band));
  }
  for (std::string const& input : inputs) {
    std::error_code ignored;
    if (std::filesystem::equivalent(input, fileName, ignored)) {
      throw std::runtime_error("can't write " + fileName + ": it is read, too");
    }
  }
}

std::vector<std::string> bandNames(sensor::KESStripModel const& strip, OrthoPlan const& plan) {
  std::vector<std::string> names;
  for (int const band : plan.bands) {
    names.push_back(strip.bandID(band));
  }
  return names;
}

void warpBands(sensor::KESStripModel const& strip, dsm::RasterElevationSource& surface, OrthoPlan const& plan,
               OrthoFormat const& format, OrthoFile& file, Progress const& progress) {
  double const share = 1.0 / static_cast<double>(plan.bands.size());
  bool seen = false;
  for (std::size_t i = 0; i < plan.bands.size(); ++i) {
    auto const partly = [&](double done) { progress(share * (static_cast<double>(i) + done)); };
    seen = warpBand(strip, plan.bands[i], surface, plan, format.grid, file, static_cast<int>(i) + 1, partly) || seen;
  }
  if (!seen) {
    throw std::runtime_error("elevation model \"" + surface.fileName() + "\" doesn't cover the strip");
  }
}

}  // namespace

void writeOrthophoto(sensor::KESStripModel const& strip, dsm::RasterElevationSource* surface, OrthoPlan const& plan,
                     std::string const& fileName, Progress const& progress) {
  GDALAllRegister();
  requirePlan(strip, plan);
  requireOtherFile(strip, *surface, plan, fileName);
  WorkFolder const folder(fileName);
  geo::coordSys const& map = *strip.mappingSystem();
  GDALDataType const type = commonType(strip, plan);
  OGRSpatialReference const reference = mapReference(map);
  OrthoGrid const grid(extentOfAll(strip, surface, plan), plan.gsd, map);
  OrthoFormat const format{grid, reference, type, plan.noData, blockSide(strip, plan)};
  auto const report = [&](double done) {
    if (progress) {
      progress(done);
    }
  };
  OrthoFile file(folder, "pixels.tif", format, bandNames(strip, plan));
  warpBands(strip, *surface, plan, format, file, [&](double done) { report(warpPart * done); });
  file.close();
  writeCog(folder, "pixels.tif", "ortho.tif", plan.threads,
           [&](double done) { report(warpPart + (1.0 - warpPart) * done); });
  folder.moveOut("ortho.tif");
}

}  // namespace kesgdal
