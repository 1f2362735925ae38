// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// kessensor_python_peer STRIP BAND COUNT RUNS: what python.py measures in Python, in C++. COUNT positions of a grid go
// to the ground and back; prints the least time of RUNS runs of each, nanoseconds a point, as JSON.

#include <kes/kes.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <limits>
#include <vector>

namespace {

// The positions of python.py.
std::vector<geo::XYPoint> grid(std::size_t count) {
  std::vector<geo::XYPoint> image;
  image.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    image.emplace_back(100.25 + static_cast<double>(i % 1000), 100.25 + static_cast<double>(i / 1000));
  }
  return image;
}

template <class Run>
double nanoseconds(std::size_t count, int runs, Run const& run) {
  double least = std::numeric_limits<double>::infinity();
  for (int i = 0; i < runs; ++i) {
    auto const start = std::chrono::steady_clock::now();
    run();
    std::chrono::duration<double, std::nano> const taken = std::chrono::steady_clock::now() - start;
    least = std::min(least, taken.count() / static_cast<double>(count));
  }
  return least;
}

void measure(kes::Band const& band, std::size_t count, int runs) {
  std::vector<geo::XYPoint> const image = grid(count);
  std::vector<geo::XYZPoint> ground(count);
  std::vector<geo::XYPoint> back(count);
  std::vector<kes::Status> status(count);
  char const* separator = "{";
  for (int const threads : {1, 2}) {
    kes::ToGroundOptions toGround;
    toGround.threads = threads;
    kes::ToImageOptions toImage;
    toImage.threads = threads;
    double const there = nanoseconds(count, runs, [&] { band.toGround(image, toGround, ground, status); });
    double const again = nanoseconds(count, runs, [&] { band.toImage(ground, toImage, back, status); });
    std::cout << separator << "\"to_ground " << threads << "\": " << there << ", \"to_image " << threads
              << "\": " << again;
    separator = ", ";
  }
  std::cout << "}\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::cerr << "usage: kessensor_python_peer STRIP BAND COUNT RUNS\n";
    return 2;
  }
  try {
    kes::Strip const strip(argv[1]);
    measure(strip.band(argv[2]), static_cast<std::size_t>(std::atoll(argv[3])), std::atoi(argv[4]));
    return 0;
  } catch (std::exception const& error) {
    std::cerr << "kessensor_python_peer: " << error.what() << '\n';
    return 1;
  }
}
