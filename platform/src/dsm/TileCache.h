// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/HeightTile.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

namespace dsm {

/// The tiles of a surface that were used last, by their number, within a bounded memory. Threads may share it; it is
/// split into parts with a lock each, so that they seldom meet.
class TileCache {
public:
  using Tile = std::shared_ptr<HeightTile const>;

  /// How many tiles some memory has room for, one at the least.
  static std::size_t tilesIn(std::size_t bytes);

  /// Holds as many tiles as `bytes` have room for.
  explicit TileCache(std::size_t bytes);

  /// The tile, which counts as used last now, or null.
  Tile find(std::uint64_t number);
  /// Keeps a tile, in the place of the one that was used least lately when there is no room.
  void insert(std::uint64_t number, Tile tile);

private:
  using Entry = std::pair<std::uint64_t, Tile>;
  /// On cache lines of its own, so that the locks of two parts don't slow each other.
  struct alignas(64) Part {
    std::mutex mutex;
    std::size_t capacity = 0;
    /// The one used last in front.
    std::list<Entry> entries;
    std::unordered_map<std::uint64_t, std::list<Entry>::iterator> places;
  };
  Part& partOf(std::uint64_t number);

  std::vector<Part> mParts;
};

}  // namespace dsm
