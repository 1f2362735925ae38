// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kes/Parallel.h>
#include <simulation/Renderer.h>

#include <cmath>

namespace simulation {

namespace {

std::uint16_t pixelOf(double brightness) {
  constexpr double brightest = 65535.0;
  // A NaN becomes 0.
  return static_cast<std::uint16_t>(std::lround(std::fmin(std::fmax(0.0, brightness), brightest)));
}

}  // namespace

Renderer::Renderer(kes::Band const& band, kes::Surface const& terrain, Texture const& texture)
    : mBand(band), mTexture(texture) {
  mToTexture.heights = terrain;
  mToTexture.system = texture.coordSystem();
}

std::vector<std::uint16_t> Renderer::rows(int first, int count, int threads) const {
  auto const pixelsPerRow = static_cast<std::size_t>(width());
  std::vector<std::uint16_t> pixels(pixelsPerRow * static_cast<std::size_t>(count));
  kes::forEachIndex(
      static_cast<std::size_t>(count), threads > 0 ? threads : kes::threadsOfMachine(),
      [&](std::size_t row) { render(first + static_cast<int>(row), pixels.data() + row * pixelsPerRow); });
  return pixels;
}

void Renderer::render(int row, std::uint16_t* pixels) const {
  auto const count = static_cast<std::size_t>(width());
  std::vector<geo::XYPoint> image(count);
  for (std::size_t i = 0; i < count; ++i) {
    image[i] = {static_cast<double>(i), static_cast<double>(row)};
  }
  std::vector<geo::XYZPoint> ground(count);
  std::vector<kes::Status> status(count);
  mBand.toGround(image, mToTexture, ground, status);
  for (std::size_t i = 0; i < count; ++i) {
    pixels[i] = hasResult(status[i]) ? pixelOf(mTexture.value(ground[i])) : std::uint16_t{0};
  }
}

}  // namespace simulation
