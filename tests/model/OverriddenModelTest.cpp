// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SmallModel.h"
#include "support/Matchers.h"

#include <geo/coordSys.h>
#include <geo/units.h>

#include <cmath>

// A host's model that is derived from the strip's and overrides operations: which of the others go through them.

namespace {

class Overridden : public sensor::KESStripModel {
public:
  using KESStripModel::KESStripModel;

  float flightAzimuth() const override { return 0.25F; }
  float lookAngle(int band) const override { return band == 0 ? 0.3F : -0.7F; }
  float gsd(int band) const override { return 8.0F + static_cast<float>(band); }
  void imageToLsr(geo::XYPoint const& /*image*/, float /*height*/, int /*band*/, geo::XYZPoint& ground) const override {
    ++mCuts;
    ground = {10.0, 20.0, mHeight};
  }

  // Where all rays meet the plane, and how often they were cut with it.
  double mHeight = 0.0;
  mutable int mCuts = 0;
};

class OverriddenModel : public test::SmallModel {
protected:
  std::unique_ptr<Overridden> overridden() {
    return std::make_unique<Overridden>(mStrip.write(mFolder), true, false, false);
  }
};

TEST_F(OverriddenModel, DirectionsAddTheOverriddenFlightAzimuth) {
  auto const strip = overridden();
  EXPECT_EQ(strip->stereoAzimuth(*strip), 0.25F);
  // Pixel 60 of a line through the middle of the image plane looks along focal y.
  EXPECT_NEAR(strip->azimuth({60.0, 5.0}, 0), std::asin(1.0) + 0.25, 1e-6);
}

TEST_F(OverriddenModel, BaseHeightRatioTakesOverriddenLookAnglesInSinglePrecision) {
  auto const strip = overridden();
  float const expected = std::tan(0.3F) - std::tan(-0.7F);
  ASSERT_NE(static_cast<double>(expected), std::tan(static_cast<double>(0.3F)) - std::tan(static_cast<double>(-0.7F)));
  EXPECT_EQ(strip->baseHeightRatio(*strip, 0, 1), static_cast<double>(expected));
  EXPECT_EQ(strip->baseHeightRatio(*strip, 1, 0), static_cast<double>(expected));
}

class OverriddenRatio : public sensor::KESStripModel {
public:
  using KESStripModel::baseHeightRatio;
  double baseHeightRatio(SensorModelBase const& /*other*/, int a, int b) const override { return 10.0 * a + b; }
};

TEST_F(OverriddenModel, BaseHeightRatioWithAHeightTakesTheFormWithout) {
  OverriddenRatio const none;
  EXPECT_EQ(none.baseHeightRatio(none, 3, 4, 99.0F), 34.0);
}

TEST_F(OverriddenModel, SamplingDistanceOfTheMapIsTheOverriddenOne) {
  auto const strip = overridden();
  strip->setMappingSystem(strip->lsrSystem());
  EXPECT_EQ(strip->mappingSystemGsd(0), 8.0F);
  EXPECT_EQ(strip->mappingSystemGsd(1), 9.0F);
}

// A ray that meets all planes at one height never comes near another height.
TEST_F(OverriddenModel, CutAtAHeightThatIsNeverMetEndsAfterTenPasses) {
  auto const strip = overridden();
  strip->setMappingSystem(strip->lsrSystem());
  strip->mHeight = 5.0;
  geo::XYZPoint map;
  strip->imageToMap({1.0, 2.0}, 100.0F, 0, map);
  EXPECT_EQ(strip->mCuts, 10);
  EXPECT_EQ(map.x, 10.0);
  EXPECT_EQ(map.z, 5.0);
}

// A tenth of 8 m: the difference of 0.8 m in single precision is still close, and the next double isn't.
TEST_F(OverriddenModel, CutIsCloseToATenthOfTheSamplingDistance) {
  auto const strip = overridden();
  strip->setMappingSystem(strip->lsrSystem());
  auto const tolerance = static_cast<double>(8.0F * 0.1F);
  geo::XYZPoint map;
  for (double const side : {1.0, -1.0}) {
    strip->mHeight = side * tolerance;
    strip->mCuts = 0;
    strip->imageToMap({1.0, 2.0}, 0.0F, 0, map);
    EXPECT_EQ(strip->mCuts, 1);
    strip->mHeight = side * std::nextafter(tolerance, 1.0);
    strip->mCuts = 0;
    strip->imageToMap({1.0, 2.0}, 0.0F, 0, map);
    EXPECT_EQ(strip->mCuts, 10);
  }
}

class OverriddenToL0 : public sensor::KESStripModel {
public:
  void imageToL0(geo::XYPoint const& image, int /*band*/, geo::XYPoint& l0) const override {
    l0 = {image.x + 100.0, image.y};
  }
};

class OverriddenFromL0 : public sensor::KESStripModel {
public:
  void l0ToImage(geo::XYPoint const& l0, int /*band*/, geo::XYPoint& image) const override {
    image = {l0.x + 100.0, l0.y};
  }
};

TEST_F(OverriddenModel, EachWayBetweenImageAndLevelZeroStaysWhenTheOtherIsOverridden) {
  geo::XYPoint out;
  OverriddenToL0().l0ToImage({3.0, 4.0}, 0, out);
  EXPECT_EQ(out.x, 3.0);
  EXPECT_EQ(out.y, 4.0);
  OverriddenFromL0().imageToL0({3.0, 4.0}, 0, out);
  EXPECT_EQ(out.x, 3.0);
  EXPECT_EQ(out.y, 4.0);
}

}  // namespace
