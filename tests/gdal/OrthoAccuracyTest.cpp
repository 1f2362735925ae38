// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoSupport.h"
#include "simulation/RenderSupport.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

// Orthophotos of rendered images against the texture on the ground, and against one another, by least-squares matching.

namespace {

using test::Raster;
using Function = std::function<double(double, double)>;

constexpr int parameters = 4;
using Normal = std::array<std::array<double, parameters + 1>, parameters>;

// Solves normal equations, the last column of which is the right side, by Gauss and Jordan.
std::array<double, parameters> solved(Normal n) {
  for (std::size_t i = 0; i < parameters; ++i) {
    for (std::size_t j = 0; j < parameters; ++j) {
      double const factor = j == i ? 0.0 : n[j][i] / n[i][i];
      for (std::size_t k = i; k <= parameters && j != i; ++k) {
        n[j][k] -= factor * n[i][k];
      }
    }
  }
  return {n[0][4] / n[0][0], n[1][4] / n[1][1], n[2][4] / n[2][2], n[3][4] / n[3][3]};
}

struct Patch {
  int column;
  int row;
  int radius;
};

// How far, in pixels, a function lies off that of a raster in a patch: f(x + dx, y + dy) a + b is as near to the raster
// as can be. NaN where the patch has holes.
double offset(Raster const& raster, Patch const& patch, Function const& f) {
  double dx = 0.0;
  double dy = 0.0;
  for (int pass = 0; pass < 6; ++pass) {
    Normal normal{};
    for (int row = patch.row - patch.radius; row <= patch.row + patch.radius; ++row) {
      for (int column = patch.column - patch.radius; column <= patch.column + patch.radius; ++column) {
        double const x = column + dx;
        double const y = row + dy;
        double const value = raster.at(column, row);
        double const step = 0.25;
        std::array<double, parameters + 1> const terms = {(f(x + step, y) - f(x - step, y)) / (2.0 * step),
                                                          (f(x, y + step) - f(x, y - step)) / (2.0 * step), f(x, y),
                                                          1.0, value == 0.0 ? std::nan("") : value};
        for (std::size_t i = 0; i < parameters; ++i) {
          for (std::size_t j = 0; j <= parameters; ++j) {
            normal[i][j] += terms[i] * terms[j];
          }
        }
      }
    }
    auto const solution = solved(normal);
    // The gradient's part counts with the gain of the brightness.
    dx += solution[0] / solution[2];
    dy += solution[1] / solution[2];
  }
  return std::hypot(dx, dy);
}

double median(std::vector<double> values) {
  auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

std::array<double, 4> cubicWeights(double u) {
  return {0.5 * u * (-1.0 + u * (2.0 - u)), 1.0 + 0.5 * u * u * (3.0 * u - 5.0), 0.5 * u * (1.0 + u * (4.0 - 3.0 * u)),
          0.5 * u * u * (u - 1.0)};
}

// Cubic convolution (R. Keys, 1981); NaN beside holes and the edge.
double interpolated(Raster const& raster, double x, double y) {
  int const column = static_cast<int>(std::floor(x));
  int const row = static_cast<int>(std::floor(y));
  if (column < 1 || row < 1 || column + 2 >= raster.columns || row + 2 >= raster.rows) {
    return std::nan("");
  }
  auto const wx = cubicWeights(x - column);
  auto const wy = cubicWeights(y - row);
  double sum = 0.0;
  for (int j = 0; j < 4; ++j) {
    for (int i = 0; i < 4; ++i) {
      double const value = raster.at(column - 1 + i, row - 1 + j);
      sum += wx[static_cast<std::size_t>(i)] * wy[static_cast<std::size_t>(j)] * (value == 0.0 ? std::nan("") : value);
    }
  }
  return sum;
}

// A flight of 9800 lines to the east, so long that its forward, nadir and backward bands see a piece of ground in
// common: they look 1020 m ahead and 510 m back from 2000 m above it.
class OrthoAccuracy : public testing::Test {
protected:
  static simulation::FlightPlan planOfFlight() {
    simulation::FlightPlan plan;
    plan.dem = KESSENSOR_TERRAIN;
    plan.lines = 9800;
    plan.samples = 160;
    plan.heading = 90.0;
    plan.renderedBands = {"PANF27A", "PANN00A", "PANB14A"};
    return plan;
  }

  // The strip file of the flight, and one beside it that has the camera's true orientation.
  std::string adjustedStrip() const { return mFolder / ("flight/" + mFlight.files.strip); }
  std::string trueStrip() const {
    std::string text = test::contents(adjustedStrip());
    std::string const attributes =
        "<EOP filename=\"" + mFlight.files.originalEop + "\" filename_adjusted=\"" + mFlight.files.adjustedEop + "\"/>";
    std::size_t const place = text.find(attributes);
    EXPECT_NE(place, std::string::npos);
    text.replace(place, attributes.size(), "<EOP filename=\"" + mFlight.files.trueEop + "\"/>");
    return mFolder.file("flight/true.stp", text);
  }

  Raster ortho(char const* bandId, std::string const& stripFile) {
    kes::Strip const strip(stripFile);
    kesgdal::OrthoPlan plan;
    plan.bands = {bandId};
    plan.gsd = gsd;
    plan.threads = 2;
    std::string const name = mFolder / (std::string(bandId) + ".tif");
    kesgdal::writeOrthophoto(strip, mMap, kes::Surface::raster(KESSENSOR_TERRAIN), plan, name);
    return Raster(name);
  }

  // The texture in the pixels of a raster.
  Function textureOf(Raster const& raster) const {
    return [this, &raster](double x, double y) {
      geo::XYZPoint point(raster.geoTransform[0] + gsd * (x + 0.5), raster.geoTransform[3] - gsd * (y + 0.5), 0.0);
      mMap.transform(mFlight.texture->coordSystem(), {&point, 1}, {&point, 1});
      return mFlight.texture->value(point);
    };
  }

  // The median over patches all along the strip, so many columns apart, in pixels.
  static double medianOffset(Raster const& raster, Function const& f, int step, std::size_t leastPatches) {
    std::vector<double> offsets;
    for (int column = 40; column < raster.columns - 40; column += step) {
      for (int row = 20; row < raster.rows - 20; row += 25) {
        Patch const patch{column, row, 12};
        if (double const distance = offset(raster, patch, f); std::isfinite(distance)) {
          offsets.push_back(distance);
        }
      }
    }
    EXPECT_GE(offsets.size(), leastPatches);
    return offsets.empty() ? std::nan("") : median(offsets);
  }

  static constexpr double gsd = 0.2;
  test::TempFolder mFolder;
  test::RenderedFlight mFlight{planOfFlight(), mFolder / "flight"};
  kes::CoordinateSystem mMap{"EPSG:32616"};
};

TEST_F(OrthoAccuracy, OrthophotosShowTheTextureInItsPlace) {
  for (char const* const band : {"PANF27A", "PANN00A", "PANB14A"}) {
    Raster const raster = ortho(band, trueStrip());
    double const error = medianOffset(raster, textureOf(raster), 240, 100);
    RecordProperty(band, std::to_string(error));
    EXPECT_LT(error, 0.02) << band;
  }
}

// The adjusted orientation is good to 1 cm and 4 microradians, of which the latter come to 8 mm.
TEST_F(OrthoAccuracy, AdjustedOrientationIsGoodToATenthOfAPixel) {
  Raster const raster = ortho("PANN00A", adjustedStrip());
  double const error = medianOffset(raster, textureOf(raster), 240, 100);
  RecordProperty("PANN00A", std::to_string(error));
  EXPECT_LT(error, 0.1);
}

TEST_F(OrthoAccuracy, ForwardNadirAndBackwardOrthophotosAgree) {
  Raster const nadir = ortho("PANN00A", trueStrip());
  for (char const* const band : {"PANF27A", "PANB14A"}) {
    Raster const other = ortho(band, trueStrip());
    // Both lie on the same pixels of the map.
    double const columns = std::round((nadir.geoTransform[0] - other.geoTransform[0]) / gsd);
    double const rows = std::round((other.geoTransform[3] - nadir.geoTransform[3]) / gsd);
    double const error = medianOffset(
        nadir, [&](double x, double y) { return interpolated(other, x + columns, y + rows); }, 30, 30);
    RecordProperty(band, std::to_string(error));
    EXPECT_LT(error, 0.02) << band;
  }
}

}  // namespace
