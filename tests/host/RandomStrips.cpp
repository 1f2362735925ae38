// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RandomStrips.h"

#include "support/TempFolder.h"

#include <sensor/EOPData.h>
#include <simulation/CameraHead.h>
#include <simulation/StripProject.h>
#include <simulation/Terrain.h>

#include <array>
#include <cmath>
#include <map>
#include <memory>
#include <random>

namespace test {

namespace {

constexpr int CAMERAS[] = {200, 500, 800};

simulation::Terrain const& terrain() {
  static simulation::Terrain const terrain(KESSENSOR_TERRAIN);
  return terrain;
}

using Quaternion = std::array<double, 4>;

Quaternion product(Quaternion const& a, Quaternion const& b) {
  return {a[0] * b[0] - a[1] * b[1] - a[2] * b[2] - a[3] * b[3], a[0] * b[1] + a[1] * b[0] + a[2] * b[3] - a[3] * b[2],
          a[0] * b[2] - a[1] * b[3] + a[2] * b[0] + a[3] * b[1], a[0] * b[3] + a[1] * b[2] - a[2] * b[1] + a[3] * b[0]};
}

Quaternion normalised(Quaternion const& q) {
  double const length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
  return {q[0] / length, q[1] / length, q[2] / length, q[3] / length};
}

// The small rotations from the mean attitude to each record's are made larger; their angles are nearly the vector
// parts.
void roughen(std::string const& fileName, double factor) {
  sensor::EOPData data(fileName, true, true);
  Quaternion sum{};
  sensor::EOP eop;
  for (int i = 0; data.atIndex(i, eop) == 0; ++i) {
    sum = {sum[0] + eop.q0, sum[1] + eop.q1, sum[2] + eop.q2, sum[3] + eop.q3};
  }
  Quaternion const mean = normalised(sum);
  Quaternion const inverse{mean[0], -mean[1], -mean[2], -mean[3]};
  for (int i = 0; data.atIndex(i, eop) == 0; ++i) {
    Quaternion const away = product(inverse, {eop.q0, eop.q1, eop.q2, eop.q3});
    Quaternion const q = product(mean, normalised({away[0], factor * away[1], factor * away[2], factor * away[3]}));
    eop.q0 = static_cast<float>(q[0]);
    eop.q1 = static_cast<float>(q[1]);
    eop.q2 = static_cast<float>(q[2]);
    eop.q3 = static_cast<float>(q[3]);
    data.setEOP(i, eop);
  }
  data.write(fileName, 0);
}

}  // namespace

bool isRough(unsigned seed) {
  return seed % 2 == 1;
}

std::string const& calibrations() {
  static TempFolder const folder;
  static std::string const path = [] {
    for (int const samples : CAMERAS) {
      simulation::CameraHead(samples).writeCamCalibrations(folder.path());
    }
    return folder.path();
  }();
  return path;
}

std::string writeFlight(std::string const& folder, unsigned seed, int lines, double roughness) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  simulation::FlightPlan plan;
  plan.dem = KESSENSOR_TERRAIN;
  plan.seed = seed;
  plan.lines = lines;
  plan.samples = CAMERAS[seed % 3];
  plan.height = 500.0 + 3500.0 * unit(random);
  plan.heading = 360.0 * unit(random);
  simulation::FlightFiles const files =
      simulation::writeStripProject(plan, terrain(), {folder, folder}, {}, [](double) {}).files;
  if (roughness > 1.0) {
    roughen(folder + "/" + files.originalEop, roughness);
    roughen(folder + "/" + files.adjustedEop, roughness);
  }
  return folder + "/" + files.strip;
}

kes::Strip const& randomStrip(unsigned seed) {
  struct Made {
    explicit Made(unsigned seed) {
      std::string const file =
          writeFlight(folder.path(), seed, 400 + static_cast<int>(seed % 7) * 100, isRough(seed) ? 3.0 : 1.0);
      kes::StripOptions options;
      options.calibrations = {calibrations()};
      options.orientation = isNoisy(seed) ? kes::Orientation::original : kes::Orientation::adjusted;
      strip = std::make_unique<kes::Strip>(file, options);
    }
    TempFolder folder;
    std::unique_ptr<kes::Strip> strip;
  };
  static std::map<unsigned, std::unique_ptr<Made>> made;
  std::unique_ptr<Made>& entry = made[seed];
  if (entry == nullptr) {
    entry = std::make_unique<Made>(seed);
  }
  return *entry->strip;
}

std::vector<geo::XYPoint> imagePoints(kes::Band const& band, unsigned seed, std::size_t count) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> sample(-0.5, band.samples() - 0.5);
  std::uniform_real_distribution<double> line(-0.5, band.lines() - 0.5);
  std::vector<geo::XYPoint> points;
  for (std::size_t i = 0; i < count; ++i) {
    double const x = sample(random);
    points.emplace_back(x, line(random));
  }
  return points;
}

GroundResult toGround(kes::Band const& band, std::vector<geo::XYPoint> const& image,
                      kes::ToGroundOptions const& options) {
  GroundResult result{std::vector<geo::XYZPoint>(image.size()), std::vector<kes::Status>(image.size())};
  band.toGround(image, options, result.points, result.status);
  return result;
}

ImageResult toImage(kes::Band const& band, std::vector<geo::XYZPoint> const& ground,
                    kes::ToImageOptions const& options) {
  ImageResult result{std::vector<geo::XYPoint>(ground.size()), std::vector<kes::Status>(ground.size())};
  band.toImage(ground, options, result.points, result.status);
  return result;
}

kes::ToGroundOptions atHeight(double height, kes::Solver solver) {
  kes::ToGroundOptions options;
  options.heights = kes::ConstantHeight{height};
  options.solver = solver;
  return options;
}

kes::ToImageOptions by(kes::Solver solver, int threads) {
  kes::ToImageOptions options;
  options.solver = solver;
  options.threads = threads;
  return options;
}

}  // namespace test
