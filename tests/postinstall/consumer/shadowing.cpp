// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kes/kes.h>
#include <kesgdal/OrthoTransformer.h>
#include <kesgdal/Orthophoto.h>
#include <kessensor/dsm/ConstantElevationSource.h>
#include <kessensor/geo/XYZPoint.h>
#include <kessensor/geo/coordSys.h>
#include <kessensor/geo/coordSysFactory.h>
#include <sensor/kessensor.h>

#include <memory>

// shadowing_consumer: the height of a level surface, from headers whose names the host uses, too.
int main() {
  std::unique_ptr<geo::coordSys> const local(geo::coordSysFactory::getInstance()->createLSR84({0.15, 0.8, 400.0}));
  dsm::ConstantElevationSource const level(local.get(), 25.0F);
  float height = 0.0F;
  return level.height(geo::XYZPoint(1.0, 2.0, 3.0), height) && height == 25.0F ? 0 : 1;
}
