// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <sensor/kessensor.h>

#include <cmath>
#include <exception>
#include <iostream>
#include <string>

// consumer FLIGHT: loads a strip of the flight in that folder and goes from the image to the ground and back.
int main(int argc, char** argv) {
  if (argc != 2 || sensor::seconds(2.5).value() != 2.5) {
    return 2;
  }
  std::string const flight = argv[1];
  try {
    sensor::CameraFactory::instance()->addSearchPath(flight + "/calibration");
    sensor::KESStripModel const strip(flight + "/project/strip_cam.stp", true, true, false);
    geo::XYPoint const image(1000.0, 120.0);
    geo::XYZPoint ground;
    geo::XYPoint back;
    strip.imageToLsr(image, 0.0F, 0, ground);
    strip.lsrToImage(ground, 0, back);
    double const distance = std::hypot(back.x - image.x, back.y - image.y);
    std::cout << "back within " << distance << " pixels\n";
    return distance < 0.1 ? 0 : 1;
  } catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
