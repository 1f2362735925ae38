#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>

#include <gdal_priv.h>

#include <cmath>
#include <simulation/Terrain.h>
#include <stdexcept>

namespace simulation {

Terrain::Terrain(std::string const& file) : mFile(file) {
  GDALAllRegister();
  GDALDatasetUniquePtr const data(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
  if (!data || data->GetRasterCount() < 1) {
    throw std::runtime_error("can't open elevation model " + file);
  }
  mWidth = data->GetRasterXSize();
  mHeight = data->GetRasterYSize();
  if (data->GetGeoTransform(mToMap) != CE_None || !GDALInvGeoTransform(mToMap, mToRaster) || !data->GetSpatialRef()) {
    throw std::runtime_error("elevation model has no place on the ground: " + file);
  }
  geo::coordSysFactory const* factory = geo::coordSysFactory::getInstance();
  mSystem.reset(factory->createCoordSys(std::string(data->GetProjectionRef())));
  mGeographic.reset(factory->createGEO84(false, false));
  GDALRasterBand* band = data->GetRasterBand(1);
  mHeights.resize(static_cast<std::size_t>(mWidth) * static_cast<std::size_t>(mHeight));
  if (band->RasterIO(GF_Read, 0, 0, mWidth, mHeight, mHeights.data(), mWidth, mHeight, GDT_Float32, 0, 0) != CE_None) {
    throw std::runtime_error("can't read elevation model " + file);
  }
  int hasNoData = 0;
  double const noData = band->GetNoDataValue(&hasNoData);
  if (hasNoData != 0) {
    mNoData = static_cast<float>(noData);
  }
}

Terrain::~Terrain() = default;

geo::XYZPoint Terrain::middle() const {
  double x = 0.0;
  double y = 0.0;
  GDALApplyGeoTransform(const_cast<double*>(mToMap), 0.5 * mWidth, 0.5 * mHeight, &x, &y);
  geo::XYZPoint point(x, y, 0.0);
  if (geo::coordSys::transform(mSystem.get(), mGeographic.get(), point, point) != 0) {
    throw std::runtime_error("elevation model has no place on the ground: " + mFile);
  }
  return point;
}

std::optional<double> Terrain::height(geo::XYZPoint const& lonLat) const {
  geo::XYZPoint point(lonLat.x, lonLat.y, 0.0);
  if (geo::coordSys::transform(mGeographic.get(), mSystem.get(), point, point) != 0) {
    return std::nullopt;
  }
  double column = 0.0;
  double row = 0.0;
  GDALApplyGeoTransform(const_cast<double*>(mToRaster), point.x, point.y, &column, &row);
  if (!(column >= 0 && row >= 0 && column < mWidth && row < mHeight)) {
    return std::nullopt;
  }
  float const value =
      mHeights[static_cast<std::size_t>(row) * static_cast<std::size_t>(mWidth) + static_cast<std::size_t>(column)];
  if (!std::isfinite(value) || value == mNoData) {
    return std::nullopt;
  }
  return static_cast<double>(value);
}

}  // namespace simulation
