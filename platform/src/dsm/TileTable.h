// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/HeightTile.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace dsm {

/// A place for each tile of a surface, which stays from when it is read until the table is gone. Any number of threads
/// find tiles without a lock, while one keeps another.
class TileTable {
public:
  explicit TileTable(std::size_t tiles)
      : mCount(tiles), mTiles(std::make_unique<std::atomic<HeightTile const*>[]>(tiles)) {}
  ~TileTable() {
    for (std::size_t i = 0; i < mCount; ++i) {
      delete mTiles[i].load(std::memory_order_relaxed);
    }
  }
  TileTable(TileTable const&) = delete;
  TileTable& operator=(TileTable const&) = delete;

  /// Null when it isn't there yet.
  HeightTile const* find(std::uint64_t number) const {
    return mTiles[static_cast<std::size_t>(number)].load(std::memory_order_acquire);
  }
  /// Keeps a tile that isn't there yet. For one thread at a time.
  HeightTile const& insert(std::uint64_t number, std::unique_ptr<HeightTile const> tile) {
    HeightTile const* const kept = tile.release();
    mTiles[static_cast<std::size_t>(number)].store(kept, std::memory_order_release);
    return *kept;
  }

private:
  std::size_t mCount;
  std::unique_ptr<std::atomic<HeightTile const*>[]> mTiles;
};

}  // namespace dsm
