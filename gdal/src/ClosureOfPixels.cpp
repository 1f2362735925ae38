// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ClosureOfPixels.h"

#include "files/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <locale>
#include <sstream>
#include <vector>

namespace kesgdal {

namespace {

constexpr int perSide = 32;
constexpr int unitBits = 88;
constexpr int wideBits = 128;

using Ground = std::vector<geo::XYZPoint>;
using Image = std::vector<geo::XYPoint>;

// The centres of pixels, evenly spread over a box, as far as they are in the tile; each pixel once.
Ground centresIn(CheckedPixels const& pixels, OrthoGrid const& grid) {
  PixelBox const& box = pixels.part;
  GeoTransform const& place = grid.geoTransform();
  int const columns = std::min(box.columns, perSide);
  int const rows = std::min(box.rows, perSide);
  auto const spread = [](std::int64_t i, std::int64_t of, std::int64_t all) {
    return static_cast<int>((2 * i + 1) * all / (2 * of));
  };
  auto const isIn = [](int pixel, int first, int all) { return pixel >= first && pixel < first + all; };
  Ground centres;
  for (int i = 0; i < rows; ++i) {
    int const row = box.top + spread(i, rows, box.rows);
    for (int j = 0; j < columns && isIn(row, pixels.tile.top, pixels.tile.rows); ++j) {
      int const column = box.left + spread(j, columns, box.columns);
      if (isIn(column, pixels.tile.left, pixels.tile.columns)) {
        centres.emplace_back(place[0] + place[1] * (column + 0.5), place[3] + place[5] * (row + 0.5), 0.0);
      }
    }
  }
  return centres;
}

// Lifts positions of the map onto the surface; NaN where it has no height.
void lift(Ground& positions, kes::CoordinateSystem const& map, kes::Surface const& surface) {
  Ground onSurface(positions.size());
  std::vector<double> heights(positions.size());
  map.transform(surface.coordinateSystem(), positions, onSurface);
  surface.heights(onSurface, heights);
  for (std::size_t i = 0; i < positions.size(); ++i) {
    onSurface[i].z = heights[i];
  }
  surface.coordinateSystem().transform(map, onSurface, onSurface);
  for (std::size_t i = 0; i < positions.size(); ++i) {
    positions[i].z = onSurface[i].z;
  }
}

Image seen(kes::Band const& band, kes::CoordinateSystem const& map, Ground const& ground) {
  kes::ToImageOptions options;
  options.system = map;
  Image image(ground.size());
  std::vector<kes::Status> status(ground.size());
  band.toImage(ground, options, image, status);
  return image;
}

}  // namespace

void ClosureOfPixels::add(kes::Band const& band, kes::CoordinateSystem const& map, kes::Surface const& surface,
                          OrthoGrid const& grid, CheckedPixels const& checked) {
  Ground ground = centresIn(checked, grid);
  if (ground.empty()) {
    return;
  }
  lift(ground, map, surface);
  Image const image = seen(band, map, ground);
  std::vector<double> heights;
  std::transform(ground.begin(), ground.end(), std::back_inserter(heights), [](auto const& p) { return p.z; });
  kes::ToGroundOptions toGround;
  toGround.system = map;
  toGround.heights = kes::HeightPerPoint{heights};
  Ground back(ground.size());
  std::vector<kes::Status> status(ground.size());
  band.toGround(image, toGround, back, status);
  Image const again = seen(band, map, back);
  map.transform(band.localSystem(), ground, ground);
  map.transform(band.localSystem(), back, back);
  for (std::size_t i = 0; i < image.size(); ++i) {
    if (!band.contains(image[i])) {
      continue;
    }
    double const metres = std::hypot(back[i].x - ground[i].x, back[i].y - ground[i].y, back[i].z - ground[i].z);
    double const pixels = std::hypot(again[i].x - image[i].x, again[i].y - image[i].y);
    ++mCount;
    mMetres.add(metres);
    mPixels.add(pixels);
  }
}

void ClosureOfPixels::add(ClosureOfPixels const& other) {
  mCount += other.mCount;
  auto const addErrors = [](Errors& errors, Errors const& more) {
    errors.add(more.squares);
    errors.isInfinite = errors.isInfinite || more.isInfinite;
    errors.largest = std::max(errors.largest, more.largest);
  };
  addErrors(mMetres, other.mMetres);
  addErrors(mPixels, other.mPixels);
}

double ClosureOfPixels::rmsMetres() const {
  return mMetres.rms(mCount);
}

double ClosureOfPixels::rmsPixels() const {
  return mPixels.rms(mCount);
}

void ClosureOfPixels::Errors::add(double error) {
  double const square = std::ldexp(error * error, unitBits);
  if (square < std::ldexp(1.0, wideBits)) {
    add(static_cast<files::Wide>(square));
    largest = std::max(largest, error);
  } else {  // NaN, too
    isInfinite = true;
    largest = std::isnan(error) ? std::numeric_limits<double>::infinity() : std::max(largest, error);
  }
}

void ClosureOfPixels::Errors::add(files::Wide moreSquares) {
  squares += moreSquares;
  isInfinite = isInfinite || squares < moreSquares;
}

double ClosureOfPixels::Errors::rms(std::uint64_t count) const {
  return isInfinite ? std::numeric_limits<double>::infinity()
                    : std::sqrt(std::ldexp(static_cast<double>(squares), -unitBits) / static_cast<double>(count));
}

// Whether a sum is infinite is all that counts of it then.
std::string ClosureOfPixels::text() const {
  std::string text = std::to_string(mCount);
  for (Errors const* const errors : {&mMetres, &mPixels}) {
    text += ' ' + (errors->isInfinite ? std::string("inf")
                                      : std::to_string(static_cast<std::uint64_t>(errors->squares >> 64)) + ' ' +
                                            std::to_string(static_cast<std::uint64_t>(errors->squares)));
    text += ' ' + files::shortestText(errors->largest);
  }
  return text;
}

std::optional<ClosureOfPixels> ClosureOfPixels::parsed(std::string const& text) {
  std::istringstream words(text);
  words.imbue(std::locale::classic());
  ClosureOfPixels closure;
  words >> closure.mCount;
  for (Errors* const errors : {&closure.mMetres, &closure.mPixels}) {
    std::string high;
    words >> high;
    errors->isInfinite = high == "inf";
    if (!errors->isInfinite) {
      std::uint64_t low = 0;
      words >> low;
      errors->squares = (static_cast<files::Wide>(std::strtoull(high.c_str(), nullptr, 10)) << 64) + low;
    }
    std::string largest;
    words >> largest;
    std::from_chars(largest.data(), largest.data() + largest.size(), errors->largest);
  }
  return words ? std::optional(closure) : std::nullopt;
}

}  // namespace kesgdal
