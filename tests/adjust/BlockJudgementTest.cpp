// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BlockReport.h"
#include "support/TempFolder.h"

#include <kes/Block.h>
#include <simulation/Block.h>

#include <gmock/gmock.h>

// Why a result must not be used, from results that are made up.

namespace {

using kesadjust::AdjustedPoint;
using kesadjust::BlockResult;
using kesadjust::PointRole;
using testing::ElementsAre;
using testing::IsEmpty;

class AJudgement : public testing::Test {
protected:
  AJudgement() {
    mResult.solution.hasConverged = true;
    mResult.solution.redundancy = 100;
    mResult.solution.sigmaZero = 2.0;
    mResult.summaries.push_back({"", "", 70, 30, {}, {}});
  }

  void add(PointRole role, bool isUsed, double normalised) {
    AdjustedPoint point{"P" + std::to_string(mResult.points.size()), role, {}, 2, true, {}, {}, {}, isUsed};
    point.normalised.fill(normalised);
    mResult.points.push_back(point);
  }
  std::vector<std::string> objections() {
    judge(problem(), mResult);
    return mResult.objections;
  }

  BlockResult mResult;

private:
  static kesadjust::BlockProblem const& problem() {
    static test::TempFolder const folder;
    static std::vector<kes::Strip> const strips = [] {
      simulation::BlockPlan plan;
      plan.flight.dem = KESSENSOR_TERRAIN;
      plan.flight.samples = 200;
      plan.flight.lines = 2000;
      plan.strips = 1;
      plan.points = 2;
      simulation::simulateBlock(plan, folder / "block");
      return kes::Block(folder / "block/block.blf").strips();
    }();
    static kes::Block const block(folder / "block/block.blf");
    static kesadjust::BlockProblem const problem(strips, kesadjust::readMeasurements(block, strips, {}, {}), {});
    return problem;
  }
};

// Each at its limit.
TEST_F(AJudgement, FindsNothingToObjectTo) {
  add(PointRole::control, true, 1.0);
  add(PointRole::control, true, 1.0);
  add(PointRole::control, false, 9.0);
  add(PointRole::check, true, 3.0);
  EXPECT_THAT(objections(), IsEmpty());
}

TEST_F(AJudgement, ObjectsToAnIterationWithoutEnd) {
  mResult.solution.hasConverged = false;
  EXPECT_THAT(objections(), ElementsAre("the iteration hasn't converged"));
}

TEST_F(AJudgement, ObjectsToTooFewObservations) {
  mResult.solution.redundancy = 0;
  EXPECT_THAT(objections(), ElementsAre("there are no more observations than unknowns"));
}

TEST_F(AJudgement, ObjectsToLargeResiduals) {
  mResult.solution.sigmaZero = 2.01;
  EXPECT_THAT(objections(),
              ElementsAre("sigma0 is 2.01: residuals are larger than the standard deviations of the measurements say"));
}

TEST_F(AJudgement, ObjectsToManyRejectedPoints) {
  mResult.summaries.back().rejected = 31;
  EXPECT_THAT(objections(), ElementsAre("31 of 101 image points were rejected"));
}

TEST_F(AJudgement, ObjectsToNoImagePoints) {
  mResult.summaries.back() = {"", "", 0, 0, {}, {}};
  EXPECT_THAT(objections(), ElementsAre("no image point is in use"));
}

TEST_F(AJudgement, ObjectsToControlPointsThatContradictEachOther) {
  add(PointRole::control, true, 1.0);
  add(PointRole::control, false, 9.0);
  EXPECT_THAT(objections(), ElementsAre("1 of 2 control points were taken out"));
}

// The root mean square of 3.1, 3.1, 3.1 and 2.9, 2.9, 2.9 is 3.0017.
TEST_F(AJudgement, ObjectsToCheckPointsThatDepart) {
  add(PointRole::check, true, 3.1);
  add(PointRole::check, true, -2.9);
  EXPECT_THAT(objections(),
              ElementsAre("check points depart by 3.00 times their standard deviations (root mean square)"));
}

}  // namespace
