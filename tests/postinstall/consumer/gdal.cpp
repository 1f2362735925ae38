// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/Strip.h>
#include <kesgdal/OrthoTransformer.h>

#include <cmath>
#include <exception>
#include <iostream>
#include <string>

// gdal_consumer FLIGHT: takes a pixel of a strip to a level surface and back, with the transformer that GDAL's warper
// uses.
int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  std::string const flight = argv[1];
  try {
    kes::StripOptions options;
    options.calibrations = {flight + "/calibration"};
    options.orientation = kes::Orientation::original;
    kes::Strip const strip(flight + "/project/strip_cam.stp", options);
    auto const map = kes::CoordinateSystem::wgs84Radians();
    kesgdal::OrthoTransformer const transformer(strip.band(0), map, kes::Surface::constant(map, 420.0));
    double x = 1000.5;
    double y = 120.5;
    double z = 0.0;
    int there = 0;
    int back = 0;
    kesgdal::OrthoTransformer::transform(transformer.argument(), 0, 1, &x, &y, &z, &there);
    kesgdal::OrthoTransformer::transform(transformer.argument(), 1, 1, &x, &y, &z, &back);
    double const distance = std::hypot(x - 1000.5, y - 120.5);
    std::cout << "pixel back within " << distance << " pixels\n";
    return there == 1 && back == 1 && distance < 0.1 ? 0 : 1;
  } catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
