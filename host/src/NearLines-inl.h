// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// Lines near those that saw positions, in lanes, for the instruction set at hand.

#if defined(KES_HOST_NEAR_LINES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KES_HOST_NEAR_LINES_INL_H
#undef KES_HOST_NEAR_LINES_INL_H
#else
#define KES_HOST_NEAR_LINES_INL_H
#endif

#include "Lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

/// Guesses of lines from the coarse table of the flight; see `LineSearch::Task::guess`. Results don't depend on them.
/// Places are in nodes of the table.
class NearLines {
public:
  explicit NearLines(LaneTables const& tables) : mTables(tables), mFromLevel(zero()) {}

  /// Of positions that follow those before: the first place is as far from that of a level flight as the vector before
  /// ended, so that one look mostly does.
  HWY_INLINE Lanes next(LanePoint const& ground) {
    Lanes const level = levelPlace(ground);
    Lanes const place = look(ground, level + mFromLevel);
    Lanes const fromLevel = place - level;
    mFromLevel = selectOrZero(absolute(fromLevel) < same(mTables.lastNode), fromLevel);
    return lineOf(place);
  }

  /// Of positions anywhere, by the places where to look first.
  HWY_INLINE Lanes at(LanePoint const& ground, Lanes firstPlace) const { return lineOf(look(ground, firstPlace)); }
  HWY_INLINE Lanes firstPlace(LanePoint const& ground) const {
    Lanes const level = levelPlace(ground);
    Lanes const run = level * same(mTables.runsPerNode);
    RowNumbers runs;
    truncated(least(selectOrZero(run > zero(), run), same(mTables.lastRun)), runs.of);
    alignas(64) double fromLevel[laneCount];
    for (std::size_t k = 0; k < laneCount; ++k) {
      fromLevel[k] = mTables.fromLevel[runs.of[k]];
    }
    return level + load(fromLevel);
  }

  /// Asks the memory for the nodes of places.
  HWY_INLINE void prefetch(Lanes place) const {
    RowNumbers nodes;
    findNodes(place, nodes);
    for (std::uint32_t const node : nodes.of) {
      hwy::Prefetch(mTables.nodes + LaneTables::doublesPerNode * node);
    }
  }

private:
  static constexpr int LOOKS = 2;
  static constexpr double FROM_NODE = 1.5;

  HWY_INLINE Lanes along(LanePoint const& ground) const {
    return same(mTables.cosine) * ground.x + same(mTables.sine) * ground.y;
  }
  // That sees positions from a level flight at a steady speed.
  HWY_INLINE Lanes levelPlace(LanePoint const& ground) const {
    Lanes const depth = same(mTables.flyingHeight) - ground.z;
    return (along(ground) - same(mTables.firstAlong) - depth * same(mTables.ahead)) * same(mTables.nodesPerMetre);
  }
  HWY_INLINE Lanes lineOf(Lanes place) const { return same(mTables.firstLine) + place * same(mTables.linesPerNode); }

  HWY_INLINE Lanes findNodes(Lanes place, RowNumbers& nodes) const {
    Lanes const nearest = place + same(0.5);
    return truncated(least(selectOrZero(nearest > zero(), nearest), same(mTables.lastNode)), nodes.of);
  }

  // From node to node.
  HWY_INLINE Lanes look(LanePoint const& ground, Lanes place) const {
    Lanes const along = this->along(ground);
    Lanes const across = same(mTables.cosine) * ground.y - same(mTables.sine) * ground.x;
    for (int i = 0; i < LOOKS; ++i) {
      RowNumbers nodes;
      Lanes const number = findNodes(place, nodes);
      Lanes nodeAlong, perAcross, perHeight, perMetre;
      loadPair(mTables.nodes, LaneTables::doublesPerNode, nodes, nodeAlong, perAcross);
      loadPair(mTables.nodes + 2, LaneTables::doublesPerNode, nodes, perHeight, perMetre);
      Lanes const view = nodeAlong + across * (perAcross + across * same(mTables.perSquare)) + ground.z * perHeight;
      Lanes const away = (along - view) * perMetre;
      place = number + away;
      if (allTrue(absolute(away) < same(FROM_NODE))) {
        break;
      }
    }
    return place;
  }

  LaneTables const& mTables;
  Lanes mFromLevel;  // of the last vector
};

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
