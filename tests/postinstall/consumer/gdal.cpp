// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <dsm/ConstantElevationSource.h>
#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kesgdal/OrthoTransformer.h>
#include <sensor/kessensor.h>

#include <cmath>
#include <exception>
#include <iostream>
#include <string>

// gdal_consumer FLIGHT: takes a pixel of a strip to a level surface and back, with the transformer that GDAL's warper uses.
int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  std::string const flight = argv[1];
  try {
    sensor::CameraFactory::instance()->addSearchPath(flight + "/calibration");
    sensor::KESStripModel const strip(flight + "/project/strip_cam.stp", true, true, false);
    dsm::ConstantElevationSource surface(strip.mappingSystem(), 420.0F);
    kesgdal::OrthoTransformer const transformer(strip, 0, &surface);
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
