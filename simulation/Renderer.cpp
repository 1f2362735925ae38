// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kes/Parallel.h>
#include <sensor/KESStripModel.h>
#include <simulation/Renderer.h>
#include <simulation/ScanLine.h>

#include <cmath>
#include <limits>

namespace simulation {

namespace {

constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();

// Where the surface will be met, from where the two neighbours before met it.
class Guess {
public:
  explicit Guess(double mean) : mMean(mean) {}
  double next() const {
    if (std::isnan(mLast)) {
      return mMean;
    }
    return std::isnan(mBefore) ? mLast : 2.0 * mLast - mBefore;
  }
  void add(double z) {
    mBefore = mLast;
    mLast = z;
  }

private:
  double mMean;
  double mLast = nowhere;
  double mBefore = nowhere;
};

std::uint16_t pixelOf(double brightness) {
  constexpr double brightest = 65535.0;
  // A NaN becomes 0.
  return static_cast<std::uint16_t>(std::lround(std::fmin(std::fmax(0.0, brightness), brightest)));
}

}  // namespace

Renderer::Renderer(sensor::KESStripModel const& strip, int band, Terrain const& terrain, Texture const& texture)
    : mStrip(strip), mBand(band), mWidth(static_cast<int>(strip.imageWidth(band))),
      mHeight(static_cast<int>(strip.imageHeight(band))), mTexture(texture), mView(strip, band, terrain),
      mToTexture(mView.mapTo(texture.coordSystem())) {}

std::vector<std::uint16_t> Renderer::rows(int first, int count, int threads) const {
  std::vector<std::uint16_t> pixels(static_cast<std::size_t>(mWidth) * static_cast<std::size_t>(count));
  if (!mView.isEmpty()) {
    kes::forEachIndex(static_cast<std::size_t>(count), threads > 0 ? threads : kes::threadsOfMachine(),
                      [&](std::size_t row) {
                        render(first + static_cast<int>(row), pixels.data() + row * static_cast<std::size_t>(mWidth));
                      });
  }
  return pixels;
}

void Renderer::render(int row, std::uint16_t* pixels) const {
  ScanLine const line(mStrip, mBand, row, mView.foot());
  Guess guess(mStrip.meanTerrainHeight());
  for (int sample = 0; sample < mWidth; ++sample) {
    LineOfSight const sight = line.through(sample);
    double const z = mView.surface().meet(sight, guess.next());
    guess.add(z);
    pixels[sample] = std::isnan(z) ? std::uint16_t{0} : pixelOf(mTexture.value(mToTexture.at(sight.at(z))));
  }
}

}  // namespace simulation
