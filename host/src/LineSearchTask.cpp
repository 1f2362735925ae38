// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Checks.h"
#include "LineSearch.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace kes::detail {

namespace {

constexpr double INFINITE = std::numeric_limits<double>::infinity();

constexpr int GUESSES = 8;
constexpr int FREE_PASSES = 16;  // until halving takes turns with the other steps
constexpr int REFINEMENTS = 100;
constexpr int PASSES_AT_ENDS = 2;

// The nearest number of a range; a NaN stays.
double limited(double value, double least, double greatest) {
  return value < least ? least : value > greatest ? greatest : value;
}

}  // namespace

class LineSearch::Task {
public:
  Task(LineSearch const& search, geo::XYZPoint const& ground, Memory& memory)
      : mSearch(search), mChain(search.mChain), mGround(ground), mMemory(memory), mDepth(search.mHeight - ground.z),
        mLinesPerUnit(search.mLinesPerUnit * std::max(mDepth, leastDepth * search.mDepth)) {}

  Found run();

private:
  // How many lines, roughly, the position is ahead of the sensor line, and its focal y.
  struct Sighting {
    double ahead;
    double y;
  };
  struct Ends {
    Sighting first;
    Sighting last;
    bool cross() const { return (first.ahead > 0.0) != (last.ahead > 0.0); }
  };

  Sighting sighting(Pose const& pose) const;
  Ends ends(Piece const& piece) const;
  double clamped(double line) const;
  double guess() const;
  bool passesInLastPiece();
  bool findPassage(double line);
  bool findFirst(double line, Piece const& last);
  Found solve() const;
  Found at(double line, double y, int passes) const;
  static Found nothing() { return {NAN_VALUE, NAN_VALUE, NAN_VALUE, 0, false}; }

  LineSearch const& mSearch;
  ViewChain const& mChain;
  geo::XYZPoint const& mGround;
  Memory& mMemory;
  double mDepth;
  double mLinesPerUnit;
  // Where the position passes from one side of the sensor line to the other; with `mIsStep`, just before the piece.
  Piece mPiece{};
  Ends mEnds{};
  bool mIsStep = false;
};

double LineSearch::Task::clamped(double line) const {
  return limited(line, mChain.lines().firstLine(), mChain.lines().lastLine());
}

// From node to node of the coarse table, until one is near the line that it points to.
double LineSearch::Task::guess() const {
  double const along = mSearch.mCosine * mGround.x + mSearch.mSine * mGround.y;
  double const across = mSearch.mCosine * mGround.y - mSearch.mSine * mGround.x;
  auto const last = static_cast<double>(mSearch.mNodes.size() - 1);
  // In nodes from the first one on.
  double place = (along - mSearch.mFirstAlong - mDepth * mSearch.mAhead) * mSearch.mNodesPerMetre;
  std::int64_t known = -1;
  for (int i = 0; i < GUESSES; ++i) {
    double const nearest = limited(place + 0.5, 0.0, last);
    if (!(nearest >= 0.0)) {
      return NAN_VALUE;
    }
    auto const index = static_cast<std::int64_t>(nearest);
    if (index == known) {
      break;
    }
    known = index;
    Node const& node = mSearch.mNodes[static_cast<std::size_t>(index)];
    double const view =
        node.along + across * (node.perAcross + across * mSearch.mPerSquare) + mGround.z * node.perHeight;
    place = static_cast<double>(index) + (along - view) * node.nodesPerMetre;
  }
  return clamped(mChain.lines().firstLine() + place * linesPerNode);
}

// What isn't in front of the camera is ahead of it or behind it as the camera flies.
LineSearch::Task::Sighting LineSearch::Task::sighting(Pose const& pose) const {
  ViewChain::Sight const sight = mChain.sight(pose, mGround);
  if (!sight.isInFront()) {
    double const u = pose.along.x * (mGround.x - pose.centre.x) + pose.along.y * (mGround.y - pose.centre.y) +
                     pose.along.z * (mGround.z - pose.centre.z);
    return {std::copysign(INFINITE, u * mSearch.mForward), sight.y};
  }
  return {(sight.x - mChain.sensorLine().at(sight.y).x) * mLinesPerUnit, sight.y};
}

LineSearch::Task::Ends LineSearch::Task::ends(Piece const& piece) const {
  return {sighting(mMemory.first(mChain, piece)), sighting(mMemory.last(mChain, piece))};
}

// Neighbours mostly share a piece. Where no line before can have seen the position, and within the sensor line, for
// which that is known, it is the very piece that the search would find.
bool LineSearch::Task::passesInLastPiece() {
  if (!(mDepth <= mMemory.lastPieceDepth)) {
    return false;
  }
  mPiece = mMemory.lastPiece;
  mEnds.first = sighting(mMemory.first(mChain, mPiece));
  if (!(mEnds.first.ahead > 0.0)) {
    return false;
  }
  mEnds.last = sighting(mMemory.last(mChain, mPiece));
  return mEnds.last.ahead <= 0.0;
}

// A piece in which, or just before which, the position passes from ahead to behind. False when it is ahead at the end
// or behind at the beginning of the table; then the piece is there.
bool LineSearch::Task::findPassage(double line) {
  double const firstLine = mChain.lines().firstLine();
  double const lastLine = mChain.lines().lastLine();
  double low = firstLine;
  double high = lastLine;
  mPiece = mChain.pieceAt(line);
  for (int pass = 0;; ++pass) {
    mEnds.first = sighting(mMemory.first(mChain, mPiece));
    bool const isAhead = mEnds.first.ahead > 0.0;
    double next = mPiece.first + mEnds.first.ahead;
    if (isAhead) {
      low = std::max(low, mPiece.first);
      if (next < mPiece.last + 1.0 || !(mPiece.last < high)) {
        mEnds.last = sighting(mMemory.last(mChain, mPiece));
        if (!(mEnds.last.ahead > 0.0)) {
          return true;
        }
        if (!(mPiece.last < lastLine)) {
          return false;
        }
        low = mPiece.last;
        next = mPiece.last + mEnds.last.ahead;
      }
    } else {
      high = std::min(high, mPiece.first);
      if (!(mPiece.first > firstLine)) {
        mEnds.last = sighting(mMemory.last(mChain, mPiece));
        return false;
      }
      // Ahead at the very end of the piece before: a step between the two.
      if (!(low < high)) {
        mEnds.last = sighting(mMemory.last(mChain, mPiece));
        mIsStep = true;
        return true;
      }
    }
    if (!(next > low && next < high) || (pass > FREE_PASSES && pass % 2 == 0)) {
      bool const isNear = !(high - low > 2.0);
      next = isNear ? (isAhead ? low : std::nextafter(high, low)) : low + 0.5 * (high - low);
    }
    if (isAhead) {
      mPiece = next > mPiece.last ? mChain.pieceAt(next) : mChain.next(mPiece);
    } else {
      mPiece = next < mPiece.first - 1.0 ? mChain.pieceAt(next) : mChain.previous(mPiece);
    }
  }
}

// The first passage, in either direction, from a line on up to the end of a piece.
bool LineSearch::Task::findFirst(double line, Piece const& last) {
  mPiece = mChain.pieceAt(clamped(line));
  mEnds = ends(mPiece);
  mIsStep = false;
  while (!mEnds.cross()) {
    if (mPiece.interval == last.interval && mPiece.record == last.record) {
      return false;
    }
    bool const wasAhead = mEnds.last.ahead > 0.0;
    mPiece = mChain.next(mPiece);
    mEnds = ends(mPiece);
    if (wasAhead != (mEnds.first.ahead > 0.0)) {
      mIsStep = true;
      return true;
    }
  }
  return true;
}

Found LineSearch::Task::at(double line, double y, int passes) const {
  return {line, mChain.sensorLine().at(y).sample, mChain.time(mPiece, line), passes, true};
}

// In a piece at whose ends the position lies on different sides of the sensor line: the secant, within the bracket.
Found LineSearch::Task::solve() const {
  if (mIsStep || mEnds.first.ahead == 0.0) {
    return std::isfinite(mEnds.first.ahead) ? at(mPiece.first, mEnds.first.y, PASSES_AT_ENDS) : nothing();
  }
  double low = mPiece.first;
  double high = mPiece.last;
  Sighting atLow = mEnds.first;
  Sighting atHigh = mEnds.last;
  for (int i = 0; i < REFINEMENTS; ++i) {
    double const perAhead = 1.0 / (atHigh.ahead - atLow.ahead);
    double const linesPerAhead = (high - low) * perAhead;
    double const yPerAhead = (atHigh.y - atLow.y) * perAhead;
    double line = low - atLow.ahead * linesPerAhead;
    // Every fourth time, and where the secant has no place, the middle.
    if (!(line >= low && line <= high) || i % 4 == 3) {
      line = low + 0.5 * (high - low);
    }
    Sighting const seen = sighting(mChain.pose(mPiece, line));
    double const step = -seen.ahead * linesPerAhead;
    if (std::fabs(step) <= longestLastStep && std::fabs(step * linesPerAhead) <= longestLastStep &&
        std::isfinite(yPerAhead)) {
      double const solution = limited(line + step, mPiece.first, mPiece.last);
      return at(solution, seen.y - yPerAhead * seen.ahead, PASSES_AT_ENDS + i + 1);
    }
    if ((seen.ahead > 0.0) == (atLow.ahead > 0.0)) {
      low = line;
      atLow = seen;
    } else {
      high = line;
      atHigh = seen;
    }
  }
  return nothing();
}

Found LineSearch::Task::run() {
  if (passesInLastPiece()) {
    Found const found = solve();
    if (mSearch.isWithinSensorLine(found.sample)) {
      return found;
    }
  }
  mIsStep = false;
  double const start = guess();
  if (std::isnan(start)) {
    return nothing();
  }
  bool const hasPassage = findPassage(start);
  Overlaps const& overlaps = mSearch.overlapsAt(mDepth);
  double const overlap = overlaps.lines[mSearch.stretchOf(mPiece.first)];
  if (overlap > 0.0 || !hasPassage) {
    // Behind at the very beginning, a passage can still follow within what overlaps.
    Piece const last = hasPassage || mPiece.first > mChain.lines().firstLine()
                           ? mPiece
                           : mChain.pieceAt(clamped(mPiece.first + overlaps.ofBegin));
    if (!findFirst(mPiece.first - overlap, last)) {
      return nothing();
    }
  }
  mMemory.lastPieceDepth = mIsStep ? -INFINITE : mSearch.unambiguousDepth(mPiece.first);
  mMemory.lastPiece = mPiece;
  return solve();
}

// Those known down to a depth.
LineSearch::Overlaps const& LineSearch::overlapsAt(double depth) const {
  return *std::find_if(mOverlaps.begin(), mOverlaps.end() - 1,
                       [depth](Overlaps const& overlaps) { return depth <= overlaps.depth; });
}

// Down to which nothing overlaps, in the stretch of the line and in those beside it.
double LineSearch::unambiguousDepth(double line) const {
  std::size_t const stretch = stretchOf(line);
  double depth = -INFINITE;
  for (Overlaps const& overlaps : mOverlaps) {
    auto const begin =
        overlaps.lines.begin() + static_cast<std::ptrdiff_t>(stretch - std::min<std::size_t>(stretch, 1));
    auto const end = overlaps.lines.begin() + static_cast<std::ptrdiff_t>(std::min(stretch + 2, overlaps.lines.size()));
    if (std::any_of(begin, end, [](double lines) { return lines > 0.0; })) {
      break;
    }
    depth = overlaps.depth;
  }
  return depth;
}

// The whole search is drawn into its entry.
[[gnu::flatten]] Found LineSearch::find(geo::XYZPoint const& ground, Memory& memory) const {
  return mChain.isEmpty() ? Found{NAN_VALUE, NAN_VALUE, NAN_VALUE, 0, false} : Task(*this, ground, memory).run();
}

}  // namespace kes::detail
