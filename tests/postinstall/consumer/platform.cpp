// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/XYZPoint.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <util/SkerryRoot.h>

#include <cmath>
#include <iostream>
#include <memory>

// platform_consumer PREFIX: whether the library knows where it is installed, and transforms.
int main(int argc, char** argv) {
  if (argc != 2 || util::getSkerryRoot() != argv[1]) {
    std::cerr << "installed under " << util::getSkerryRoot() << '\n';
    return 1;
  }
  auto const* const factory = geo::coordSysFactory::getInstance();
  std::unique_ptr<geo::coordSys> const local(factory->createLSR84({0.15, 0.8, 400.0}));
  std::unique_ptr<geo::coordSys> const geographic(factory->createGEO84(false, false));
  geo::XYZPoint point(0.0, 0.0, 25.0);
  bool const done = geo::coordSys::transform(local.get(), geographic.get(), point, point) == 0;
  bool const good =
      done && std::abs(point.x - 0.15) < 1e-12 && std::abs(point.y - 0.8) < 1e-12 && std::abs(point.z - 425.0) < 1e-6;
  return good ? 0 : 1;
}
