// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SmallModel.h"
#include "support/Matchers.h"

#include <geo/coordSys.h>
#include <util/VectorOpLevel.h>

// The host's own platform takes the place of the one that is linked.
namespace {
float levelOfThisHost = 0.0F;
}

float util::vectorOpLevel() {
  return levelOfThisHost;
}

namespace {

class OtherPlatform : public test::SmallModel {
protected:
  std::unique_ptr<sensor::KESStripModel> modelAtLevel(float level) {
    levelOfThisHost = level;
    return model();
  }
};

TEST_F(OtherPlatform, LevelIsTakenWhenTheModelIsMade) {
  auto const with = modelAtLevel(4.1F);
  auto const without = modelAtLevel(4.0F);
  EXPECT_TRUE(with->sseEnabled());
  EXPECT_FALSE(without->sseEnabled());
  levelOfThisHost = 5.0F;
  EXPECT_FALSE(without->sseEnabled());
  EXPECT_TRUE(sensor::KESStripModel().sseEnabled());
}

TEST_F(OtherPlatform, LanesWorkWithoutAVectorUnitToTheSameBits) {
  auto const with = modelAtLevel(4.1F);
  auto const without = modelAtLevel(0.0F);
  std::vector<geo::XYZPoint> points;
  points.reserve(400);
  for (int i = 0; i < 400; ++i) {
    points.emplace_back(0.3 * i, 60.0 - 0.35 * i, 0.1 * i);
  }
  std::vector<geo::XYPoint> a(points.size());
  std::vector<geo::XYPoint> b(points.size());
  with->lsrToImageSSE(points, 0, a);
  without->lsrToImageSSE(points, 0, b);
  for (std::size_t i = 0; i < points.size(); ++i) {
    EXPECT_THAT(a[i].x, test::SameBits(b[i].x));
    EXPECT_THAT(a[i].y, test::SameBits(b[i].y));
  }
}

// What `mapToImage` does with 10 points and vectors of 10.
struct Many {
  std::vector<geo::XYPoint> image{10};
  std::vector<geo::XYZPoint> lsr{10};

  explicit Many(sensor::KESStripModel const& strip) {
    std::vector<geo::XYZPoint> map(10);
    for (int i = 0; i < 10; ++i) {
      geo::coordSys::transform(strip.lsrSystem(), strip.mappingSystem(), {5.0 + 9.0 * i, 20.0 - 3.0 * i, 1.0 * i},
                               map[static_cast<std::size_t>(i)]);
    }
    strip.mapToImage(map, 0, image, lsr);
  }
};

TEST_F(OtherPlatform, WithoutLanesNoVectorChangesItsSize) {
  Many const without(*modelAtLevel(4.0F));
  EXPECT_EQ(without.image.size(), 10U);
  EXPECT_EQ(without.lsr.size(), 10U);
  EXPECT_NEAR(without.image[9].y, 86.0, 0.05);
}

TEST_F(OtherPlatform, WithoutLanesTheFormForRunsIsTaken) {
  auto const strip = modelAtLevel(4.0F);
  Many const many(*strip);
  std::vector<geo::XYPoint> run(10);
  strip->lsrToImage(many.lsr, 0, run);
  for (std::size_t i = 0; i < 10; ++i) {
    EXPECT_THAT(many.image[i].x, test::SameBits(run[i].x));
    EXPECT_THAT(many.image[i].y, test::SameBits(run[i].y));
  }
}

TEST_F(OtherPlatform, WithLanesTheyAreTaken) {
  auto const strip = modelAtLevel(4.1F);
  Many const many(*strip);
  ASSERT_EQ(many.lsr.size(), 12U);
  std::vector<geo::XYPoint> lanes(12);
  strip->lsrToImageSSE(many.lsr, 0, lanes);
  for (std::size_t i = 0; i < 12; ++i) {
    EXPECT_THAT(many.image[i].x, test::SameBits(lanes[i].x));
    EXPECT_THAT(many.image[i].y, test::SameBits(lanes[i].y));
  }
}

}  // namespace
