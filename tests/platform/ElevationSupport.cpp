// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ElevationSupport.h"

#include "support/Matchers.h"

#include <cpl_string.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <stdexcept>

namespace test {
namespace {

OGRSpatialReference systemOf(std::string const& definition) {
  OGRSpatialReference system;
  system.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  if (!definition.empty() && system.SetFromUserInput(definition.c_str()) != OGRERR_NONE) {
    throw std::runtime_error("no such system: " + definition);
  }
  return system;
}

void describe(GDALDataset& image, ElevationRaster const& raster) {
  image.SetGeoTransform(const_cast<double*>(raster.geoTransform.data()));
  if (!raster.system.empty()) {
    OGRSpatialReference const system = systemOf(raster.system);
    image.SetSpatialRef(&system);
  }
  GDALRasterBand& band = *image.GetRasterBand(1);
  if (raster.noData) {
    band.SetNoDataValue(*raster.noData);
  }
  if (raster.scale) {
    band.SetScale(*raster.scale);
  }
  if (raster.offset) {
    band.SetOffset(*raster.offset);
  }
  if (!raster.unit.empty()) {
    band.SetUnitType(raster.unit.c_str());
  }
}

std::map<std::string, FormulaRaster*>& formulaRasters() {
  static std::map<std::string, FormulaRaster*> rasters;
  return rasters;
}

class FormulaBand final : public GDALRasterBand {
public:
  FormulaBand(GDALDataset* dataset, FormulaRaster& raster) : mRaster(raster) {
    poDS = dataset;
    nBand = 1;
    nRasterXSize = raster.columns;
    nRasterYSize = raster.rows;
    nBlockXSize = 256;
    nBlockYSize = 256;
    eDataType = GDT_Float64;
  }

protected:
  CPLErr IReadBlock(int /*column*/, int /*row*/, void* /*to*/) override { return CE_Failure; }

  /// Past GDAL's cache of blocks, so that each reading counts.
  CPLErr IRasterIO(GDALRWFlag /*flag*/, int column, int row, int columns, int rows, void* to, int /*width*/,
                   int /*height*/, GDALDataType type, GSpacing step, GSpacing lineStep,
                   GDALRasterIOExtraArg* /*extra*/) override {
    ++mRaster.readings;
    if (++mRaster.readers > 1) {
      mRaster.haveReadersMet = true;
    }
    CPLErr const result = mRaster.fails ? CE_Failure : CE_None;
    if (mRaster.fails) {
      CPLError(CE_Failure, CPLE_FileIO, "the disk is gone");
    }
    for (int j = 0; j < rows && result == CE_None; ++j) {
      for (int i = 0; i < columns; ++i) {
        double const value = mRaster.value(column + i, row + j);
        GDALCopyWords(&value, GDT_Float64, 0, static_cast<GByte*>(to) + j * lineStep + i * step, type, 0, 1);
      }
    }
    --mRaster.readers;
    return result;
  }

private:
  FormulaRaster& mRaster;
};

class FormulaDataset final : public GDALDataset {
public:
  explicit FormulaDataset(FormulaRaster& raster) : mRaster(raster), mSystem(systemOf("EPSG:32633")) {
    nRasterXSize = raster.columns;
    nRasterYSize = raster.rows;
    if (raster.hasBand) {
      SetBand(1, new FormulaBand(this, raster));
    }
  }
  CPLErr GetGeoTransform(double* to) override {
    std::copy(mRaster.geoTransform.begin(), mRaster.geoTransform.end(), to);
    return CE_None;
  }
  OGRSpatialReference const* GetSpatialRef() const override { return &mSystem; }

private:
  FormulaRaster& mRaster;
  OGRSpatialReference mSystem;
};

int identify(GDALOpenInfo* info) {
  return formulaRasters().count(info->pszFilename) != 0 ? TRUE : FALSE;
}

GDALDataset* open(GDALOpenInfo* info) {
  auto const found = formulaRasters().find(info->pszFilename);
  return found != formulaRasters().end() ? new FormulaDataset(*found->second) : nullptr;
}

void registerDriver() {
  static std::once_flag once;
  std::call_once(once, [] {
    GDALAllRegister();
    auto driver = std::make_unique<GDALDriver>();
    driver->SetDescription("Formula");
    driver->SetMetadataItem(GDAL_DCAP_RASTER, "YES");
    driver->pfnIdentify = identify;
    driver->pfnOpen = open;
    GetGDALDriverManager()->RegisterDriver(driver.release());
  });
}

}  // namespace

std::string ElevationRaster::write(TempFolder const& folder, std::string const& name) const {
  GDALAllRegister();
  CPLStringList list;
  for (std::string const& option : options) {
    list.AddString(option.c_str());
  }
  std::string path = folder / name;
  auto* const format = GetGDALDriverManager()->GetDriverByName(driver.c_str());
  GDALDatasetUniquePtr const image(format->Create(path.c_str(), columns, rows, bands, type, list.List()));
  if (!image) {
    throw std::runtime_error("can't make " + path);
  }
  describe(*image, *this);
  CPLErr const result = image->GetRasterBand(1)->RasterIO(
      GF_Write, 0, 0, columns, rows, const_cast<double*>(values.data()), columns, rows, GDT_Float64, 0, 0, nullptr);
  if (result != CE_None) {
    throw std::runtime_error("can't write " + path);
  }
  if (finish) {
    finish(*image);
  }
  return path;
}

std::optional<float> heightAt(dsm::ProjectedElevationSource const& source, geo::XYZPoint const& position) {
  constexpr float UNTOUCHED = -12345.0F;
  float height = UNTOUCHED;
  if (source.height(position, height)) {
    return height;
  }
  EXPECT_THAT(height, SameBits(UNTOUCHED));
  return std::nullopt;
}

FormulaRaster::FormulaRaster(int columnCount, int rowCount, std::function<double(int, int)> valueAt)
    : columns(columnCount), rows(rowCount), value(std::move(valueAt)) {
  static std::atomic<int> last{0};
  registerDriver();
  mName = "FORMULA:" + std::to_string(++last);
  formulaRasters()[mName] = this;
}

FormulaRaster::~FormulaRaster() {
  formulaRasters().erase(mName);
}

}  // namespace test
