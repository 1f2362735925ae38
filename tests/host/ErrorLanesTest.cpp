// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AccuracyKernels.h"
#include "InstructionSets.h"
#include "PreparedBand.h"
#include "RandomStrips.h"
#include "support/Matchers.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

using namespace kes::detail;
using test::Prepared;

class ErrorLanes : public test::WithInstructionSet {};

// Ground positions that see their image positions, some beyond the image, some above the camera, some nowhere.
void expectErrorsOfSinglePositions(double imageSigma) {
  kes::TrajectoryAccuracy const given{{0.03, 0.05, 0.07}, {2e-5, 3e-5, 5e-5}};
  AccuracyTable const accuracies(deviationsOf(given));
  kes::AccuracyOptions options;
  options.trajectory = given;
  options.imageSigma = imageSigma;
  options.heightSigma = 0.2;
  for (char const* const id : test::BANDS) {
    SCOPED_TRACE(id);
    Prepared const prepared(test::randomStrip(6), id);
    auto image = test::imagePoints(prepared.band, 6, 700);
    auto ground = test::toGround(prepared.band, image, test::atHeight(60.0)).points;
    image[5].x = std::numeric_limits<double>::quiet_NaN();
    image[17].y -= 2000.0;
    image[29].y += 1e4;
    ground[77].y = std::numeric_limits<double>::infinity();
    ground[91].z += 1e5;
    std::size_t const count = image.size();
    std::vector<kes::GroundErrors> errors(count);
    std::vector<kes::Covariance> covariances(count);
    std::vector<kes::Status> status(count);
    std::vector<std::uint32_t> rest(count);
    std::size_t const left =
        findErrorsInLanes(prepared.tables, prepared.limits,
                          {image.data(), ground.data(), count, accuracies, prepared.chain.epoch(), options.imageSigma,
                           options.heightSigma, errors.data(), covariances.data(), status.data(), rest.data()});
    ASSERT_LT(left, count / 4);
    std::size_t next = 0;
    for (std::size_t i = 0; i < count; ++i) {
      kes::GroundErrors single;
      kes::Status expected{};
      prepared.band.accuracy({&image[i], 1}, {&ground[i], 1}, options, {&single, 1}, {}, {&expected, 1});
      if (next < left && rest[next] == i) {
        ++next;
        continue;
      }
      ASSERT_EQ(status[i], expected) << i;
      ASSERT_THAT(errors[i].time, test::SameBits(single.time)) << i;
      for (std::size_t n = 0; n < single.trajectory.size(); ++n) {
        ASSERT_THAT(errors[i].trajectory[n], test::SameBits(single.trajectory[n])) << i << ' ' << n;
      }
      for (std::size_t n = 0; n < single.measuring.size(); ++n) {
        ASSERT_THAT(errors[i].measuring[n], test::SameBits(single.measuring[n])) << i << ' ' << n;
      }
      ASSERT_THAT(covariances[i].xy, test::SameBits(single.covariance().xy)) << i;
      ASSERT_THAT(covariances[i].yz, test::SameBits(single.covariance().yz)) << i;
    }
    EXPECT_EQ(next, left);
    EXPECT_GE(left, 5U);
  }
}

TEST_P(ErrorLanes, FindErrorsToTheBitOfSinglePositions) {
  expectErrorsOfSinglePositions(0.4);
}

// The corners around an image position are that position.
TEST_P(ErrorLanes, FindErrorsToTheBitWithoutThoseOfImagePositions) {
  expectErrorsOfSinglePositions(0.0);
}

INSTANTIATE_TEST_SUITE_P(Sets, ErrorLanes, testing::ValuesIn(test::instructionSets()),
                         [](auto const& with) { return std::string(with.param.name); });

}  // namespace
