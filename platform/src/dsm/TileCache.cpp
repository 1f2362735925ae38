// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "dsm/TileCache.h"

#include <algorithm>

namespace dsm {
namespace {

constexpr std::size_t MOST_PARTS = 16;

/// A tile with what its places in list and table take, at the most.
constexpr std::size_t ENTRY_BYTES = sizeof(HeightTile) + 256;

}  // namespace

std::size_t TileCache::tilesIn(std::size_t bytes) {
  return std::max(bytes / ENTRY_BYTES, std::size_t{1});
}

TileCache::TileCache(std::size_t bytes) : mParts(std::min(tilesIn(bytes), MOST_PARTS)) {
  std::size_t const capacity = tilesIn(bytes);
  for (std::size_t i = 0; i < mParts.size(); ++i) {
    mParts[i].capacity = (capacity + i) / mParts.size();
  }
}

TileCache::Part& TileCache::partOf(std::uint64_t number) {
  constexpr std::uint64_t GOLDEN_RATIO = 0x9e3779b97f4a7c15;  // spreads rows, columns and diagonals of tiles alike
  return mParts[static_cast<std::size_t>((number * GOLDEN_RATIO) >> 32U) % mParts.size()];
}

TileCache::Tile TileCache::find(std::uint64_t number) {
  Part& part = partOf(number);
  std::lock_guard const lock(part.mutex);
  auto const place = part.places.find(number);
  if (place == part.places.end()) {
    return nullptr;
  }
  part.entries.splice(part.entries.begin(), part.entries, place->second);
  return place->second->second;
}

void TileCache::insert(std::uint64_t number, Tile tile) {
  Part& part = partOf(number);
  std::lock_guard const lock(part.mutex);
  if (part.places.count(number) != 0) {
    return;
  }
  part.entries.emplace_front(number, std::move(tile));
  part.places.emplace(number, part.entries.begin());
  if (part.entries.size() > part.capacity) {
    part.places.erase(part.entries.back().first);
    part.entries.pop_back();
  }
}

}  // namespace dsm
