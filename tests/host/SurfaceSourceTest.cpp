// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RandomStrips.h"
#include "support/Matchers.h"
#include "support/SmallStrip.h"
#include "support/TempFolder.h"

#include <dsm/ProjectedElevationSource.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

using kes::Status;

constexpr double NONE = std::numeric_limits<double>::quiet_NaN();

/// Heights as a function of x and y, NaN for none, in a system that it owns.
class Formula : public dsm::ProjectedElevationSource {
public:
  using Height = std::function<double(double x, double y)>;

  Formula(std::unique_ptr<geo::coordSys const> system, Height height)
      : ProjectedElevationSource(system.get()), mSystem(std::move(system)), mHeight(std::move(height)) {}

  bool height(geo::XYZPoint const& position, float& height) const override {
    double const value = mHeight(position.x, position.y);
    if (!std::isnan(value)) {
      height = static_cast<float>(value);
    }
    return !std::isnan(value);
  }

private:
  std::unique_ptr<geo::coordSys const> mSystem;
  Height mHeight;
};

/// A strip from 1000 m along the local x, a line per metre, samples of 2 m; PANF27A looks ahead by 0.24 m per metre of
/// depth. So sample 50 of line L sees x = L + 0.24 (1000 - z) and y = 0.
class SurfaceSource : public testing::Test {
protected:
  SurfaceSource() {
    mSmall.sensorId = std::string("Source_") + testing::UnitTest::GetInstance()->current_test_info()->name();
    mSmall.bands = {{"PANF27A", 12.0}};
    mSmall.anchorLongitude = "0.261799";  // 15 degrees, the middle of zone 33
    kes::StripOptions options;
    options.calibrations = {mFolder / "calibration"};
    mStrip = std::make_unique<kes::Strip>(mSmall.write(mFolder), options);
    geo::XYZPoint origin(0.0, 0.0, 0.0);
    mStrip->localSystem().transform(mMap, {&origin, 1}, {&mOrigin, 1});
  }

  static std::unique_ptr<geo::coordSys const> system(std::string const& definition) {
    return std::unique_ptr<geo::coordSys const>(geo::coordSysFactory::getInstance()->createCoordSys(definition));
  }
  kes::Surface local(Formula::Height height, kes::Surface::HeightRange const& range, double spacing) const {
    auto const definition = mStrip->localSystem().definition();
    return kes::Surface::of(std::make_shared<Formula const>(system(definition), std::move(height)), range, spacing);
  }
  kes::Band::OnGround hit(geo::XYPoint const& image, kes::Surface const& surface) const {
    kes::ToGroundOptions options;
    options.heights = surface;
    options.system = surface.coordinateSystem();
    return mStrip->band("PANF27A").toGround(image, options);
  }

  test::TempFolder mFolder;
  test::SmallStrip mSmall;
  kes::CoordinateSystem mMap{"EPSG:32633"};
  std::unique_ptr<kes::Strip> mStrip;
  geo::XYZPoint mOrigin;
};

TEST_F(SurfaceSource, IsMetWhereALineOfSightReachesIt) {
  // The plane z = x / 4 - 30: x = L + 0.24 (1030 - x / 4), so x = (L + 247.2) / 1.06.
  auto const surface = local([](double x, double) { return 0.25 * x - 30.0; }, {0.0, 100.0}, 10.0);
  for (double line = 0.0; line <= 100.0; line += 12.5) {
    auto const [position, status] = hit({50.0, line}, surface);
    ASSERT_EQ(status, Status::ok) << line;
    EXPECT_NEAR(position.x, (line + 247.2) / 1.06, 1e-3) << line;
    EXPECT_NEAR(position.z, 0.25 * position.x - 30.0, 1e-4) << line;
  }
}

TEST_F(SurfaceSource, WallIsMetWhereALineOfSightComesThrough) {
  auto const surface = local([](double x, double) { return x < 290.0 ? 10.0 : 200.0; }, {10.0, 200.0}, 10.0);
  // Line 60 comes to x = 290 at a depth of 230 / 0.24.
  auto const onWall = hit({50.0, 60.0}, surface);
  EXPECT_EQ(onWall.status, Status::ok);
  EXPECT_NEAR(onWall.position.x, 290.0, 1e-3);
  EXPECT_NEAR(onWall.position.z, 1000.0 - 230.0 / 0.24, 2e-3);
  EXPECT_NEAR(hit({50.0, 40.0}, surface).position.z, 10.0, 1e-4);
  EXPECT_NEAR(hit({50.0, 99.0}, surface).position.z, 200.0, 1e-4);
}

TEST_F(SurfaceSource, RidgeOfHalfTheSpacingIsNotPassedThrough) {
  auto const surface = local([](double x, double) { return x >= 270.0 && x < 274.0 ? 150.0 : 0.0; }, {0.0, 150.0}, 8.0);
  for (double line = 60.0; line <= 65.0; line += 0.25) {
    EXPECT_NEAR(hit({50.0, line}, surface).position.x, 270.0, 1e-3) << line;
  }
}

TEST_F(SurfaceSource, BehindAHillIsHidden) {
  // Two hills, of which a line of sight could meet both.
  auto const hills = [](double x, double) { return 40.0 * (1.0 + std::sin(0.2 * x)); };
  auto const surface = local(hills, {0.0, 80.0}, 8.0);
  for (double line = 0.0; line <= 100.0; line += 1.7) {
    auto const [position, status] = hit({50.0, line}, surface);
    ASSERT_EQ(status, Status::ok);
    EXPECT_NEAR(position.z, hills(position.x, 0.0), 1e-3) << line;
    for (double z = 90.0; z > position.z + 0.02; z -= 0.01) {
      ASSERT_GT(z, hills(line + 0.24 * (1000.0 - z), 0.0)) << line;
    }
  }
}

TEST_F(SurfaceSource, HolesAndStartsBelowHaveNoSurface) {
  auto const surface = local([](double x, double) { return x > 280.0 ? NONE : 10.0; }, {10.0, 10.0}, 10.0);
  // At z = 10, line 40 is at 277.6 and line 45 at 282.6.
  EXPECT_EQ(hit({50.0, 40.0}, surface).status, Status::ok);
  EXPECT_EQ(hit({50.0, 45.0}, surface).status, Status::noSurface);
  // Line 30 comes to x = 250 at z = 83.3: through the hole, under the plateau, and out again above the ground.
  auto const plateau = [](double x, double) { return x < 200.0 || x > 258.0 ? 10.0 : x < 250.0 ? NONE : 120.0; };
  EXPECT_EQ(hit({50.0, 30.0}, local(plateau, {10.0, 120.0}, 10.0)).status, Status::noSurface);
  // The camera is under the surface.
  auto const high = local([](double, double) { return 2000.0; }, {0.0, 2000.0}, 10.0);
  EXPECT_EQ(hit({50.0, 40.0}, high).status, Status::noSurface);
}

// The system is curved, and its heights are in hundreds of metres.
TEST_F(SurfaceSource, IsClosedInItsOwnSystemAndUnit) {
  constexpr double unit = 100.0;
  double const ground = mOrigin.z + 20.0;
  auto const height = [&](double x, double y) { return (ground + 15.0 * std::sin(0.05 * x + 0.03 * y)) / unit; };
  auto const source =
      std::make_shared<Formula const>(system("+proj=utm +zone=33 +datum=WGS84 +vto_meter=100 +type=crs"), height);
  auto const surface = kes::Surface::of(source, {(ground - 15.0) / unit, (ground + 15.0) / unit}, 20.0);
  kes::ToImageOptions back;
  back.system = surface.coordinateSystem();
  back.heights = surface;
  for (geo::XYPoint const& image : test::imagePoints(mStrip->band("PANF27A"), 3, 50)) {
    auto const [position, status] = hit(image, surface);
    ASSERT_TRUE(hasResult(status));
    EXPECT_NEAR(position.z * unit, height(position.x, position.y) * unit, 1e-3);
    auto const again = mStrip->band("PANF27A").toImage({position.x, position.y, 0.0}, back);
    EXPECT_NEAR(again.position.x, image.x, 1e-3);
    EXPECT_NEAR(again.position.y, image.y, 1e-3);
  }
}

TEST_F(SurfaceSource, ServesTheLibrarysForms) {
  auto const surface = local([](double x, double) { return 0.25 * x - 30.0; }, {0.0, 100.0}, 10.0);
  kes::ToGroundOptions options;
  options.heights = surface;
  options.solver = kes::Solver::libraryPoint;
  auto const [position, status] = mStrip->band("PANF27A").toGround(geo::XYPoint(50.0, 25.0), options);
  EXPECT_EQ(status, Status::ok);
  EXPECT_NEAR(position.x, (25.0 + 247.2) / 1.06, 0.05);
}

TEST_F(SurfaceSource, NeighboursAndThreadsChangeNoBit) {
  auto const surface =
      local([](double x, double y) { return 30.0 * std::sin(0.1 * x + 0.05 * y); }, {-30.0, 30.0}, 8.0);
  kes::Band const band = mStrip->band("PANF27A");
  auto const image = test::imagePoints(band, 5, 2000);
  kes::ToGroundOptions options;
  options.heights = surface;
  auto const whole = test::toGround(band, image, options);
  options.threads = 3;
  auto const parallel = test::toGround(band, image, options);
  for (std::size_t i = 0; i < image.size(); ++i) {
    ASSERT_THAT(parallel.points[i].z, test::SameBits(whole.points[i].z));
    if (i % 50 == 0) {
      ASSERT_THAT(band.toGround(image[i], options).position.z, test::SameBits(whole.points[i].z));
    }
  }
}

TEST_F(SurfaceSource, LivesAsLongAsACopyOfTheSurface) {
  auto source = std::make_shared<Formula const>(system("EPSG:32633"), [](double, double) { return 7.0; });
  std::weak_ptr<Formula const> const watch = source;
  {
    auto const surface = kes::Surface::of(std::move(source), {7.0, 7.0}, 1.0);
    EXPECT_EQ(surface.fileName(), "");
    EXPECT_EQ(surface.coordinateSystem(), mMap);
    EXPECT_EQ(&surface.platform(), watch.lock().get());
    EXPECT_EQ(surface.heightRange()->lowest, 7.0);
    EXPECT_EQ(surface.heightRange()->highest, 7.0);
    EXPECT_FALSE(watch.expired());
  }
  EXPECT_TRUE(watch.expired());
}

TEST_F(SurfaceSource, ItsExceptionsComeOutOfTheCall) {
  auto const surface =
      local([](double, double) -> double { throw std::runtime_error("no connection"); }, {0.0, 1.0}, 1.0);
  kes::ToGroundOptions options;
  options.heights = surface;
  options.threads = 3;
  EXPECT_MESSAGE(test::toGround(mStrip->band("PANF27A"), std::vector<geo::XYPoint>(5000, {50.0, 50.0}), options),
                 "no connection");
}

TEST_F(SurfaceSource, WhatNoSurfaceCanBeMadeFromIsRefused) {
  auto const source = std::make_shared<Formula const>(system("EPSG:32633"), [](double, double) { return 7.0; });
  auto const message = [](std::shared_ptr<Formula const> const& from, kes::Surface::HeightRange const& range,
                          double spacing) {
    return test::messageOf<std::invalid_argument>([&] { static_cast<void>(kes::Surface::of(from, range, spacing)); });
  };
  EXPECT_EQ(message(nullptr, {0.0, 1.0}, 1.0), "an elevation source is missing");
  EXPECT_EQ(message(source, {1.0, 0.0}, 1.0), "the range of heights isn't one");
  EXPECT_EQ(message(source, {NONE, 0.0}, 1.0), "the range of heights isn't one");
  EXPECT_EQ(message(source, {0.0, INFINITY}, 1.0), "the range of heights isn't one");
  EXPECT_EQ(message(source, {0.0, 1.0}, 0.0), "the spacing of heights isn't above 0");
  EXPECT_EQ(message(source, {0.0, 1.0}, NONE), "the spacing of heights isn't above 0");
}

TEST_F(SurfaceSource, IsAskedForNoMoreThanAHundredThousandHeights) {
  int asked = 0;
  auto const count = [&](double, double) {
    ++asked;
    return NONE;
  };
  EXPECT_EQ(hit({50.0, 40.0}, local(count, {0.0, 200.0}, 1e-300)).status, Status::noSurface);
  EXPECT_NEAR(asked, 100000, 10);
}

}  // namespace
