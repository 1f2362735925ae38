// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// kessensor_kernels STRIP CALIBRATIONS KERNEL COUNT: runs one projection on COUNT points of a grid, for tools that
// count instructions. What a point costs is the difference of two counts, which leaves the loading out.

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/kes.h>
#include <sensor/kessensor.h>

#include <cmath>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <string>

namespace {

using sensor::KESStripModel;

constexpr int band = 0;

// Points of a grid of a thousand columns, a pixel and a line apart.
struct Points {
  std::vector<geo::XYPoint> image;
  std::vector<geo::XYZPoint> ground;

  Points(KESStripModel const& strip, int count) {
    auto const height = static_cast<float>(strip.meanTerrainHeight());
    for (int i = 0; i < count; ++i) {
      image.emplace_back(500.0 + i % 1000, 100.0 + i / 1000.0);
      ground.emplace_back();
      strip.imageToLsr(image.back(), height, band, ground.back());
    }
  }
};

using Kernel = std::function<void(KESStripModel const&, kes::Band const&, Points&)>;

std::map<std::string, Kernel> kernels() {
  return {{"none", [](KESStripModel const&, kes::Band const&, Points&) {}},
          {"imageToLsr",
           [](KESStripModel const& strip, kes::Band const&, Points& points) {
             for (std::size_t i = 0; i < points.image.size(); ++i) {
               strip.imageToLsr(points.image[i], 0.0F, band, points.ground[i]);
             }
           }},
          {"lsrToImage",
           [](KESStripModel const& strip, kes::Band const&, Points& points) {
             for (std::size_t i = 0; i < points.image.size(); ++i) {
               strip.lsrToImage(points.ground[i], band, points.image[i]);
             }
           }},
          {"lsrToImage-run", [](KESStripModel const& strip, kes::Band const&,
                                Points& points) { strip.lsrToImage(points.ground, band, points.image); }},
          {"lsrToImageSSE", [](KESStripModel const& strip, kes::Band const&,
                               Points& points) { strip.lsrToImageSSE(points.ground, band, points.image); }},
          // What is prepared at the first use is the same for any count.
          {"precise-toImage",
           [](KESStripModel const&, kes::Band const& precise, Points& points) {
             for (std::size_t i = 0; i < points.image.size(); ++i) {
               points.image[i] = precise.toImage(points.ground[i]).position;
             }
           }},
          {"precise-toImage-run",
           [](KESStripModel const&, kes::Band const& precise, Points& points) {
             std::vector<kes::Status> status(points.image.size());
             precise.toImage(points.ground, {}, points.image, status);
           }},
          {"precise-toGround-run", [](KESStripModel const&, kes::Band const& precise, Points& points) {
             std::vector<kes::Status> status(points.image.size());
             precise.toGround(points.image, {}, points.ground, status);
           }}};
}

}  // namespace

int main(int argc, char** argv) {
  auto const known = kernels();
  auto const kernel = argc == 5 ? known.find(argv[3]) : known.end();
  int const count = argc == 5 ? std::atoi(argv[4]) : 0;
  if (kernel == known.end() || count < 1) {
    std::cerr << "usage: kessensor_kernels STRIP CALIBRATIONS KERNEL COUNT\nkernels:";
    for (auto const& [name, run] : known) {
      std::cerr << ' ' << name;
    }
    std::cerr << '\n';
    return 2;
  }
  try {
    sensor::CameraFactory::instance()->addSearchPath(argv[2]);
    KESStripModel const strip(argv[1], true, false, false);
    Points points(strip, count);
    kes::Strip const host(argv[1]);
    kernel->second(strip, host.band(band), points);
    return std::isnan(points.image[0].x) ? 1 : 0;
  } catch (std::exception const& error) {
    std::cerr << "kessensor_kernels: " << error.what() << '\n';
    return 1;
  }
}
