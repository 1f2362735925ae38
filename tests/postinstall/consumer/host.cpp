// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kes/kes.h>

#include <cmath>
#include <exception>
#include <iostream>
#include <string>

// host_consumer FLIGHT: goes from the image of a strip to the ground and back.
int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  std::string const flight = argv[1];
  try {
    kes::StripOptions options;
    options.calibrations = {flight + "/calibration"};
    kes::Strip const strip(flight + "/project/strip_cam.stp", options);
    kes::Band const band = strip.band(0);
    auto const [ground, status] = band.toGround(geo::XYPoint(1000.0, 120.0), {});
    auto const [image, imageStatus] = band.toImage(ground);
    double const distance = std::hypot(image.x - 1000.0, image.y - 120.0);
    std::cout << "back within " << distance << " pixels\n";
    return status == kes::Status::ok && imageStatus == kes::Status::ok && distance < 1e-6 ? 0 : 1;
  } catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
