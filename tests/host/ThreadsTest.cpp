// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/Interposed.h"
#include "support/Matchers.h"
#include "support/SmallStrip.h"
#include "support/TempFolder.h"

#include <kes/kes.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <vector>

namespace {

using kes::Solver;
using kes::Status;

// What a call works on at once; fewer points need no other thread.
constexpr std::size_t PART = 2048;

/// Positions on and beside an image of 101 lines and samples, so that statuses differ; a part more than threads are
/// asked for.
class Threads : public testing::TestWithParam<Solver> {
protected:
  static constexpr int THREADS = 4;
  static constexpr std::size_t POINTS = THREADS * PART + 1;

  Threads() {
    mSmall.sensorId = "Threads";
    kes::StripOptions options;
    options.calibrations = {mFolder / "calibration"};
    kes::Strip const strip(mSmall.write(mFolder), options);
    mBand.emplace(strip.band(0));
    for (std::size_t i = 0; i < POINTS; ++i) {
      mPoints.emplace_back(static_cast<double>(i % 103) - 1.0, static_cast<double>(i * 7 % 1009) * 0.11 - 3.0);
    }
  }

  struct Result {
    std::vector<geo::XYZPoint> ground{POINTS};
    std::vector<geo::XYPoint> image{POINTS};
    std::vector<Status> groundStatus{POINTS};
    std::vector<Status> imageStatus{POINTS};
  };
  // There and back; how often a thread was begun.
  Result project(int threads, int startable, int& begun) const {
    begun = 0;
    test::Interposed const system(
        [&](std::string const& function) { return function == "pthread_create" && ++begun > startable ? EAGAIN : 0; });
    Result result;
    kes::ToGroundOptions down;
    down.solver = GetParam();
    down.threads = threads;
    mBand->toGround(mPoints, down, result.ground, result.groundStatus);
    kes::ToImageOptions up;
    up.solver = GetParam();
    up.threads = threads;
    mBand->toImage(result.ground, up, result.image, result.imageStatus);
    return result;
  }

  static void expectSameBits(Result const& a, Result const& b) {
    EXPECT_EQ(a.groundStatus, b.groundStatus);
    EXPECT_EQ(a.imageStatus, b.imageStatus);
    for (std::size_t i = 0; i < POINTS; ++i) {
      ASSERT_THAT(a.ground[i].x, test::SameBits(b.ground[i].x));
      ASSERT_THAT(a.ground[i].y, test::SameBits(b.ground[i].y));
      ASSERT_THAT(a.image[i].x, test::SameBits(b.image[i].x));
      ASSERT_THAT(a.image[i].y, test::SameBits(b.image[i].y));
    }
  }

  test::TempFolder mFolder;
  test::SmallStrip mSmall;
  std::optional<kes::Band> mBand;
  std::vector<geo::XYPoint> mPoints;
};

TEST_P(Threads, OneStartsNone) {
  int begun = 0;
  project(1, THREADS, begun);
  EXPECT_EQ(begun, 0);
}

TEST_P(Threads, AllAreStartedWhereThereIsRoom) {
  int begun = 0;
  Result const alone = project(1, THREADS, begun);
  Result const together = project(THREADS, 2 * THREADS, begun);
  EXPECT_EQ(begun, 2 * (THREADS - 1));
  expectSameBits(together, alone);
}

// The first call has one of three others, the second call none.
TEST_P(Threads, ThoseThatCantBeStartedAreDoneWithout) {
  int begun = 0;
  Result const alone = project(1, THREADS, begun);
  Result const together = project(THREADS, 1, begun);
  EXPECT_EQ(begun, 3);
  expectSameBits(together, alone);
}

TEST_P(Threads, AreNoMoreThanThereAreParts) {
  int begun = 0;
  Result const alone = project(1, THREADS, begun);
  Result const together = project(1000, 1000, begun);
  EXPECT_EQ(begun, 2 * THREADS);
  expectSameBits(together, alone);
}

// To the ground, all forms of the library are one; to the image, only that of single positions may be split.
INSTANTIATE_TEST_SUITE_P(Forms, Threads, testing::Values(Solver::precise, Solver::libraryPoint),
                         [](auto const& form) { return form.param == Solver::precise ? "Precise" : "LibraryPoint"; });

}  // namespace
