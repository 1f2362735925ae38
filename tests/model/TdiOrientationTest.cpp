// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SmallModel.h"
#include "support/Bytes.h"
#include "support/Matchers.h"

#include <sensor/CameraTime.h>
#include <sensor/EOP.h>
#include <sensor/EOPData.h>

#include <utility>

namespace {

using sensor::EOP;
using test::Bytes;

// Two stages of TDI at all lines, an integration time that steps from 4 ms to 8 ms at line 20, a cycle of 10 ms.
class TdiOrientation : public test::SmallModel {
protected:
  TdiOrientation() {
    mStrip.bands = {{"PANN00A", 0.0, false, "swath=\"101\" it=\"a.it\" tdi=\"a.tdi\""}};
    mFolder.file("a.tdi", (Bytes() << std::uint32_t{0} << std::uint8_t{2}).str());
    mFolder.file(
        "a.it", (Bytes() << std::uint32_t{0} << std::uint32_t{4000} << std::uint32_t{20} << std::uint32_t{8000}).str());
  }

  struct Orientation {
    EOP eop;
    float correction = 99.0F;
  };
  static Orientation at(sensor::KESStripModel const& strip, float line) {
    Orientation o;
    strip.computeOrientation(line, 0, o.eop, o.correction);
    return o;
  }
};

TEST_F(TdiOrientation, WithoutTdiALineHasItsOwnTimeAndNoCorrection) {
  mStrip.bands = {{"PANN00A"}};
  Orientation const o = at(*model(), 12.5F);
  EXPECT_EQ(o.correction, 0.0F);
  EXPECT_NEAR(o.eop.gpsTime, 100.125, 1e-12);
}

// The centre of the exposure is half a cycle less half the integration time behind the line: 5 - 2 = 3 ms, 0.3 lines.
TEST_F(TdiOrientation, ExposureHasItsCentreBehindTheLine) {
  Orientation const o = at(*model(), 12.0F);
  EXPECT_NEAR(o.eop.gpsTime, 100.12 + 0.003, 1e-9);
  EXPECT_NEAR(o.correction, -0.3F, 1e-5F);
}

TEST_F(TdiOrientation, LinesWithTheIntegrationTimeOfTheirWholeLineHaveTheirOwnOrientation) {
  Orientation const o = at(*model(), 12.5F);
  EXPECT_NEAR(o.eop.gpsTime, 100.125 + 0.003, 1e-9);
  EXPECT_NEAR(at(*model(), 40.5F).eop.gpsTime, 100.405 + 0.001, 1e-9);
}

// Between lines 19 and 20 the integration time steps: a blend of the two whole lines, not the orientation of the line
// itself.
TEST_F(TdiOrientation, StepIsABlendOfTheTwoWholeLines) {
  auto const strip = model();
  Orientation const a = at(*strip, 19.0F);
  Orientation const b = at(*strip, 20.0F);
  Orientation const o = at(*strip, 19.25F);
  EXPECT_NEAR(a.eop.gpsTime, 100.19 + 0.003, 1e-9);
  EXPECT_NEAR(b.eop.gpsTime, 100.20 + 0.001, 1e-9);
  EXPECT_NEAR(o.eop.gpsTime, 0.75 * a.eop.gpsTime + 0.25 * b.eop.gpsTime, 1e-9);
  EXPECT_NEAR(o.eop.x, 0.75 * a.eop.x + 0.25 * b.eop.x, 1e-9);
  EXPECT_NEAR(o.correction, 0.75F * a.correction + 0.25F * b.correction, 1e-6F);
}

// Records at the very times of the two lines come back through their angles, possibly on opposite sides.
TEST_F(TdiOrientation, BlendDoesntCancelBetweenOppositeSides) {
  mStrip.direction = 3.1415;
  mStrip.kappaError = 0.0001;
  auto const strip = model();
  Orientation const o = at(*strip, 19.5F);
  float const norm = o.eop.q0 * o.eop.q0 + o.eop.q1 * o.eop.q1 + o.eop.q2 * o.eop.q2 + o.eop.q3 * o.eop.q3;
  EXPECT_NEAR(norm, 1.0F, 1e-4F);
}

// A record between the two lines, at 8 m, which a blend of the lines' own orientations would pass over.
TEST_F(TdiOrientation, WithoutTdiAStepOfTheIntegrationTimeBlendsNothing) {
  mStrip.bands = {{"PANN00A", 0.0, false, "swath=\"101\" it=\"a.it\""}};
  auto const strip = model();
  int i = 23;
  for (auto const& [time, x] : {std::pair(100.19, 0.0), {100.195, 8.0}, {100.2, 0.0}}) {
    EOP eop;
    eop.q0 = 1.0F;
    eop.gpsTime = time;
    eop.x = x;
    ASSERT_TRUE(strip->eop()->setEOP(i++, eop));
  }
  Orientation const o = at(*strip, 19.25F);
  EXPECT_NEAR(o.eop.x, 4.0, 1e-5);
  EXPECT_EQ(o.correction, 0.0F);
}

// One stage up to line 19 and two from line 20 on: what lies between has more than one.
TEST_F(TdiOrientation, LineWithLittleMoreThanOneStageHasTheCentreOfItsExposure) {
  mFolder.file("a.tdi", (Bytes() << std::uint32_t{0} << std::uint8_t{1} << std::uint32_t{20} << std::uint8_t{2}).str());
  mFolder.file("a.it", (Bytes() << std::uint32_t{0} << std::uint32_t{4000}).str());
  auto const strip = model();
  EXPECT_EQ(at(*strip, 19.0F).correction, 0.0F);
  EXPECT_NEAR(at(*strip, 19.125F).correction, -0.3F, 1e-5F);
}

// The same stages with the step of the integration time: line 19 has no correction, and line 20 one of 5 - 4 = 1 ms.
TEST_F(TdiOrientation, LineOfOneStageBesideAStepHasItsOwnTime) {
  mFolder.file("a.tdi", (Bytes() << std::uint32_t{0} << std::uint8_t{1} << std::uint32_t{20} << std::uint8_t{2}).str());
  auto const strip = model();
  Orientation const o = at(*strip, 19.25F);
  EXPECT_NEAR(o.correction, 0.25F * -0.1F, 1e-5F);
  EXPECT_NEAR(o.eop.gpsTime, 0.75 * 100.19 + 0.25 * 100.201, 1e-9);
}

// Half a turn apart, where the dot product is 0 and there is no nearer side: the second one keeps its sign. Two records
// with the first attitude are around the exposure of line 19, at 100.193, and two with the other one around 100.201.
TEST_F(TdiOrientation, BlendChangesTheSignOfAnAttitudeOnTheOtherSideAndOfNoOrthogonalOne) {
  auto const strip = model();
  auto const set = [&](int i, double time, float q0, float q1) {
    EOP eop;
    eop.gpsTime = time;
    eop.q0 = q0;
    eop.q1 = q1;
    ASSERT_TRUE(strip->eop()->setEOP(i, eop));
  };
  set(23, 100.19, 1.0F, 0.0F);
  set(24, 100.195, 1.0F, 0.0F);
  set(25, 100.2, 0.0F, 1.0F);
  set(26, 100.21, 0.0F, 1.0F);
  ASSERT_EQ(at(*strip, 19.0F).eop.q0, 1.0F);
  ASSERT_EQ(at(*strip, 20.0F).eop.q1, 1.0F);
  Orientation const o = at(*strip, 19.5F);
  EXPECT_EQ(o.eop.q0, 0.5F);
  EXPECT_EQ(o.eop.q1, 0.5F);
  // On the other side, the second one changes all its signs.
  set(25, 100.2, -0.75F, 0.5F);
  set(26, 100.21, -0.75F, 0.5F);
  Orientation const turned = at(*strip, 19.5F);
  EXPECT_EQ(turned.eop.q0, 0.5F + 0.5F * 0.75F);
  EXPECT_EQ(turned.eop.q1, 0.5F * -0.5F);
}

TEST_F(TdiOrientation, GroundIsWhereTheLineLooksWhateverTheCentreOfItsExposure) {
  auto const strip = model();
  // The correction in the focal plane makes up for the later time: 0.3 pixels of 2 m against 0.3 lines of 1 m.
  EXPECT_NEAR(ground(*strip, 50.0, 12.0, 0.0F).x, 12.0 + 0.3 - 0.3 * 2.0, 1e-3);
}

TEST_F(TdiOrientation, GivenTdiAsksNoTable) {
  auto const strip = model();
  EOP eop;
  float correction = 0.0F;
  strip->computeOrientation(12.0F, 0, 4.0F, eop, correction);
  EXPECT_EQ(correction, 3.0F);
  EXPECT_NEAR(eop.gpsTime, 100.09, 1e-9);
}

}  // namespace
