// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "dsm/TileTable.h"

namespace dsm {

TileTable::TileTable(std::size_t tiles)
    : mCount(tiles), mTiles(std::make_unique<std::atomic<HeightTile const*>[]>(tiles)) {}

TileTable::~TileTable() {
  for (std::size_t i = 0; i < mCount; ++i) {
    delete mTiles[i].load(std::memory_order_relaxed);
  }
}

HeightTile const& TileTable::insert(std::uint64_t number, std::unique_ptr<HeightTile const> tile) {
  HeightTile const* const kept = tile.release();
  mTiles[static_cast<std::size_t>(number)].store(kept, std::memory_order_release);
  return *kept;
}

}  // namespace dsm
