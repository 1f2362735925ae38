// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LineSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kes::detail {

namespace {

constexpr double INFINITE = std::numeric_limits<double>::infinity();

// A stretch in which the view goes ahead by less than this part of its mean speed counts as one that may go back.
constexpr double LEAST_PROGRESS = 0.1;
constexpr double ROUNDING = 1e-9;    // lines
constexpr double MOST_CHANGE = 4.0;  // of the speed of the view

geo::XYZPoint atDepth(Pose const& pose, geo::XYZPoint const& ray, double depth) {
  double const s = -depth / ray.z;
  return {pose.centre.x + s * ray.x, pose.centre.y + s * ray.y, pose.centre.z - depth};
}

}  // namespace

LineSearch::LineSearch(ViewChain const& chain) : mChain(chain) {
  if (!chain.isEmpty()) {
    makeNodes();
    for (double const times : {1.0, 4.0, 16.0}) {
      mOverlaps.push_back(findOverlaps(times * mDepth));
    }
    // What lies deeper is looked for everywhere.
    mOverlaps.push_back({INFINITE, std::vector<double>(mOverlaps[0].lines.size(), INFINITE), INFINITE});
  }
}

// The tangents of a ray, ahead and across.
LineSearch::Look LineSearch::look(Pose const& pose, double sample) const {
  geo::XYZPoint const ray = mChain.ray(pose, sample);
  return {(mCosine * ray.x + mSine * ray.y) / -ray.z, (mCosine * ray.y - mSine * ray.x) / -ray.z};
}

// What a line sees ahead, at tangents t from that of its middle across: ahead + slope t + bow t².
LineSearch::Fan LineSearch::fan(Pose const& pose) const {
  double const firstSample = mChain.sensorLine().firstSample();
  double const lastSample = mChain.sensorLine().lastSample();
  Look const left = look(pose, firstSample);
  Look const middle = look(pose, 0.5 * (firstSample + lastSample));
  Look const right = look(pose, lastSample);
  double const a = left.across - middle.across;
  double const b = right.across - middle.across;
  double const atA = (left.ahead - middle.ahead) / a;
  double const atB = (right.ahead - middle.ahead) / b;
  double const bow = (atA - atB) / (a - b);
  return {middle, atA - bow * a, bow};
}

template <class Work>
void LineSearch::forEachNode(Work const& work) const {
  for (double line = mChain.lines().firstLine(); line <= mChain.lines().lastLine(); line += linesPerNode) {
    Pose const pose = mChain.pose(mChain.pieceAt(line), line);
    work(pose, fan(pose));
  }
}

void LineSearch::makeNodes() {
  double const firstLine = mChain.lines().firstLine();
  double const lastLine = mChain.lines().lastLine();
  Pose const first = mChain.pose(mChain.pieceAt(firstLine), firstLine);
  Pose const last = mChain.pose(mChain.pieceAt(lastLine), lastLine);
  double const dx = last.centre.x - first.centre.x;
  double const dy = last.centre.y - first.centre.y;
  double const length = std::hypot(dx, dy);
  mCosine = dx / length;
  mSine = dy / length;
  mSpeed = length / (lastLine - firstLine);
  mDepth = 2.0 * mChain.usualDepth();
  mFirstAlong = mCosine * first.centre.x + mSine * first.centre.y;
  double count = 0.0;
  double forward = 0.0;
  double bow = 0.0;
  forEachNode([&](Pose const& pose, Fan const& fan) {
    forward += mCosine * pose.along.x + mSine * pose.along.y;
    mHeight += pose.centre.z;
    mAhead += fan.middle.ahead;
    bow += fan.bow;
    count += 1.0;
  });
  mHeight /= count;
  mAhead /= count;
  mPerSquare = bow / (count * mChain.usualDepth());
  mForward = forward < 0.0 ? -1.0 : 1.0;
  mNodesPerMetre = 1.0 / (mSpeed * linesPerNode);
  mLinesPerUnit = mForward / (mChain.focalLength() * mSpeed);
  addNodes();
}

// At a depth d, a line sees d (ahead + slope t + bow t²) ahead of it, with t = a / d - across at a across the flight.
// That is linear in a and d but for the bow, which is taken at the usual depth.
void LineSearch::addNodes() {
  double const depth = mChain.usualDepth();
  std::vector<double> middles;  // what they see, along the flight
  forEachNode([&](Pose const& pose, Fan const& fan) {
    double const along = mCosine * pose.centre.x + mSine * pose.centre.y;
    double const across = mCosine * pose.centre.y - mSine * pose.centre.x;
    double const perDepth = fan.middle.ahead - fan.slope * fan.middle.across;
    double const middle = across + depth * fan.middle.across;
    mNodes.push_back({along - fan.slope * across + pose.centre.z * perDepth + middle * middle * mPerSquare,
                      fan.slope - 2.0 * middle * mPerSquare, -perDepth, 0.0});
    middles.push_back(along + depth * fan.middle.ahead);
  });
  setSpeeds(middles);
  setPlaces(middles);
}

// From the node before to the one after; a view that hardly goes on, or goes back, leads nowhere, and the mean speed
// takes its place.
void LineSearch::setSpeeds(std::vector<double> const& middles) {
  for (std::size_t i = 0; i < mNodes.size(); ++i) {
    std::size_t const before = i - std::min<std::size_t>(i, 1);
    std::size_t const after = std::min(i + 1, mNodes.size() - 1);
    double const perMetre = static_cast<double>(after - before) / (middles[after] - middles[before]);
    bool const isUsual = perMetre > mNodesPerMetre / MOST_CHANGE && perMetre < mNodesPerMetre * MOST_CHANGE;
    mNodes[i].nodesPerMetre = isUsual ? perMetre : mNodesPerMetre;
  }
}

// The first node whose middle sees as far as a level flight would from the middle of each run of places.
void LineSearch::setPlaces(std::vector<double> const& middles) {
  auto const levelOf = [&](std::size_t node) {
    return (middles[node] - mFirstAlong - mChain.usualDepth() * mAhead) * mNodesPerMetre;
  };
  std::size_t node = 0;
  for (std::size_t first = 0; first < mNodes.size(); first += nodesPerRun) {
    double const place = static_cast<double>(first) + 0.5 * nodesPerRun;
    while (node + 1 < mNodes.size() && !(levelOf(node) >= place)) {
      ++node;
    }
    mFromLevel.push_back(static_cast<double>(node) - levelOf(node));
  }
}

// The progress of the view over the ground from piece to piece, in lines at the mean speed, for three rays.
LineSearch::Overlaps LineSearch::findOverlaps(double depth) const {
  LineTable const& table = mChain.lines();
  double const firstSample = mChain.sensorLine().firstSample();
  double const lastSample = mChain.sensorLine().lastSample();
  double const linesPerUnit = mLinesPerUnit * depth;
  Overlaps overlaps{depth, std::vector<double>(table.size() / linesPerOverlap + 1, 0.0)};
  std::vector<double> lines;
  for (double const sample : {firstSample, 0.5 * (firstSample + lastSample), lastSample}) {
    std::vector<double> progress;
    lines.clear();
    double sum = 0.0;
    Piece piece = mChain.pieceAt(table.firstLine());
    Pose first = mChain.pose(piece, piece.first);
    for (;;) {
      Pose const last = mChain.pose(piece, piece.last);
      bool const isEnd = !(piece.last < table.lastLine());
      Piece const next = isEnd ? piece : mChain.next(piece);
      Pose const start = isEnd ? last : mChain.pose(next, next.first);
      geo::XYZPoint const seen = atDepth(first, mChain.ray(first, sample), depth);
      // What the sensor line sees at the beginning of a piece lies after it, along the flight, at its end, and in a
      // step between two pieces.
      auto const behind = [&](Pose const& pose) {
        ViewChain::Sight const sight = mChain.sight(pose, seen);
        return (mChain.sensorLine().at(sight.y).x - sight.x) * linesPerUnit;
      };
      lines.push_back(piece.first);
      progress.push_back(sum - LEAST_PROGRESS * piece.first);
      lines.push_back(piece.last);
      progress.push_back(sum + behind(last) - LEAST_PROGRESS * piece.last);
      sum += behind(start);
      if (isEnd) {
        break;
      }
      piece = next;
      first = start;
    }
    addOverlap(lines, progress, overlaps);
  }
  return overlaps;
}

// For each place, how far before it the view was as far ahead already.
void LineSearch::addOverlap(std::vector<double> const& lines, std::vector<double> const& progress,
                            Overlaps& overlaps) const {
  std::vector<double> greatest;
  double most = -INFINITE;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    // The end of a piece and the beginning of the next are one place, but for rounding.
    double const p = std::isnan(progress[i]) ? -INFINITE : progress[i];
    if (most > p + ROUNDING || std::isnan(progress[i])) {
      auto const since = std::upper_bound(greatest.begin(), greatest.end(), p + ROUNDING) - greatest.begin();
      double const overlap = lines[i] - lines[static_cast<std::size_t>(since)] + 1.0;
      double& longest = overlaps.lines[stretchOf(lines[i])];
      longest = std::fmax(longest, overlap);
      if (since == 0) {
        overlaps.ofBegin = std::fmax(overlaps.ofBegin, overlap);
      }
    }
    most = std::fmax(most, p);
    greatest.push_back(most);
  }
}

}  // namespace kes::detail
