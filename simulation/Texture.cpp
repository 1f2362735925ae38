// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <simulation/CameraHead.h>
#include <simulation/RasterTexture.h>
#include <simulation/ShadedTexture.h>
#include <simulation/Texture.h>

namespace simulation {

Texture::Texture() : mGeographic(geo::coordSysFactory::getInstance()->createGEO84(false, false)) {}
Texture::~Texture() = default;

double Texture::at(geo::XYZPoint const& lonLat) const {
  geo::XYZPoint position(lonLat.x, lonLat.y, 0.0);
  return geo::coordSys::transform(mGeographic.get(), &coordSystem(), position, position) == 0 ? value(position) : 0.0;
}

std::unique_ptr<Texture> makeTexture(FlightPlan const& plan, Terrain const& terrain) {
  if (!plan.texture.empty()) {
    return std::make_unique<RasterTexture>(plan.texture);
  }
  return std::make_unique<ShadedTexture>(terrain, plan.textureSeed, CameraHead::groundSize(plan.height));
}

}  // namespace simulation
