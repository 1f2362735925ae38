// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <geo/units.h>
#include <simulation/CameraHead.h>
#include <simulation/Texture.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace simulation {

Texture::Texture() : mGeographic(geo::coordSysFactory::getInstance()->createGEO84(false, false)) {}
Texture::~Texture() = default;

double Texture::at(geo::XYZPoint const& lonLat) const {
  geo::XYZPoint position(lonLat.x, lonLat.y, 0.0);
  return geo::coordSys::transform(mGeographic.get(), &coordSystem().platform(), position, position) == 0
             ? value(position)
             : 0.0;
}

std::unique_ptr<Texture> makeTexture(FlightPlan const& plan, Terrain const& terrain) {
  if (!plan.texture.empty()) {
    return std::make_unique<RasterTexture>(plan.texture);
  }
  return std::make_unique<ShadedTexture>(terrain, plan.textureSeed, CameraHead::groundSize(plan.height));
}

namespace {

// The reason after the first colon of an elevation source's message, which speaks of an elevation model.
std::runtime_error failure(std::string const& file, std::string const& message) {
  std::string const mark = file + "\": ";
  std::size_t const place = message.find(mark);
  return std::runtime_error("can't use texture " + file + ": " +
                            (place == std::string::npos ? message : message.substr(place + mark.size())));
}

}  // namespace

RasterTexture::RasterTexture(std::string const& file) try : mFile(file), mBrightness(kes::Surface::raster(file)) {
} catch (std::runtime_error const& error) {
  throw failure(file, error.what());
}

double RasterTexture::value(geo::XYZPoint const& position) const {
  constexpr double brightest = 65535.0;
  float value = 0.0F;
  try {
    mBrightness.platform().height(position, value);
  } catch (std::runtime_error const& error) {
    throw failure(mFile, error.what());
  }
  return std::clamp(static_cast<double>(value), 0.0, brightest);
}

namespace {

constexpr int coarsestSquare = 6;  // 2^6 m
constexpr double brightest = 65535.0;
constexpr double ambient = 0.15;
constexpr double shadePart = 0.45;
constexpr double noisePart = 0.35;

// Two to four pixels, in powers of two.
int finestSquare(double pixel) {
  return static_cast<int>(std::ceil(std::log2(2.0 * pixel)));
}

geo::XYPoint step(Terrain const& terrain, geo::XYPoint const& cells) {
  geo::XYZPoint const from = terrain.position({0.0, 0.0});
  geo::XYZPoint const to = terrain.position(cells);
  return {to.x - from.x, to.y - from.y};
}

}  // namespace

ShadedTexture::ShadedTexture(Terrain const& terrain, std::uint64_t seed, double pixel)
    : mTerrain(terrain), mNoise(seed, finestSquare(pixel), coarsestSquare),
      mOrigin(terrain.position({0.5 * terrain.columns(), 0.5 * terrain.rows()})), mColumn(step(terrain, {1.0, 0.0})),
      mRow(step(terrain, {0.0, 1.0})), mUnit(coordSystem().verticalUnit().metres) {
  std::unique_ptr<geo::coordSys> const local(geo::coordSysFactory::getInstance()->createLSR84(terrain.middle()));
  double const size = std::hypot(mColumn.x, mColumn.y);
  auto const metresPerUnit = [&](double x, double y) {
    geo::XYZPoint ahead(mOrigin.x + x * size, mOrigin.y + y * size, 0.0);
    geo::XYZPoint back(mOrigin.x - x * size, mOrigin.y - y * size, 0.0);
    geo::coordSys::transform(&coordSystem().platform(), local.get(), ahead, ahead);
    geo::coordSys::transform(&coordSystem().platform(), local.get(), back, back);
    return geo::XYPoint{(ahead.x - back.x) / (2.0 * size), (ahead.y - back.y) / (2.0 * size)};
  };
  mX = metresPerUnit(1.0, 0.0);
  mY = metresPerUnit(0.0, 1.0);
}

// East and north metres of a difference in the terrain's system.
geo::XYPoint ShadedTexture::metres(double dx, double dy) const {
  return {dx * mX.x + dy * mY.x, dx * mX.y + dy * mY.y};
}

// Metres that the surface rises over a step, around a position; none where its ends aren't there.
double ShadedTexture::rise(geo::XYZPoint const& position, geo::XYPoint const& step) const {
  float ahead = 0.0F;
  float back = 0.0F;
  dsm::RasterElevationSource const& surface = mTerrain.source();
  bool const known = surface.height({position.x + 0.5 * step.x, position.y + 0.5 * step.y, 0.0}, ahead) &&
                     surface.height({position.x - 0.5 * step.x, position.y - 0.5 * step.y, 0.0}, back);
  return known ? (static_cast<double>(ahead) - static_cast<double>(back)) * mUnit : 0.0;
}

// The rises over a column and over a row are the products of the gradient (east, north) with the two steps.
double ShadedTexture::shade(geo::XYZPoint const& position) const {
  geo::XYPoint const column = metres(mColumn.x, mColumn.y);
  geo::XYPoint const row = metres(mRow.x, mRow.y);
  double const perColumn = rise(position, mColumn);
  double const perRow = rise(position, mRow);
  double const determinant = column.x * row.y - column.y * row.x;
  double const east = (perColumn * row.y - perRow * column.y) / determinant;
  double const north = (column.x * perRow - row.x * perColumn) / determinant;
  // To the sun: (-1/2, 1/2, sqrt(1/2)). The normal: (-east, -north, 1) by its length.
  double const cosine = (0.5 * east - 0.5 * north + std::sqrt(0.5)) / std::sqrt(1.0 + east * east + north * north);
  return std::max(cosine, 0.0);
}

double ShadedTexture::value(geo::XYZPoint const& position) const {
  float height = 0.0F;
  if (!mTerrain.source().height(position, height)) {
    return 0.0;
  }
  geo::XYPoint const place = metres(position.x - mOrigin.x, position.y - mOrigin.y);
  return brightest * (ambient + shadePart * shade(position) + noisePart * mNoise.at(place.x, place.y));
}

}  // namespace simulation
