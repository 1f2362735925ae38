#include <sensor/KESStripModel.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <simulation/Parallel.h>
#include <simulation/Renderer.h>
#include <simulation/ScanLine.h>

namespace simulation {

namespace {

constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();

// Metres, of a height and of a map.
double tolerance(sensor::KESStripModel const& strip, int band) {
  return std::max(static_cast<double>(strip.gsd(band)) / 500.0, 2e-4);
}

LocalMap mapTo(geo::coordSys const& system, sensor::KESStripModel const& strip, int band, LocalMap::Box const& box) {
  return {*strip.lsrSystem(), system, box, LocalMap::spacingFor(tolerance(strip, band))};
}

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
      mHeight(static_cast<int>(strip.imageHeight(band))), mTexture(texture),
      mGround(SeenGround::of(strip, band, terrain)),
      mToTerrain(mapTo(*terrain.source().coordSystem(), strip, band, mGround.box)),
      mToTexture(mapTo(texture.coordSystem(), strip, band, mGround.box)),
      mSurface(terrain, mToTerrain, mGround.bounds, {mGround.box.low.z, mGround.box.high.z}, tolerance(strip, band)) {}

std::vector<std::uint16_t> Renderer::rows(int first, int count, int threads) const {
  std::vector<std::uint16_t> pixels(static_cast<std::size_t>(mWidth) * static_cast<std::size_t>(count));
  if (!mGround.bounds.isEmpty()) {
    forEachIndex(count, threads,
                 [&](int row) { render(first + row, pixels.data() + static_cast<std::ptrdiff_t>(row) * mWidth); });
  }
  return pixels;
}

void Renderer::render(int row, std::uint16_t* pixels) const {
  ScanLine const line(mStrip, mBand, row, static_cast<float>(mGround.box.low.z));
  Guess guess(mStrip.meanTerrainHeight());
  for (int sample = 0; sample < mWidth; ++sample) {
    LineOfSight const sight = line.through(sample);
    double const z = mSurface.meet(sight, guess.next());
    guess.add(z);
    pixels[sample] = std::isnan(z) ? std::uint16_t{0} : pixelOf(mTexture.value(mToTexture.at(sight.at(z))));
  }
}

}  // namespace simulation
