// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"

#include <xmlFileData/CorrectionSensor.h>

#include <cstdint>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using xmlFileData::CorrectionSensor;
using xmlFileData::PrnuSensor;

TEST(CorrectionSensor, BeginsWithNumbersThatCorrectNothing) {
  CorrectionSensor const sensor;
  EXPECT_EQ(sensor.type, "");
  EXPECT_FALSE(sensor.disabled);
  EXPECT_EQ(sensor.limit, 10000);
  EXPECT_EQ(sensor.imagingPixels, 0);
  EXPECT_EQ(sensor.radiometricGain, 1.0);
  EXPECT_EQ(sensor.brightnessValue, 0.0);
  EXPECT_EQ(sensor.brightnessIt, 1.0);
  EXPECT_EQ(sensor.center, 0.0);
  EXPECT_EQ(sensor.width, 0.0);
  EXPECT_EQ(sensor.dsnuLower, 0);
  EXPECT_EQ(sensor.dsnuUpper, 0);
  EXPECT_EQ(sensor.prnuWidth, 0);
  EXPECT_EQ(sensor.prnuHeight, 0);
  EXPECT_THAT(sensor.prnu, IsEmpty());
  EXPECT_EQ(sensor.prnuType, "");
  EXPECT_THAT(sensor.lookups, IsEmpty());
}

TEST(CorrectionSensor, TakesAnImageUnderItsOwnType) {
  CorrectionSensor sensor;
  sensor.type = "PAN14";
  sensor.setPrnu({3, 2, {1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F}, ""});
  EXPECT_EQ(sensor.prnuWidth, 3);
  EXPECT_EQ(sensor.prnuHeight, 2);
  EXPECT_THAT(sensor.prnu, ElementsAre(1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F));
  EXPECT_EQ(sensor.prnuType, "PAN14");
}

TEST(CorrectionSensor, TakesAnImageUnderTheTypeOfTheImage) {
  CorrectionSensor sensor;
  sensor.type = "PAN14";
  sensor.setPrnu({1, 1, {1.0F}, "PAN"});
  EXPECT_EQ(sensor.prnuType, "PAN");
  EXPECT_EQ(sensor.type, "PAN14");
}

TEST(CorrectionSensor, TakesAnEmptyImage) {
  CorrectionSensor sensor;
  sensor.setPrnu({0, 4, {}, ""});
  EXPECT_EQ(sensor.prnuWidth, 0);
  EXPECT_EQ(sensor.prnuHeight, 4);
}

TEST(CorrectionSensor, RefusesAnImageWithOtherThanItsSamplesAndStaysAsItWas) {
  CorrectionSensor sensor;
  sensor.type = "PAN14";
  sensor.setPrnu({1, 2, {1.0F, 2.0F}, ""});
  std::int64_t const power = std::int64_t{1} << 32;
  for (PrnuSensor const& image : std::vector<PrnuSensor>{{2, 2, std::vector<float>(3), "x"},
                                                         {2, 2, std::vector<float>(5), "x"},
                                                         {-1, -4, std::vector<float>(4), "x"},
                                                         {0, -1, {}, "x"},
                                                         {power, power, {}, "x"}}) {
    EXPECT_MESSAGE(sensor.setPrnu(image), "Invalid width or height");
  }
  EXPECT_EQ(sensor.prnuWidth, 1);
  EXPECT_EQ(sensor.prnuHeight, 2);
  EXPECT_THAT(sensor.prnu, ElementsAre(1.0F, 2.0F));
  EXPECT_EQ(sensor.prnuType, "PAN14");
}

}  // namespace
