// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AnyOrientation.h"
#include "SmallModel.h"
#include "model/LineSolver.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraKes.h>
#include <sensor/CameraTime.h>
#include <sensor/EOP.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

// How many passes the search for a line takes, in its three forms.

namespace {

using geo::XYPoint;
using geo::XYZPoint;
using sensor::KESStripModel;

// The lines whose orientation is looked up, one for each pass that moves.
struct Lines {
  void orientationAt(float line) { looked.push_back(line); }
  std::vector<float> looked;
};

class SolverPasses : public test::SmallModel {
protected:
  static std::vector<float> run(KESStripModel const& strip, std::vector<XYZPoint> const& ground) {
    Lines lines;
    std::vector<XYPoint> image(ground.size());
    solveLines(sensor::StripBand(*strip.modelData(), 0), ground, image, lines);
    return lines.looked;
  }

  static int single(KESStripModel const& strip, XYZPoint const& ground) {
    XYPoint image;
    return solveImage(strip, ground, 0, image);
  }

  // The passes of four equal positions in lanes.
  static std::size_t lanes(KESStripModel const& strip, XYZPoint const& ground) {
    sensor::StripBand const band(*strip.modelData(), 0);
    sensor::LineOrientations const orientations(band);
    std::size_t count = 0;
    std::vector<XYPoint> image(4);
    test::solveInPlainLanes(
        sensor::fourLaneConstants(band),
        [&](float line, bool headingOnly, unsigned lane, sensor::FourLaneOrientation& o) {
          ++count;
          orientations(line, headingOnly, lane, o);
        },
        {ground, ground, ground, ground}, image);
    return count / 4;
  }
};

// The second of two identical positions stays within the tolerance of the first one's line.
TEST_F(SolverPasses, SecondOfTwoIdenticalPositionsLooksUpNoOrientation) {
  auto const strip = model();
  XYZPoint const point = ground(*strip, 30.0, 20.0, 0.0F);
  EXPECT_EQ(run(*strip, {point}).size(), 2U);
  EXPECT_EQ(run(*strip, {point, point, point}).size(), 2U);
}

// Line l is over x = l. Beyond 2^24 single precision doesn't count lines, so that the position begins anew in the
// middle.
TEST_F(SolverPasses, RunTakesNoLineForASolutionThatCantBeCounted) {
  auto const strip = model();
  auto const beginnings = [&](double x) {
    std::vector<float> const looked = run(*strip, {{x, 0.0, 0.0}});
    return std::count(looked.begin(), looked.end(), 50.5F);
  };
  for (double const side : {1.0, -1.0}) {
    EXPECT_EQ(beginnings(side * 1e6), 1) << side;
    EXPECT_EQ(beginnings(side * 4e7), 2) << side;
  }
}

// A scale that is 1.98 times too large leaves -0.98 of the distance after each pass, and 0.01 of it from the 22nd on.
TEST_F(SolverPasses, StepsAreHalvedFromTheTwentySecondPassOn) {
  auto const strip = model();
  strip->img(0)->setScale(2.0F * 1.98F);
  // 30.5 lines off: 19.95 after 21 passes, 0.2 after the next, 0.002 after the next, whose step of 0.198 isn't the
  // last.
  EXPECT_EQ(single(*strip, {20.0, 0.0, 0.0}), 24);
  EXPECT_EQ(run(*strip, {{20.0, 0.0, 0.0}}).size(), 24U);
  EXPECT_EQ(lanes(*strip, {20.0, 0.0, 0.0}), 24U);
}

// 5 lines off: 3.27 after 21 passes, 0.0327 after the next; the step then is 0.0648, and halved 0.0324.
TEST_F(SolverPasses, SingleFormTestsTheHalvedStepAndTheOthersTheWholeOne) {
  auto const strip = model();
  strip->img(0)->setScale(2.0F * 1.98F);
  EXPECT_EQ(single(*strip, {45.5, 0.0, 0.0}), 23);
  EXPECT_EQ(run(*strip, {{45.5, 0.0, 0.0}}).size(), 24U);
  EXPECT_EQ(lanes(*strip, {45.5, 0.0, 0.0}), 24U);
}

// A position whose second pass steps by exactly 0.05 lines. Lines of 0.5 m are taken for ones of 1 m: the first step is
// 0.1 lines, and leaves half of it. Powers of two for all else keep the steps exact.
class StepAtTheTolerance : public SolverPasses {
protected:
  StepAtTheTolerance() {
    mStrip.speed = 50.0;
    mStrip.height = 1024.0;
  }

  std::unique_ptr<KESStripModel> exactModel() {
    auto strip = model();
    auto& line = dynamic_cast<sensor::CalibrationGeometryKes&>(*strip->calibrationGeometry(0));
    line.setFocalLength(1.0F);
    line.setPixelData(1.0F / 1024.0F, 101, 101, std::vector<float>(101, 0.0F), tableOfY());
    strip->img(0)->setScale(1.0F);
    return strip;
  }

  static std::vector<float> tableOfY() {
    std::vector<float> y;
    for (int i = -50; i <= 50; ++i) {
      y.push_back(static_cast<float>(i) / 1024.0F);
    }
    return y;
  }

  // A position 0.05 of a step ahead of a line's perspective centre.
  static XYZPoint aheadOf(KESStripModel const& strip, float line) {
    sensor::EOP eop;
    float correction = 0.0F;
    strip.computeOrientation(line, 0, eop, correction);
    return {eop.x + static_cast<double>(0.05F), eop.y, 0.0};
  }
};

TEST_F(StepAtTheTolerance, EndsTheSingleFormAndNotTheRun) {
  auto const strip = exactModel();
  float const second = 50.5F + 0.1F;
  XYZPoint const point = aheadOf(*strip, second);
  std::vector<float> const looked = run(*strip, {point});
  ASSERT_GE(looked.size(), 2U);
  ASSERT_EQ(looked[1], second);
  EXPECT_EQ(single(*strip, point), 2);
  // 0.05F times itself, rounded, is above 0.0025F.
  ASSERT_GT(0.05F * 0.05F, 0.0025F);
  EXPECT_EQ(looked.size(), 3U);
}

// The same camera over lines of 1 m, as which they are taken: line l is over x = l.
class ExactLines : public StepAtTheTolerance {
protected:
  ExactLines() { mStrip.speed = 100.0; }
};

// The middle, line 50.5, is 16777165.52 or -16777266.52 lines from the position, 16777166 or -16777266 in single
// precision, and so leads to 2^24 or its negative. A position there begins anew in the middle, although only 0.02 lines
// are left.
TEST_F(ExactLines, FirstLineThatCantBeCountedIsNoSolution) {
  auto const strip = exactModel();
  for (double const side : {1.0, -1.0}) {
    std::vector<float> const looked = run(*strip, {{side * (16777216.0 + 0.02), 0.0, 0.0}});
    ASSERT_GE(looked.size(), 2U);
    ASSERT_EQ(looked[1], static_cast<float>(side) * 16777216.0F);
    EXPECT_GT(std::count(looked.begin(), looked.end(), 50.5F), 1) << side;
  }
}

// Lanes whose step is given for each look-up: a camera of focal length 1 at a height of 1024, whose lines are 2^-10
// long in the focal plane, steps by as much as the ground lies ahead of it.
class GivenSteps {
public:
  explicit GivenSteps(std::vector<float> steps) : mSteps(std::move(steps)) {}

  std::vector<float> linesOfFirstLane(std::size_t groups) {
    mLines.clear();
    mCount = 0;
    static std::vector<float> const x{0.0F, 0.0F, 0.0F};
    static std::vector<float> const y{-1.0F, 0.0F, 1.0F};
    sensor::FourLaneConstants const constants{x.data(), y.data(), 2, 0.0F, 1.0F, {1.0F / 1024.0F, 0.0F, 1024.0F, 1.0F},
                                              100.0F};
    mImage.resize(4 * groups);
    std::vector<XYZPoint> const ground(4 * groups, XYZPoint(0.0, 0.0, 0.0));
    test::solveInPlainLanes(
        constants,
        [this](float line, bool /*headingOnly*/, unsigned lane, sensor::FourLaneOrientation& lanes) {
          std::size_t const pass = mCount / 4;
          sensor::EOP eop;
          eop.q0 = 1.0F;
          eop.z = 1024.0;
          eop.x = -static_cast<double>(mSteps[std::min(pass, mSteps.size() - 1)]);
          lanes.set(lane, eop, 0.0F);
          ++mCount;
          if (lane == 0) {
            mLines.push_back(line);
          }
        },
        ground, mImage);
    return mLines;
  }
  XYPoint image(std::size_t i) const { return mImage[i]; }

private:
  std::vector<float> mSteps;
  std::vector<float> mLines;
  std::vector<XYPoint> mImage;
  std::size_t mCount = 0;
};

TEST(LanePasses, StepIsTestedByItsSquare) {
  EXPECT_EQ(GivenSteps({0.0F, 0.0F}).linesOfFirstLane(1).size(), 2U);
  EXPECT_EQ(GivenSteps({0.0F, 0.04999F, 0.0F}).linesOfFirstLane(1).size(), 2U);
  EXPECT_EQ(GivenSteps({0.0F, 0.05F, 0.0F}).linesOfFirstLane(1).size(), 3U);
  EXPECT_EQ(GivenSteps({0.0F, -0.05F, 0.0F}).linesOfFirstLane(1).size(), 3U);
}

// 21 whole steps and 229 halves, the last of which is part of the result and not of the lane's line. Then each lane
// begins anew, in vain, and the next group goes on from the line and its last step.
TEST(LanePasses, NextGroupGoesOnAfterTheLimitOfPasses) {
  GivenSteps steps({1.0F});
  std::vector<float> const lines = steps.linesOfFirstLane(2);
  float const last = 100.0F + 21.0F + 0.5F * 228.0F;
  ASSERT_EQ(lines[249], last);
  EXPECT_EQ(steps.image(0).y, static_cast<double>(last + 0.5F));
  // Four lanes that begin anew take 250 passes each.
  ASSERT_GE(lines.size(), 1251U);
  EXPECT_EQ(lines[250], 100.0F);
  EXPECT_EQ(lines[1250], last + 0.5F);
}

// Four times too large a scale ends at the limit; halved steps then lead to and fro between two places.
TEST_F(SolverPasses, NextPositionGoesOnAfterTheLimitOfPasses) {
  auto const strip = model();
  strip->img(0)->setScale(2.0F * 4.0F);
  std::vector<float> const lines = run(*strip, {{20.0, 0.0, 0.0}, {20.0, 0.0, 0.0}});
  // Each position begins anew once.
  ASSERT_EQ(lines.size(), 1000U);
  EXPECT_EQ(lines[250], 50.5F);
  double const step = static_cast<double>(lines[249]) - static_cast<double>(lines[248]);
  EXPECT_NEAR(static_cast<double>(lines[500]), static_cast<double>(lines[249]) - step, 0.01 * std::fabs(step));
}

// One lane is lost, and begins anew; the others keep their results to the bit.
TEST_F(SolverPasses, LaneThatBeginsAnewLeavesTheOthersToTheBit) {
  mStrip.roll = 0.05;
  mStrip.direction = 0.7;
  auto const strip = model();
  auto const at = [&](double sample, double line) { return ground(*strip, sample, line, 10.0F); };
  std::vector<XYZPoint> const good{at(10, 20), at(20, 30), at(30, 40), at(40, 50),
                                   at(11, 21), at(21, 31), at(31, 41), at(41, 51)};
  std::vector<XYZPoint> disturbed = good;
  disturbed[2] = {std::numeric_limits<double>::infinity(), 0.0, 0.0};
  std::vector<XYPoint> expected(8);
  std::vector<XYPoint> image(8);
  strip->lsrToImageSSE(good, 0, expected);
  strip->lsrToImageSSE(disturbed, 0, image);
  for (std::size_t i = 0; i < 8; ++i) {
    if (i != 2 && i != 6) {
      EXPECT_EQ(image[i].x, expected[i].x) << i;
      EXPECT_EQ(image[i].y, expected[i].y) << i;
    }
  }
  EXPECT_NEAR(image[6].x, expected[6].x, 0.05);
  EXPECT_NEAR(image[6].y, expected[6].y, 0.1);
}

// A camera's line may be of a host's own class, whose sample depends on all four numbers that it is asked with.
class RecordingLine : public sensor::CalibrationGeometryKes {
public:
  explicit RecordingLine(CalibrationGeometryKes const& line) : CalibrationGeometryKes(line) {}
  float sample(float x, float y, float offsetX, float offsetY) const override {
    offsets.emplace(offsetX, offsetY);
    return CalibrationGeometryKes::sample(x, y, offsetX, offsetY);
  }
  float x(float sample, float line, float offsetSample, float offsetLine) const override {
    offsets.emplace(offsetSample, offsetLine);
    return CalibrationGeometryKes::x(sample, line, offsetSample, offsetLine);
  }
  mutable std::set<std::pair<float, float>> offsets;
};

TEST_F(SolverPasses, RunAsksALineOfAnotherClassWithTheOffsetAlongTheLineAlone) {
  mStrip.bands[0].attributes = "swath=\"81\" offset=\"7\"";
  auto const strip = model();
  auto* const camera =
      const_cast<sensor::Camera*>(sensor::CameraFactory::instance()->camera(mStrip.sensorId, "", "v001"));
  auto* const line = new RecordingLine(*strip->modelData()->calib(0));
  dynamic_cast<sensor::CameraKes&>(*camera).addCalibrationGeometry(line);
  strip->loadData(false, false);
  XYZPoint const point = ground(*strip, 30.0, 20.0, 0.0F);
  line->offsets.clear();
  run(*strip, {point});
  EXPECT_EQ(line->offsets, (std::set<std::pair<float, float>>{{7.0F, 0.0F}}));
}

// Above -1 the first interval goes on backward, further back the first cycle time: the model asks for no other time.
TEST_F(SolverPasses, LinesBeforeTheFirstOneHaveTheTimesOfTheTable) {
  auto const strip = model();
  strip->img(0)->cameraTime()->values()[0] -= 0.005;
  sensor::EOP eop;
  float correction = 9.0F;
  strip->computeOrientation(-0.5F, 0, eop, correction);
  EXPECT_NEAR(eop.gpsTime, 99.995 - 0.5 * 0.015, 1e-9);
  EXPECT_EQ(correction, 0.0F);
  strip->computeOrientation(-1.5F, 0, eop, correction);
  EXPECT_NEAR(eop.gpsTime, 99.995 - 1.5 * 0.01, 1e-9);
}

}  // namespace
