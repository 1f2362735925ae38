// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "timing/Attitude.h"

#include "support/Matchers.h"
#include "support/StripA.h"

#include <cmath>
#include <limits>

namespace {

using sensor::EOP;
using test::SameBits;
using test::WithinUlps;

EOP quaternionOf(float omega, float phi, float kappa) {
  EOP eop;
  sensor::opkToQuaternion(omega, phi, kappa, eop);
  return eop;
}

// Sixty degrees about one axis: the cosine of thirty, and the sine of minus thirty on that axis.
TEST(Attitude, TurnAboutOneAxisHasTheHalfAngleOnIt) {
  auto const third = static_cast<float>(M_PI / 3);
  float const c = std::sqrt(3.0F) / 2;
  EOP const omega = quaternionOf(third, 0, 0);
  EXPECT_NEAR(omega.q0, c, 1e-7);
  EXPECT_NEAR(omega.q1, -0.5, 1e-7);
  EXPECT_NEAR(quaternionOf(0, third, 0).q2, -0.5, 1e-7);
  EXPECT_NEAR(quaternionOf(0, 0, third).q3, -0.5, 1e-7);
}

TEST(Attitude, AnglesComeBackFromTheirQuaternion) {
  float omega = 0;
  float phi = 0;
  float kappa = 0;
  sensor::quaternionToOpk(quaternionOf(0.3F, -0.4F, 2.5F), omega, phi, kappa);
  EXPECT_NEAR(omega, 0.3F, 1e-6);
  EXPECT_NEAR(phi, -0.4F, 1e-6);
  EXPECT_NEAR(kappa, 2.5F, 1e-6);
}

TEST(Attitude, SineBeyondOneCountsAsOne) {
  EOP eop;
  eop.q0 = eop.q2 = 0.70711F;  // a little long: the sine of phi is 1.000009
  float omega = 0;
  float phi = 0;
  float kappa = 0;
  sensor::quaternionToOpk(eop, omega, phi, kappa);
  EXPECT_THAT(phi, SameBits(-std::asin(1.0F)));
}

TEST(Attitude, HeadingAloneIsTheDoubleFormWithLevelAngles) {
  for (double const kappa : {0.0, -0.0, 0.7, -2.9, 3.14}) {
    EOP level;
    EOP full;
    sensor::kappaToQuaternion(kappa, level);
    sensor::opkToQuaternion(0.0, 0.0, kappa, full);
    EXPECT_THAT(level.q0, SameBits(full.q0));
    EXPECT_THAT(level.q1, SameBits(full.q1));
    EXPECT_THAT(level.q2, SameBits(full.q2));
    EXPECT_THAT(level.q3, SameBits(full.q3));
  }
}

TEST(Attitude, BlendIsLinearAndTakesTheStatusOfTheNearer) {
  EOP a{10.0, 1.0F, 1.0F, 0.0F, 0.5F, 0.0F, 100.0, 200.0, 300.0};
  EOP b{14.0, 2.0F, 0.5F, 0.25F, 0.5F, -1.0F, 104.0, 190.0, 300.0};
  EOP out;
  sensor::interpolateEOP(0.25F, a, b, out);
  EXPECT_EQ(out.gpsTime, 11.0);
  EXPECT_EQ(out.status, 1.0F);
  EXPECT_EQ(out.q0, 0.875F);
  EXPECT_EQ(out.q1, 0.0625F);
  EXPECT_EQ(out.q2, 0.5F);
  EXPECT_EQ(out.q3, -0.25F);
  EXPECT_EQ(out.x, 101.0);
  EXPECT_EQ(out.y, 197.5);
  EXPECT_EQ(out.z, 300.0);
  sensor::interpolateEOP(0.5F, a, b, out);
  EXPECT_EQ(out.status, 2.0F);
}

TEST(Attitude, ConversionsAreTheExpectedOnes) {
  test::Table const table(test::stripA::expected().at("opk").at("table"));
  for (std::size_t row = 0; row < table.size(); ++row) {
    SCOPED_TRACE(row);
    float const omega = table.real(row, "omega");
    float const phi = table.real(row, "phi");
    float const kappa = table.real(row, "kappa");
    EOP const q = quaternionOf(omega, phi, kappa);
    EXPECT_THAT(q.q0, WithinUlps(table.real(row, "q0"), 2));
    // A component near zero is a difference; its error is that of the products.
    EXPECT_NEAR(q.q1, table.real(row, "q1"), 1.2e-7F);
    EXPECT_NEAR(q.q2, table.real(row, "q2"), 1.2e-7F);
    EXPECT_NEAR(q.q3, table.real(row, "q3"), 1.2e-7F);
    EOP d;
    sensor::opkToQuaternion(static_cast<double>(omega), static_cast<double>(phi), static_cast<double>(kappa), d);
    EXPECT_THAT(d.q0, SameBits(table.real(row, "d0")));
    EXPECT_THAT(d.q1, SameBits(table.real(row, "d1")));
    EXPECT_THAT(d.q2, SameBits(table.real(row, "d2")));
    EXPECT_THAT(d.q3, SameBits(table.real(row, "d3")));
  }
}

// Weights and differences that floats hold exactly.
TEST(AttitudeParts, EachComponentIsBlendedByItself) {
  sensor::EOP const a{10.0, 1.0F, 0.5F, 0.25F, -0.5F, 0.75F, 100.0, -40.0, 16.0};
  sensor::EOP const b{14.0, 2.0F, 0.75F, 0.75F, 0.5F, -0.25F, 104.0, -80.0, 24.0};
  sensor::EOP out;
  sensor::interpolateEOP(0.25F, a, b, out);
  EXPECT_EQ(out.gpsTime, 11.0);
  EXPECT_EQ(out.status, 1.0F);
  EXPECT_EQ(out.q0, 0.5625F);
  EXPECT_EQ(out.q1, 0.375F);
  EXPECT_EQ(out.q2, -0.25F);
  EXPECT_EQ(out.q3, 0.5F);
  EXPECT_EQ(out.x, 101.0);
  EXPECT_EQ(out.y, -50.0);
  EXPECT_EQ(out.z, 18.0);
}

TEST(AttitudeParts, DotProductAndOppositeQuaternionHaveAllComponents) {
  sensor::EOP a{0.0, 0.0F, 1.0F, 2.0F, 3.0F, 4.0F, 0.0, 0.0, 0.0};
  sensor::EOP const b{0.0, 0.0F, 1.0F, 10.0F, 100.0F, 1000.0F, 0.0, 0.0, 0.0};
  EXPECT_EQ(sensor::dotProduct(a, b), 4321.0F);
  sensor::negateQuaternion(a);
  EXPECT_EQ(sensor::dotProduct(a, b), -4321.0F);
}

}  // namespace
