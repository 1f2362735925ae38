// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "PreparedBand.h"
#include "RandomStrips.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

// Positions far below the usual terrain, where small turns of the camera swing the view over long ways.

namespace {

using namespace kes::detail;
using test::Prepared;

constexpr unsigned SEEDS[] = {0, 1, 2, 3, 41, 47};

/// Positions that lines all over the image see at so many times the usual depth.
std::vector<geo::XYZPoint> positions(Prepared const& prepared, unsigned seed, double times) {
  double const height = prepared.tables.flyingHeight - times * prepared.chain.usualDepth();
  return test::toGround(prepared.band, test::imagePoints(prepared.band, seed + 900, 25), test::atHeight(height)).points;
}

/// Whether a position lies ahead of the sensor line at one of a piece's ends and not at the other, or the sides change
/// just before the piece.
class Sides {
public:
  Sides(Prepared const& prepared, geo::XYZPoint const& ground) : mChain(prepared.chain), mGround(ground) {}

  bool isAhead(Piece const& piece, double line) const {
    ViewChain::Sight const sight = mChain.sight(mChain.pose(piece, line), mGround);
    return sight.x > mChain.sensorLine().at(sight.y).x;
  }

  /// The first such piece of the whole table.
  Piece first() const {
    Piece piece = mChain.pieceAt(mChain.lines().firstLine());
    bool const isAheadAtBegin = isAhead(piece, piece.first);
    while (isAhead(piece, piece.first) == isAheadAtBegin && isAhead(piece, piece.last) == isAheadAtBegin &&
           piece.last < mChain.lines().lastLine()) {
      piece = mChain.next(piece);
    }
    return piece;
  }

private:
  ViewChain const& mChain;
  geo::XYZPoint const& mGround;
};

TEST(DeepPositions, AreFoundInTheFirstPieceOfAllThatSeesThem) {
  for (unsigned const seed : SEEDS) {
    Prepared const prepared(test::randomStrip(seed), "PANN00A");
    for (double const times : {1.5, 3.0, 7.9, 8.1, 31.0, 60.0}) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << ", " << times << " times as deep as usual");
      LineSearch::Memory inRun;
      for (geo::XYZPoint const& ground : positions(prepared, seed, times)) {
        Piece const expected = Sides(prepared, ground).first();
        LineSearch::Memory alone;
        Found const found = prepared.search.find(ground, alone);
        ASSERT_TRUE(found.isSolved);
        ASSERT_GE(found.line, expected.first);
        ASSERT_LE(found.line, expected.last);
        ASSERT_EQ(prepared.search.find(ground, inRun).line, found.line);
      }
    }
  }
}

// Looking at all lines took at least two cameras for each.
TEST(DeepPositions, TakeFewCamerasInASteadyFlight) {
  for (unsigned const seed : {0U, 2U, 4U, 6U}) {
    ASSERT_FALSE(test::isRough(seed) || test::isNoisy(seed));
    Prepared const prepared(test::randomStrip(seed), "PANN00A");
    for (double const times : {3.0, 7.0}) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << ", " << times << " times as deep as usual");
      LineSearch::Memory memory;
      auto const ground = positions(prepared, seed, times);
      for (geo::XYZPoint const& position : ground) {
        prepared.search.find(position, memory);
      }
      EXPECT_LT(memory.computedPoses() / ground.size(), prepared.chain.lines().size() / 10);
    }
  }
}

}  // namespace
