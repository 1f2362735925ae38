// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "LargeTable.h"
#include "ViewChain.h"

#include <geo/XYZPoint.h>

#include <cstddef>
#include <limits>
#include <vector>

namespace kes::detail {

/// The secant's last correction is at most as long, in lines, less where the view hardly moves: what bends within a
/// piece, above all where the sample passes from pixel to pixel of the calibration, is a thousandth of it.
inline constexpr double longestLastStep = 4e-4;

/// Where a ground position was found in the image. Without a solution, line and sample are NaN.
struct Found {
  double line;
  double sample;
  double time;  ///< Of the exposure, seconds since the chain's epoch.
  int passes;   ///< How many times the camera of a line looked at the position.
  bool isSolved;
};

/// The search for the line that saw a ground position: a line of the table (see `LineTable`) at which the position
/// falls onto the sensor line, from the front; of several, the first. Once prepared for a band, it never changes.
///
/// How far a position falls from the sensor line is nearly linear within a piece. So a piece is sought at whose
/// beginning the position lies ahead of the sensor line and at whose end it doesn't, and the line in it follows by a
/// secant and a last correction. A guess from a coarse table of the flight says where to begin; steps that leave the
/// bracket of the lines known to be too early and too late give way to halving it.
///
/// Turbulence may swing the view back, so that it passes a position more than once. How far apart, in lines, the first
/// and the last such passage can lie is known beforehand for each stretch of the flight, from rays at the ends and the
/// middle of the sensor line down to 2, 8 and 32 times the usual depth: what overlaps at a depth overlaps at all
/// greater ones. Only where it isn't 0 are the lines before looked at, too; for positions below the greatest depth, all
/// are.
///
/// The result depends on nothing but the position: not on those before it, nor on the thread. In a run, the piece of
/// the position before is tried first; that is done only where the view never goes back, and so leads to the same
/// piece.
class LineSearch {
public:
  explicit LineSearch(ViewChain const& chain);

  /// Keeps the poses at the ends of the last pieces, which neighbours in a run often share. One for each thread.
  class Memory;

  Found find(geo::XYZPoint const& ground, Memory& memory) const;

private:
  friend class LaneTables;

  static constexpr int linesPerNode = 2;
  static constexpr int nodesPerRun = 4;
  static constexpr int linesPerOverlap = 64;
  // Of the depth down to which overlaps are known: positions nearer to the camera are measured as if they were there.
  static constexpr double leastDepth = 1e-3;

  // What a line sees at the usual depth, in a coarse table of the flight: positions along the flight at
  // along + a perAcross + a² perSquare + z perHeight, of those across it, a, and of heights, z; and how fast the view of
  // the middle passes over the ground. All lines have one perSquare, which is the sensor line's bow.
  struct alignas(32) Node {
    double along;
    double perAcross;
    double perHeight;
    double nodesPerMetre;
  };
  struct Look {
    double ahead;
    double across;
  };
  // One position's search; in LineSearchTask.cpp, with all that it asks of this class, so that it compiles to one
  // function.
  class Task;

  void makeNodes();
  void addNodes();
  void setSpeeds(std::vector<double> const& middles);
  void setPlaces(std::vector<double> const& middles);
  Look look(Pose const& pose, double sample) const;
  struct Fan {
    Look middle;
    double slope;
    double bow;
  };
  Fan fan(Pose const& pose) const;
  template <class Work>
  void forEachNode(Work const& work) const;
  // How many lines before a stretch of the flight can have seen what it sees, down to a depth.
  struct Overlaps {
    double depth;
    std::vector<double> lines;
    double ofBegin = 0.0;  // how many lines from the first one on can see what is behind it
  };
  Overlaps findOverlaps(double depth) const;
  void addOverlap(std::vector<double> const& lines, std::vector<double> const& progress, Overlaps& overlaps) const;
  std::size_t stretchOf(double line) const { return mChain.lines().intervalOf(line) / linesPerOverlap; }
  Overlaps const& overlapsAt(double depth) const;
  double unambiguousDepth(double line) const;
  bool isWithinSensorLine(double sample) const {
    return sample >= mChain.sensorLine().firstSample() && sample <= mChain.sensorLine().lastSample();
  }

  ViewChain const& mChain;
  LargeTable<Node> mNodes;
  double mPerSquare = 0.0;
  // How many nodes that which sees a position lies after the one that would see it from a level flight at a steady
  // speed, for each run of the latter.
  std::vector<double> mFromLevel;
  // Directions along and across the flight.
  double mCosine = 1.0;
  double mSine = 0.0;
  double mSpeed = 1.0;    // metres a line
  double mForward = 1.0;  // -1 when the focal x points against the flight
  double mHeight = 0.0;   // of the flight, its mean
  double mAhead = 0.0;    // tangent of the view, its mean
  double mFirstAlong = 0.0;
  double mDepth = 0.0;  // the least down to which overlaps are known
  double mNodesPerMetre = 0.0;
  double mLinesPerUnit = 0.0;       // of the focal plane, for each metre of depth
  std::vector<Overlaps> mOverlaps;  // by depth
};

/// Starts without anything; only what its keys say is kept.
class LineSearch::Memory {
public:
  /// The pose at the first or the last line of a piece.
  Pose const& first(ViewChain const& chain, Piece const& piece) { return kept(mFirst, chain, piece, piece.first); }
  Pose const& last(ViewChain const& chain, Piece const& piece) { return kept(mLast, chain, piece, piece.last); }

  /// How many poses were computed so far.
  std::size_t computedPoses() const { return mComputed; }

  /// The piece of the last position, and the depth down to which there is no doubt that its neighbours belong to it.
  Piece lastPiece;
  double lastPieceDepth = -std::numeric_limits<double>::infinity();

private:
  static constexpr std::size_t size = 4;
  static constexpr std::size_t none = ~std::size_t{0};
  struct Entry {
    std::size_t interval = none;
    std::size_t record;
    Pose pose;
  };
  Pose const& kept(Entry* entries, ViewChain const& chain, Piece const& piece, double line) {
    Entry& entry = entries[(piece.interval + piece.record) % size];
    if (entry.interval != piece.interval || entry.record != piece.record) {
      entry.interval = piece.interval;
      entry.record = piece.record;
      entry.pose = chain.pose(piece, line);
      ++mComputed;
    }
    return entry.pose;
  }

  Entry mFirst[size];
  Entry mLast[size];
  std::size_t mComputed = 0;
};

}  // namespace kes::detail
