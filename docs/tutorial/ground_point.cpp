// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kes/kes.h>

#include <exception>
#include <iomanip>
#include <iostream>

// ground_point STRIP CALIBRATIONS: prints where the middle of a strip's first band sees the mean terrain, and which
// pixel saw it.
int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: ground_point STRIP CALIBRATIONS\n";
    return 2;
  }
  try {
    // [ten lines]
    kes::StripOptions options;
    options.calibrations = {argv[2]};
    kes::Strip const strip(argv[1], options);
    kes::Band const band = strip.band(0);
    kes::ToGroundOptions toGround;
    toGround.heights = kes::ConstantHeight{strip.meanTerrainHeight()};
    auto const [ground, status] = band.toGround({band.samples() / 2.0, band.lines() / 2.0}, toGround);
    std::cout << std::fixed << std::setprecision(3) << ground.x << ' ' << ground.y << ' ' << ground.z << ' '
              << kes::toString(status) << '\n';
    // [ten lines]
    auto const [image, imageStatus] = band.toImage(ground);
    std::cout << image.x << ' ' << image.y << ' ' << kes::toString(imageStatus) << '\n';
    return 0;
  } catch (std::exception const& error) {
    std::cerr << "ground_point: " << error.what() << '\n';
    return 1;
  }
}
