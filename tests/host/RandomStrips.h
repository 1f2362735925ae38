// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/kes.h>

#include <cstddef>
#include <string>
#include <vector>

namespace test {

/// Flights that follow from their seeds, as strips on disk: of another heading, height and camera each, with bands
/// whose rate changes, with TDI stages and integration times that step, with reverse lines, swaths and offsets. Every
/// second one goes through air three times as turbulent as usual.
inline constexpr unsigned FLIGHTS = 40;
/// Bands of such a flight: all lines at one rate; a rate that changes twice; TDI stages and integration times that
/// step; an offset; a reverse line.
inline constexpr char const* BANDS[] = {"PANN00A", "NIRF16A", "REDF16A", "GRNF16A", "PANB14A"};

bool isRough(unsigned seed);
/// Seeds of further flights, of their original orientation, which scatters ten times as much from record to record:
/// there the view often goes back over the ground, and the library's forms, which ask for none of it, may lose their
/// way.
inline constexpr unsigned NOISY_FLIGHTS_END = 60;
inline bool isNoisy(unsigned seed) {
  return seed >= FLIGHTS;
}
/// The strip of a seed; written at the first call for it.
kes::Strip const& randomStrip(unsigned seed);

/// Writes the flight of a seed with other lines than those above into a folder that is there; the path of its strip
/// file.
std::string writeFlight(std::string const& folder, unsigned seed, int lines, double roughness);
/// The folder with the cameras of all such flights.
std::string const& calibrations();

/// Positions all over an image, up to its outer edges, in no order.
std::vector<geo::XYPoint> imagePoints(kes::Band const& band, unsigned seed, std::size_t count);

/// What a call returned.
struct GroundResult {
  std::vector<geo::XYZPoint> points;
  std::vector<kes::Status> status;
};
struct ImageResult {
  std::vector<geo::XYPoint> points;
  std::vector<kes::Status> status;
};
GroundResult toGround(kes::Band const& band, std::vector<geo::XYPoint> const& image,
                      kes::ToGroundOptions const& options);
ImageResult toImage(kes::Band const& band, std::vector<geo::XYZPoint> const& ground,
                    kes::ToImageOptions const& options = {});

kes::ToGroundOptions atHeight(double height, kes::Solver solver = kes::Solver::precise);
kes::ToImageOptions by(kes::Solver solver, int threads = 1);

}  // namespace test
