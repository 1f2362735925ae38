// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "InstructionSets.h"
#include "PreparedBand.h"
#include "RandomStrips.h"
#include "RayKernels.h"
#include "support/Matchers.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

using namespace kes::detail;
using test::Prepared;

class RayLanes : public test::WithInstructionSet {};

// All over the image and beyond, with some that are nowhere.
std::vector<geo::XYPoint> imagePositions(kes::Band const& band, unsigned seed) {
  auto image = test::imagePoints(band, seed, 700);
  for (std::size_t i = 0; i < image.size(); i += 23) {
    image[i].y += i % 2 == 0 ? 150.0 : -270.0;
    image[i].x -= i % 3 == 0 ? 1e4 : 0.0;
  }
  image[5].x = std::numeric_limits<double>::quiet_NaN();
  image[77].y = std::numeric_limits<double>::infinity();
  return image;
}

TEST_P(RayLanes, FindLinesOfSightToTheBitOfTheChain) {
  for (unsigned const seed : {1U, 6U, 45U}) {
    for (char const* const id : test::BANDS) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << ", " << id);
      Prepared const prepared(test::randomStrip(seed), id);
      auto const image = imagePositions(prepared.band, seed);
      std::size_t const count = image.size();
      std::vector<LineOfSight> lines(count);
      std::vector<double> time(count);
      std::vector<kes::Status> status(count);
      std::vector<std::uint32_t> rest(count);
      std::size_t const left =
          findRaysInLanes(prepared.tables, prepared.limits,
                          {image.data(), count, lines.data(), time.data(), status.data(), rest.data()});
      ASSERT_LT(left, count / 4);
      std::size_t next = 0;
      for (std::size_t i = 0; i < count; ++i) {
        if (next < left && rest[next] == i) {
          ++next;
          continue;
        }
        Piece const piece = prepared.chain.pieceAt(image[i].y);
        Pose const pose = prepared.chain.pose(piece, image[i].y);
        geo::XYZPoint const ray = prepared.chain.ray(pose, image[i].x);
        ASSERT_THAT(lines[i].eye.x, test::SameBits(pose.centre.x));
        ASSERT_THAT(lines[i].eye.y, test::SameBits(pose.centre.y));
        ASSERT_THAT(lines[i].eye.z, test::SameBits(pose.centre.z));
        ASSERT_THAT(lines[i].dx, test::SameBits(ray.x / -ray.z));
        ASSERT_THAT(lines[i].dy, test::SameBits(ray.y / -ray.z));
        ASSERT_THAT(time[i], test::SameBits(prepared.chain.time(piece, image[i].y)));
        ASSERT_EQ(status[i], test::statusOf(prepared, image[i], time[i]));
      }
      EXPECT_EQ(next, left);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Sets, RayLanes, testing::ValuesIn(test::instructionSets()),
                         [](auto const& with) { return std::string(with.param.name); });

}  // namespace
