// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LaneTables.h"

#include <cmath>
#include <limits>

namespace kes::detail {

namespace {

// Of lines and records together: times that ascend make no more pieces than there are of both.
constexpr std::size_t MOST_PIECES = 2;
constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();

}  // namespace

LaneTables::LaneTables(ViewChain const& chain, LineSearch const& search) {
  if (chain.isEmpty() || !chain.sensorLine().ascends()) {
    return;
  }
  addRows(chain, search);
  addSensorLine(chain.sensorLine());
  addNodes(search);
  records = reinterpret_cast<double const*>(&chain.orientation()[0]);
  firstTime = chain.orientation().first();
  lastTime = chain.orientation().last();
  focalLength = chain.focalLength();
  pixelSize = chain.pixelSize();
}

void LaneTables::addRows(ViewChain const& chain, LineSearch const& search) {
  static_assert(sizeof(Row) == doublesPerRow * sizeof(double) && doublesPerRow == 8);
  LineTable const& lines = chain.lines();
  firstLine = lines.firstLine();
  lastLine = lines.lastLine();
  hasCorrections = lines.hasCorrections();
  std::size_t const most = MOST_PIECES * (lines.size() + chain.orientation().size());
  for (Piece piece = chain.pieceAt(firstLine);; piece = chain.next(piece)) {
    if (rows.size() == most) {
      rows.clear();
      return;
    }
    addStart(piece.interval);
    LineTable::Interval const& line = lines[piece.interval];
    LineTable::Correction const correction = lines.correctionOf(piece.interval);
    rows.push_back({piece.first, piece.last, line.time, line.timeStep, correction.lines, correction.step,
                    search.unambiguousDepth(piece.first), static_cast<std::int64_t>(piece.record)});
    if (!(piece.last < lastLine)) {
      break;
    }
  }
  starts.push_back({NAN_VALUE, static_cast<double>(rows.size())});
}

// Of a line whose next row comes after those there are.
void LaneTables::addStart(std::size_t line) {
  if (line == starts.size()) {
    starts.push_back({NAN_VALUE, static_cast<double>(rows.size())});
  } else if (std::isnan(starts.back().second)) {
    starts.back().second = rows.back().last;
  } else {
    hasManyRows = true;
  }
}

void LaneTables::addSensorLine(SensorLine const& line) {
  static_assert(sizeof(SensorLine::Entry) == doublesPerPixel * sizeof(double));
  static_assert(sizeof(SensorLine::Pixel) == doublesPerPixel * sizeof(double));
  pixels = reinterpret_cast<double const*>(line.mPixels.data());
  entries = reinterpret_cast<double const*>(line.mEntries.data());
  for (std::uint32_t const entry : line.mStarts) {
    entryStarts.push_back({line.mEntries[entry + 1].q, static_cast<double>(entry)});
  }
  lastPixel = static_cast<double>(line.mPixels.size() - 2);
  firstSample = line.firstSample();
  lastSample = line.lastSample();
  lengthOfLine = line.mLastSample;
  firstY = line.mFirstY;
  scale = line.mScale;
  spacing = line.mSpacing;
  pixelsPerSample = line.mEntriesPerSample;
}

void LaneTables::addNodes(LineSearch const& search) {
  static_assert(sizeof(LineSearch::Node) == doublesPerNode * sizeof(double));
  nodes = reinterpret_cast<double const*>(search.mNodes.data());
  lastNode = static_cast<double>(search.mNodes.size() - 1);
  fromLevel = search.mFromLevel.data();
  runsPerNode = 1.0 / LineSearch::nodesPerRun;
  lastRun = static_cast<double>(search.mFromLevel.size() - 1);
  perSquare = search.mPerSquare;
  linesPerNode = LineSearch::linesPerNode;
  nodesPerMetre = search.mNodesPerMetre;
  cosine = search.mCosine;
  sine = search.mSine;
  firstAlong = search.mFirstAlong;
  ahead = search.mAhead;
  flyingHeight = search.mHeight;
  leastDepth = LineSearch::leastDepth * search.mDepth;
  linesPerUnit = search.mLinesPerUnit;
}

}  // namespace kes::detail
