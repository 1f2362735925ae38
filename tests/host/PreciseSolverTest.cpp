#include "RandomStrips.h"
#include "support/Matchers.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraTime.h>
#include <sensor/EOPData.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>

// The precise form against formulae written anew, in long double, from the files' numbers.

namespace {

using Real = long double;
using kes::Status;

/// A band without TDI stages, straight from the library's tables.
class Reference {
public:
  Reference(kes::Strip const& strip, char const* id) : mModel(strip.model()) {
    int const band = mModel.bandIndex(id);
    mTimes = mModel.img(band)->cameraTime()->values();
    auto const changes = mModel.img(band)->cameraTime()->getInternalCtglRepresentation();
    Real const mean = (static_cast<Real>(mTimes.back()) - mTimes.front()) / static_cast<Real>(mTimes.size() - 1);
    mFirstCycle = changes.empty() ? mean : static_cast<Real>(changes.begin()->second.cycleTime);
    mLastCycle = changes.empty() ? mean : static_cast<Real>(changes.rbegin()->second.cycleTime);
    mEop.resize(static_cast<std::size_t>(mModel.eop()->numSets()));
    for (std::size_t i = 0; i < mEop.size(); ++i) {
      mModel.eop()->atIndex(static_cast<int>(i), mEop[i]);
    }
    sensor::CalibrationGeometryKes calibration(*mModel.modelData()->calib(band));
    float size = 0.0F;
    int samples = 0;
    int imaging = 0;
    calibration.getPixelData(size, samples, imaging, mX, mY, 1.0);
    mFocalLength = static_cast<Real>(calibration.focalLength());
    mOffset = mModel.img(band)->sampleOffsetFromCalib();
  }

  double lines() const { return static_cast<double>(mTimes.size()); }

  Real time(Real line) const {
    auto const n = static_cast<Real>(mTimes.size()) - 1.0L;
    if (line < -1.0L) {
      return time(-1.0L) + (line + 1.0L) * mFirstCycle;
    }
    if (line > n) {
      return mTimes.back() + (line - n) * mLastCycle;
    }
    auto const k = static_cast<std::size_t>(std::min(std::max(std::floor(line), 0.0L), n - 1.0L));
    return mTimes[k] + (static_cast<Real>(mTimes[k + 1]) - mTimes[k]) * (line - static_cast<Real>(k));
  }

  /// How far ahead of the sensor line a position is in the focal plane at a line, metres; and its sample there.
  struct Seen {
    Real ahead;
    Real sample;
  };
  Seen see(geo::XYZPoint const& p, Real line) const {
    Real const t = time(line);
    auto const next = std::upper_bound(mEop.begin() + 1, mEop.end() - 1, t,
                                       [](Real value, sensor::EOP const& eop) { return value < eop.gpsTime; });
    sensor::EOP const& b = *next;
    sensor::EOP const& a = *(next - 1);
    Real const w = (t - a.gpsTime) / (static_cast<Real>(b.gpsTime) - a.gpsTime);
    auto const mix = [w](Real from, Real to) { return from + w * (to - from); };
    std::array<Real, 4> q{mix(a.q0, b.q0), mix(a.q1, b.q1), mix(a.q2, b.q2), mix(a.q3, b.q3)};
    Real const length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (Real& part : q) {
      part /= length;
    }
    std::array<Real, 3> const d{p.x - mix(a.x, b.x), p.y - mix(a.y, b.y), p.z - mix(a.z, b.z)};
    // The quaternion turns the ground into the camera: v' = q v q*, written out by its cross products.
    std::array<Real, 3> const c{q[2] * d[2] - q[3] * d[1], q[3] * d[0] - q[1] * d[2], q[1] * d[1] - q[2] * d[0]};
    std::array<Real, 3> const v{d[0] + 2 * (q[0] * c[0] + q[2] * c[2] - q[3] * c[1]),
                                d[1] + 2 * (q[0] * c[1] + q[3] * c[0] - q[1] * c[2]),
                                d[2] + 2 * (q[0] * c[2] + q[1] * c[1] - q[2] * c[0])};
    Real const s = -mFocalLength / v[2];
    return at(v[0] * s, v[1] * s);
  }

  /// The first line from the margin on at which the position falls onto the sensor line, sought in steps of a sixteenth of a line.
  Real firstLine(geo::XYZPoint const& p, Real from, Real to) const {
    constexpr Real step = 1.0L / 16.0L;
    Real before = see(p, from).ahead;
    for (Real line = from + step; line <= to; line += step) {
      Real const ahead = see(p, line).ahead;
      if ((before > 0) != (ahead > 0)) {
        return bisected(p, line - step, line);
      }
      before = ahead;
    }
    return std::numeric_limits<Real>::quiet_NaN();
  }

private:
  // Where a focal position lies: by a search through the table.
  Seen at(Real x, Real y) const {
    std::size_t const last = mY.size() - 1;
    bool const isReverse = mY[last] < mY[0];
    std::size_t k = 0;
    while (k + 1 < last && (isReverse ? y < mY[k + 1] : y > mY[k + 1])) {
      ++k;
    }
    Real const part = (y - mY[k]) / (static_cast<Real>(mY[k + 1]) - mY[k]);
    Real const sensorX = mX[k] + (static_cast<Real>(mX[k + 1]) - mX[k]) * part;
    return {x - sensorX, static_cast<Real>(k) + part - mOffset};
  }

  Real bisected(geo::XYZPoint const& p, Real low, Real high) const {
    bool const isAhead = see(p, low).ahead > 0;
    for (int i = 0; i < 60; ++i) {
      Real const middle = 0.5L * (low + high);
      ((see(p, middle).ahead > 0) == isAhead ? low : high) = middle;
    }
    return low;
  }

  sensor::KESStripModel const& mModel;
  std::vector<double> mTimes;
  std::vector<sensor::EOP> mEop;
  std::vector<double> mX;
  std::vector<double> mY;
  Real mFirstCycle;
  Real mLastCycle;
  Real mFocalLength = 0;
  Real mOffset = 0;
};

constexpr double TOLERANCE = 1e-6;  // lines and samples

// Lines that see a point twice are between a sixteenth of a line and some lines apart; the reference misses closer ones, and
// there the form may be earlier, where the point lies on the sensor line all the same.
TEST(PreciseSolver, FindsTheFirstLineOfALongDoubleSearch) {
  int revisited = 0;
  for (unsigned seed = 0; seed < test::NOISY_FLIGHTS_END; ++seed) {
    kes::Strip const& strip = test::randomStrip(seed);
    for (char const* const id : {"PANN00A", "NIRF16A", "GRNF16A", "PANB14A"}) {
      kes::Band const band = strip.band(id);
      Reference const reference(strip, id);
      for (geo::XYPoint const& image : test::imagePoints(band, seed + 500, 6)) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", " << id << ", sample " << image.x << ", line "
                                        << image.y);
        geo::XYZPoint const ground = band.toGround(image, test::atHeight(60.0)).position;
        auto const found = band.toImage(ground);
        ASSERT_TRUE(kes::hasResult(found.status));
        // Beyond the outermost calibrated pixels, a chord goes on that the reference doesn't know.
        if (found.position.x < 0.0 || found.position.x > band.samples() - 1.0) {
          continue;
        }
        // Further back than the view ever swings.
        Real const from = std::max(static_cast<Real>(-kes::Band::lineMargin), static_cast<Real>(image.y) - 100.0L);
        Real const first = reference.firstLine(ground, from, static_cast<Real>(image.y) + 1.0L);
        revisited += first < image.y - 0.01L ? 1 : 0;
        if (found.position.y < static_cast<double>(first) - TOLERANCE) {
          Real const rest = reference.see(ground, static_cast<Real>(found.position.y)).ahead;
          ASSERT_LT(std::fabs(rest) / 6.5e-6L, TOLERANCE);
          ASSERT_TRUE(test::isRough(seed) || test::isNoisy(seed));
          continue;
        }
        ASSERT_NEAR(found.position.y, static_cast<double>(first), TOLERANCE);
        ASSERT_NEAR(found.position.x, static_cast<double>(reference.see(ground, first).sample), TOLERANCE);
      }
    }
  }
  EXPECT_GT(revisited, 50);
}

// Neighbours a tenth of a line apart, where the view goes back and forth over them: in a run forward and backward, and alone.
TEST(PreciseSolver, DenseRunsOverRevisitedGroundAreMadeOfSinglePoints) {
  for (unsigned seed = test::FLIGHTS; seed < test::NOISY_FLIGHTS_END; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    kes::Band const band = test::randomStrip(seed).band("PANN00A");
    std::vector<geo::XYPoint> image;
    for (double line = 60.0; line < 360.0; line += 0.1) {
      image.emplace_back(70.0, line);
    }
    std::vector<geo::XYZPoint> ground = test::toGround(band, image, test::atHeight(0.0)).points;
    auto const forward = test::toImage(band, ground);
    std::reverse(ground.begin(), ground.end());
    auto const backward = test::toImage(band, ground);
    for (std::size_t i = 0; i < ground.size(); ++i) {
      std::size_t const k = ground.size() - 1 - i;
      geo::XYPoint const single = band.toImage(ground[i]).position;
      ASSERT_THAT(backward.points[i].y, test::SameBits(single.y)) << k;
      ASSERT_THAT(backward.points[i].x, test::SameBits(single.x)) << k;
      ASSERT_THAT(forward.points[k].y, test::SameBits(single.y)) << k;
      ASSERT_THAT(forward.points[k].x, test::SameBits(single.x)) << k;
    }
  }
}

TEST(PreciseSolver, FindsPointsInTheMarginAndNoneBeyond) {
  for (unsigned seed = 0; seed < 8; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    kes::Band const band = test::randomStrip(seed).band("PANN00A");
    double const last = band.lines() - 1.0;
    for (double const line : {-255.9, -100.3, -1.2, last + 0.7, last + 100.1, last + 255.9}) {
      auto const ground = band.toGround(geo::XYPoint(20.0, line), test::atHeight(0.0));
      ASSERT_TRUE(kes::hasResult(ground.status));
      ASSERT_NE(ground.status, Status::ok);
      auto const found = band.toImage(ground.position);
      ASSERT_EQ(found.status, ground.status);
      ASSERT_NEAR(found.position.y, line, TOLERANCE);
    }
    EXPECT_EQ(band.toGround(geo::XYPoint(20.0, -256.1), test::atHeight(0.0)).status, Status::noSolution);
    EXPECT_EQ(band.toGround(geo::XYPoint(20.0, last + 256.1), test::atHeight(0.0)).status, Status::noSolution);
    // Well beyond either end of the flight.
    geo::XYZPoint const a = band.toGround(geo::XYPoint(20.0, 0.0), test::atHeight(0.0)).position;
    geo::XYZPoint const b = band.toGround(geo::XYPoint(20.0, last), test::atHeight(0.0)).position;
    for (double const part : {-3.0, 4.0, 1000.0, -1e6}) {
      geo::XYZPoint const far(a.x + part * (b.x - a.x), a.y + part * (b.y - a.y), 0.0);
      EXPECT_EQ(band.toImage(far).status, Status::noSolution) << part;
    }
  }
}

TEST(PreciseSolver, StatusTellsImageAndOrientationApart) {
  kes::Strip const& strip = test::randomStrip(4);
  kes::Band const band = strip.band("PANN00A");
  EXPECT_EQ(band.toGround(geo::XYPoint(-0.5, 10.0), test::atHeight(0.0)).status, Status::ok);
  EXPECT_EQ(band.toGround(geo::XYPoint(-0.6, 10.0), test::atHeight(0.0)).status, Status::outsideImage);
  EXPECT_EQ(band.toGround(geo::XYPoint(band.samples() - 0.5, 10.0), test::atHeight(0.0)).status, Status::outsideImage);
  EXPECT_EQ(band.toGround(geo::XYPoint(3.0, -0.6), test::atHeight(0.0)).status, Status::outsideImage);
  EXPECT_EQ(band.toGround(geo::XYPoint(3.0, band.lines() - 0.5), test::atHeight(0.0)).status, Status::outsideImage);
  // The orientation begins a second before the first line.
  double const cycle = (band.endTime() - band.startTime()) / (band.lines() - 1.0);
  double const before = (strip.trajectory().startTime() - band.startTime()) / cycle;
  if (before > -255.0) {
    EXPECT_EQ(band.toGround(geo::XYPoint(3.0, before + 0.1), test::atHeight(0.0)).status, Status::outsideImage);
    EXPECT_EQ(band.toGround(geo::XYPoint(3.0, before - 0.1), test::atHeight(0.0)).status, Status::outsideOrientation);
  }
}

TEST(PreciseSolver, PointsFarDownAndFarAsideAreFoundToo) {
  kes::Band const band = test::randomStrip(9).band("NIRF16A");
  for (double const height : {-3000.0, -20000.0, -1e6}) {
    for (double const sample : {-5000.0, 30.0, 9000.0}) {
      auto const ground = band.toGround(geo::XYPoint(sample, 200.0), test::atHeight(height));
      auto const found = band.toImage(ground.position);
      ASSERT_TRUE(kes::hasResult(found.status)) << height << ' ' << sample;
      auto const again = band.toGround(found.position, test::atHeight(height));
      EXPECT_NEAR(again.position.x, ground.position.x, 1e-6 * std::fabs(height)) << height << ' ' << sample;
      EXPECT_NEAR(again.position.y, ground.position.y, 1e-6 * std::fabs(height)) << height << ' ' << sample;
    }
  }
}

}  // namespace
