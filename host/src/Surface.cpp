// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Checks.h"
#include "SurfaceSource.h"

#include <geo/coordSys.h>
#include <kes/Surface.h>

#include <algorithm>
#include <utility>

namespace kes {

namespace detail {

SurfaceSource::SurfaceSource(CoordinateSystem system, double height)
    : mSystem(std::move(system)), mHeight(height),
      mConstant(std::make_unique<dsm::ConstantElevationSource const>(&mSystem.platform(), static_cast<float>(height))) {
}

// The system belongs to the raster, so that it shares the raster's life.
SurfaceSource::SurfaceSource(std::shared_ptr<dsm::RasterElevationSource const> raster)
    : mSystem(CoordinateSystem::of(std::shared_ptr<geo::coordSys const>(raster, raster->coordSystem()))),
      mRaster(std::move(raster)) {}

SurfaceSource::SurfaceSource(std::shared_ptr<dsm::ProjectedElevationSource const> source,
                             Surface::HeightRange const& heights, double spacing)
    : mSystem(CoordinateSystem::of(std::shared_ptr<geo::coordSys const>(source, source->coordSystem()))),
      mOfHost(std::move(source)), mHeights(heights), mSpacing(spacing) {}

dsm::ProjectedElevationSource const& SurfaceSource::platform() const {
  if (mRaster) {
    return *mRaster;
  }
  return mOfHost ? *mOfHost : *mConstant;
}

double SurfaceSource::height(geo::XYZPoint const& position) const {
  if (!std::isfinite(position.x) || !std::isfinite(position.y)) {
    return NAN_VALUE;
  }
  if (!mRaster && !mOfHost) {
    return mHeight;
  }
  float height = 0.0F;
  return platform().height(position, height) ? static_cast<double>(height) : NAN_VALUE;
}

std::optional<Surface::HeightRange> SurfaceSource::heightRange() const {
  if (mOfHost) {
    return mHeights;
  }
  if (!mRaster) {
    return Surface::HeightRange{mHeight, mHeight};
  }
  auto const range = mRaster->heightRange();
  if (!range) {
    return std::nullopt;
  }
  return Surface::HeightRange{static_cast<double>(range->lowest), static_cast<double>(range->highest)};
}

}  // namespace detail

Surface::Surface(std::shared_ptr<detail::SurfaceSource const> source) : mSource(std::move(source)) {}

Surface Surface::constant(CoordinateSystem const& system, double height) {
  if (!std::isfinite(height)) {
    throw std::invalid_argument("the height isn't finite");
  }
  return Surface(std::make_shared<detail::SurfaceSource const>(system, height));
}

Surface Surface::raster(std::string const& fileName) {
  return raster(fileName, dsm::RasterElevationSource::DEFAULT_CACHE_SIZE);
}

Surface Surface::raster(std::string const& fileName, std::size_t cacheSize) {
  return raster(fileName, VerticalDatum{}, cacheSize);
}

Surface Surface::raster(std::string const& fileName, VerticalDatum const& vertical) {
  return raster(fileName, vertical, dsm::RasterElevationSource::DEFAULT_CACHE_SIZE);
}

Surface Surface::raster(std::string const& fileName, VerticalDatum const& vertical, std::size_t cacheSize) {
  return Surface(std::make_shared<detail::SurfaceSource const>(std::make_shared<dsm::RasterElevationSource const>(
      fileName, cacheSize, util::Origin::user, vertical.definition)));
}

Surface Surface::of(std::shared_ptr<dsm::ProjectedElevationSource const> source, HeightRange const& heights,
                    double spacing) {
  if (!source) {
    throw std::invalid_argument("an elevation source is missing");
  }
  if (!std::isfinite(heights.lowest) || !std::isfinite(heights.highest) || heights.lowest > heights.highest) {
    throw std::invalid_argument("the range of heights isn't one");
  }
  if (!std::isfinite(spacing) || spacing <= 0.0) {
    throw std::invalid_argument("the spacing of heights isn't above 0");
  }
  return Surface(std::make_shared<detail::SurfaceSource const>(std::move(source), heights, spacing));
}

std::string Surface::fileName() const {
  return mSource->raster() != nullptr ? mSource->raster()->fileName() : std::string();
}

CoordinateSystem const& Surface::coordinateSystem() const {
  return mSource->system();
}

bool Surface::hasVerticalDatum() const {
  return mSource->raster() == nullptr || mSource->raster()->hasVerticalDatum();
}

std::optional<Surface::HeightRange> Surface::heightRange() const {
  return mSource->heightRange();
}

std::size_t Surface::heights(std::span<geo::XYZPoint const> positions, std::span<double> heights,
                             std::span<Status> status) const {
  detail::requireSize(heights, positions.size());
  detail::requireSizeOrNone(status, positions.size());
  std::size_t known = 0;
  for (std::size_t i = 0; i < positions.size(); ++i) {
    heights[i] = mSource->height(positions[i]);
    bool const hasHeight = !std::isnan(heights[i]);
    known += hasHeight ? 1 : 0;
    if (!status.empty()) {
      bool const isPlace = std::isfinite(positions[i].x) && std::isfinite(positions[i].y);
      status[i] = hasHeight ? Status::ok : isPlace ? Status::noSurface : Status::notFinite;
    }
  }
  return known;
}

dsm::ProjectedElevationSource const& Surface::platform() const {
  return mSource->platform();
}

}  // namespace kes
