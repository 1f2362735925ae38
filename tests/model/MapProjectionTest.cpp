// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SmallModel.h"
#include "support/Matchers.h"

#include <dsm/ConstantElevationSource.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <geo/units.h>

#include <cmath>
#include <limits>

namespace {

using geo::coordSys;
using geo::coordSysFactory;
using sensor::KESStripModel;

constexpr char noHeight[] = "Image to map: Unable to a retrieve DSM height.";

// A surface by a formula, that counts how often it was asked.
template <class Height>
class Surface : public dsm::ProjectedElevationSource {
public:
  Surface(coordSys const* system, Height height) : ProjectedElevationSource(system), mHeight(height) {}

  bool height(geo::XYZPoint const& position, float& height) const override {
    ++mQuestions;
    return mHeight(position, mQuestions, height);
  }
  int questions() const { return mQuestions; }

private:
  Height mHeight;
  mutable int mQuestions = 0;
};

class MapProjection : public test::SmallModel {
protected:
  MapProjection() {
    mStrip.bands = {{"PANF27A", 15.0}};
    mStrip.direction = 0.4;
  }

  // The strip with a mapping system of any definition.
  std::unique_ptr<KESStripModel> modelIn(std::string const& definition) {
    auto strip = model();
    mSystem.reset(coordSysFactory::getInstance()->createCoordSys(definition));
    strip->setMappingSystem(mSystem.get());
    return strip;
  }

  static geo::XYZPoint mapOf(KESStripModel const& strip, geo::XYZPoint const& lsr) {
    geo::XYZPoint map;
    EXPECT_EQ(coordSys::transform(strip.lsrSystem(), strip.mappingSystem(), lsr, map), 0);
    return map;
  }

  std::unique_ptr<coordSys> mSystem;
};

std::vector<geo::XYZPoint> mapPoints(KESStripModel const& strip, std::size_t count) {
  std::vector<geo::XYZPoint> map(count);
  for (std::size_t i = 0; i < count; ++i) {
    auto const k = static_cast<double>(i);
    coordSys::transform(strip.lsrSystem(), strip.mappingSystem(), {4.0 + 8.0 * k, 30.0 - 4.0 * k, k}, map[i]);
  }
  return map;
}

TEST_F(MapProjection, PointGoesThroughTheLocalSystem) {
  auto const strip = model();
  geo::XYZPoint const lsr(30.0, -12.0, 5.0);
  geo::XYPoint direct;
  geo::XYPoint image;
  strip->lsrToImage(lsr, 0, direct);
  strip->mapToImage(mapOf(*strip, lsr), 0, image);
  EXPECT_NEAR(image.x, direct.x, 1e-6);
  EXPECT_NEAR(image.y, direct.y, 1e-4);
}

TEST_F(MapProjection, MultipleOfFourWithEqualSizesKeepsThem) {
  auto const strip = model();
  ASSERT_TRUE(strip->sseEnabled());
  std::vector<geo::XYPoint> image(8);
  std::vector<geo::XYZPoint> lsr(8);
  strip->mapToImage(mapPoints(*strip, 8), 0, image, lsr);
  EXPECT_EQ(image.size(), 8U);
  EXPECT_EQ(lsr.size(), 8U);
}

TEST_F(MapProjection, UnequalSizesAreFilledByFourMore) {
  auto const strip = model();
  std::vector<geo::XYPoint> image(9);
  std::vector<geo::XYZPoint> lsr(8);
  strip->mapToImage(mapPoints(*strip, 8), 0, image, lsr);
  ASSERT_EQ(image.size(), 12U);
  ASSERT_EQ(lsr.size(), 12U);
  for (std::size_t i = 8; i < 12; ++i) {
    EXPECT_THAT(lsr[i].x, test::SameBits(lsr[7].x));
    EXPECT_THAT(lsr[i].y, test::SameBits(lsr[7].y));
    EXPECT_THAT(lsr[i].z, test::SameBits(lsr[7].z));
  }
}

TEST_F(MapProjection, OtherCountsAreFilledUpToTheNextMultipleOfFour) {
  auto const strip = model();
  for (std::size_t const count : {1U, 2U, 3U, 5U, 10U, 11U}) {
    std::vector<geo::XYPoint> image(count);
    std::vector<geo::XYZPoint> lsr(count);
    strip->mapToImage(mapPoints(*strip, count), 0, image, lsr);
    std::size_t const padded = (count + 3) / 4 * 4;
    EXPECT_EQ(image.size(), padded);
    EXPECT_EQ(lsr.size(), padded);
    EXPECT_NEAR(image.back().y, image[count - 1].y, 0.1);
    EXPECT_THAT(lsr.back().z, test::SameBits(lsr[count - 1].z));
  }
}

TEST_F(MapProjection, NoPointsChangeNothing) {
  auto const strip = model();
  std::vector<geo::XYPoint> image(3);
  std::vector<geo::XYZPoint> lsr(2);
  strip->mapToImage({}, 0, image, lsr);
  EXPECT_EQ(image.size(), 3U);
  EXPECT_EQ(lsr.size(), 2U);
}

TEST_F(MapProjection, PointThatCantBeConvertedIsNoPlaceAndLeavesTheOthers) {
  auto const strip = model();
  auto map = mapPoints(*strip, 12);
  map[5].x = std::numeric_limits<double>::quiet_NaN();
  std::vector<geo::XYPoint> image(12);
  std::vector<geo::XYZPoint> lsr(12);
  strip->mapToImage(map, 0, image, lsr);
  for (std::size_t i = 0; i < 12; ++i) {
    EXPECT_EQ(std::isnan(image[i].y), i == 5) << i;
  }
}

// The strip's own frame as the mapping system: one pass, with the height that was asked for.
TEST_F(MapProjection, EqualHeightsNeedOnePass) {
  auto const strip = model();
  strip->setMappingSystem(strip->lsrSystem());
  geo::XYZPoint lsr;
  geo::XYZPoint map;
  for (float const height : {-20.0F, 0.1F, 300.0F}) {
    strip->imageToLsr({20.0, 30.0}, height, 0, lsr);
    strip->imageToMap({20.0, 30.0}, height, 0, map);
    EXPECT_EQ(map.x, lsr.x);
    EXPECT_EQ(map.y, lsr.y);
    EXPECT_EQ(map.z, static_cast<double>(height));
    Surface const level(strip->lsrSystem(), [&](geo::XYZPoint const&, int, float& z) {
      z = height;
      return true;
    });
    float start = height;
    auto& surface = const_cast<std::remove_const_t<decltype(level)>&>(level);
    strip->imageToMap({20.0, 30.0}, 0, map, &surface, start, 0.1F);
    EXPECT_EQ(level.questions(), 1);
    EXPECT_EQ(map.z, static_cast<double>(height));
  }
}

// Map and image position of each other, in systems of all kinds, at heights far from that of the local frame.
class EverySystem : public MapProjection, public testing::WithParamInterface<char const*> {};

TEST_P(EverySystem, RoundTripCloses) {
  auto const strip = modelIn(GetParam());
  double const unit = strip->mappingSystem()->verticalUnits().getScale();
  auto const ground = static_cast<float>(mapOf(*strip, {0.0, 0.0, 0.0}).z);
  for (float const above : {-30.0F, 0.0F, 250.0F}) {
    float const height = ground + above / static_cast<float>(unit);
    for (double const line : {3.5, 50.0, 96.25}) {
      geo::XYZPoint map;
      geo::XYPoint image;
      strip->imageToMap({12.5, line}, height, 0, map);
      EXPECT_NEAR(map.z, static_cast<double>(height), 0.1 * static_cast<double>(strip->gsd(0)) / unit);
      strip->mapToImage(map, 0, image);
      EXPECT_NEAR(image.x, 12.5, 0.02);
      EXPECT_NEAR(image.y, line, 0.05);
    }
  }
}

// Metres and feet, radians and degrees, ellipsoidal heights and heights above a geoid.
INSTANTIATE_TEST_SUITE_P(MapProjection, EverySystem,
                         testing::Values("EPSG:4979", "EPSG:32633", "EPSG:25833", "EPSG:32633+5773",
                                         "+proj=utm +zone=33 +datum=WGS84 +units=us-ft +vunits=us-ft +type=crs",
                                         "+proj=tmerc +lat_0=48 +lon_0=15 +datum=WGS84 +vunits=ft +type=crs",
                                         "+proj=longlat +datum=WGS84 +vunits=m +type=crs"),
                         [](auto const& system) { return "System" + std::to_string(system.index); });

TEST_F(MapProjection, HeightsOfTheSurfaceAreInItsOwnUnits) {
  auto const strip = model();
  std::unique_ptr<coordSys> const feet(coordSysFactory::getInstance()->createCoordSys(
      std::string("+proj=utm +zone=33 +datum=WGS84 +vunits=ft +type=crs")));
  geo::XYZPoint origin;
  ASSERT_EQ(coordSys::transform(strip->lsrSystem(), feet.get(), {0.0, 0.0, 40.0}, origin), 0);
  dsm::ConstantElevationSource surface(feet.get(), static_cast<float>(origin.z));
  float height = 0.0F;
  geo::XYZPoint map;
  strip->imageToMap({50.0, 50.0}, 0, map, &surface, height, 0.01F);
  EXPECT_EQ(height, static_cast<float>(origin.z));
  geo::XYZPoint lsr;
  ASSERT_EQ(coordSys::transform(strip->mappingSystem(), strip->lsrSystem(), map, lsr), 0);
  EXPECT_NEAR(lsr.z, 40.0, 0.02 + 0.001);
}

TEST_F(MapProjection, SurfaceWithoutAHeightIsReportedAtOnce) {
  auto const strip = model();
  Surface nothing(strip->mappingSystem(), [](geo::XYZPoint const&, int, float&) { return false; });
  float height = 12.0F;
  geo::XYZPoint map;
  EXPECT_MESSAGE(strip->imageToMap({20.0, 30.0}, 0, map, &nothing, height, 0.1F), noHeight);
  EXPECT_EQ(nothing.questions(), 1);
  EXPECT_EQ(height, 12.0F);
  EXPECT_NE(map.z, 0.0);
}

TEST_F(MapProjection, SurfaceThatNeverSettlesEndsAfterAHundredPasses) {
  auto const strip = model();
  strip->setMappingSystem(strip->lsrSystem());
  Surface restless(strip->lsrSystem(), [](geo::XYZPoint const&, int question, float& z) {
    z = question % 2 == 0 ? 100.0F : 0.0F;
    return true;
  });
  float height = 50.0F;
  geo::XYZPoint map;
  strip->imageToMap({20.0, 30.0}, 0, map, &restless, height, 0.1F);
  EXPECT_EQ(restless.questions(), 100);
  EXPECT_EQ(height, 100.0F);
  // The hundredth cut was made at the height of the ninety-ninth answer.
  EXPECT_EQ(map.z, 0.0);
}

// A ray that rises to a slope at 45 degrees from a start 100 m off: each pass leaves the part tan(look) of the last.
TEST_F(MapProjection, SlopeIsMetWithinTheTolerance) {
  auto const strip = model();
  strip->setMappingSystem(strip->lsrSystem());
  double const c = std::cos(0.4);
  double const s = std::sin(0.4);
  Surface slope(strip->lsrSystem(), [&](geo::XYZPoint const& p, int, float& z) {
    z = static_cast<float>(c * p.x + s * p.y);
    return true;
  });
  float height = 100.0F;
  geo::XYZPoint map;
  strip->imageToMap({50.0, 50.0}, 0, map, &slope, height, 0.01F);
  // The look angle's tangent is 15 / 50: along the flight d = 50 + 0.3 (1000 - z) and z = d.
  double const expected = (50.0 + 300.0) / 1.3;
  EXPECT_NEAR(map.z, expected, 0.02);
  EXPECT_NEAR(height, expected, 0.02);
  EXPECT_NEAR(c * map.x + s * map.y, expected, 0.02);
  EXPECT_GT(slope.questions(), 5);
  EXPECT_LT(slope.questions(), 12);
}

}  // namespace
