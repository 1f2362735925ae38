// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "dsm/ExtentTree.h"
#include "dsm/MeshHeight.h"
#include "dsm/RasterFile.h"
#include "dsm/TileCache.h"
#include "dsm/TileTable.h"

#include <dsm/HeightTile.h>
#include <dsm/RasterElevationSource.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <utility>
#include <vector>

namespace dsm {
namespace {

/// A tile that a thread met lately. It keeps the tile alive while others drop it from the cache.
struct RecentTile {
  std::uint64_t surface = 0;  ///< 0 for none.
  std::uint64_t number = 0;
  TileCache::Tile tile;
};

/// Of the thread, and of all surfaces it asks.
thread_local std::array<RecentTile, 16> recentTiles;

/// Where a tile has its place: 4 by 4 tiles side by side don't meet, nor do the groups of four around the same corner
/// of two surfaces that a thread asks in turn.
std::size_t recentPlace(std::uint64_t surface, std::uint64_t column, std::uint64_t row) {
  std::uint64_t const place = (row & 3U) << 2U | (column & 3U);
  return (surface & 1U) != 0 ? place ^ 0b1010U : place;
}

std::string failure(char const* what, std::string const& fileName, std::exception const& reason) {
  return std::string("Can't ") + what + " elevation model \"" + fileName + "\": " + reason.what();
}

RasterFile openFile(std::string const& fileName, util::Origin origin, std::string const& vertical) {
  try {
    return {fileName, origin, vertical};
  } catch (std::runtime_error const& error) {
    throw std::runtime_error(failure("open", fileName, error));
  }
}

/// Of numbers that no two surfaces of the process share, also one after the other in the same place of memory.
std::uint64_t nextSurface() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

}  // namespace

/// The file with its tiles.
class RasterElevationSource::Surface {
public:
  Surface(std::string const& fileName, std::size_t cacheSize, util::Origin origin, std::string const& vertical);

  bool height(geo::XYZPoint const& position, float& height) const;
  std::optional<HeightRange> heightRange() const;
  HeightTile const& tile(std::uint64_t column, std::uint64_t row) const;
  HeightExtent const& extent(unsigned bits, std::uint64_t column, std::uint64_t row) const;

  geo::coordSys const* coordSystem() const { return mFile.coordSystem(); }
  std::string const& fileName() const { return mFileName; }
  bool hasVerticalDatum() const { return mFile.hasVerticalDatum(); }
  Bounds const& bounds() const { return mBounds; }
  Grid const& grid() const { return mGrid; }

private:
  /// What is known once the whole raster has been read.
  struct Survey {
    std::optional<HeightRange> range;
    ExtentTree tree;
  };
  HeightTile const& keptTile(std::uint64_t column, std::uint64_t row) const;
  TileCache::Tile sharedTile(std::uint64_t column, std::uint64_t row) const;
  std::unique_ptr<HeightTile const> read(std::uint64_t column, std::uint64_t row) const;
  Survey const& survey() const;
  std::unique_ptr<Survey const> makeSurvey() const;

  std::string mFileName;
  std::uint64_t const mNumber = nextSurface();
  mutable std::mutex mFileMutex;
  mutable RasterFile mFile;
  RasterPlace const mPlace;
  Bounds const mBounds;
  Grid const mGrid;
  // A raster has a mesh more than cells each way: those beyond its first and last centres.
  std::uint64_t const mTileColumns;
  std::uint64_t const mTileRows;
  mutable std::optional<TileTable> mTable;  // where there is room for all tiles
  mutable TileCache mCache;                 // otherwise
  mutable std::mutex mSurveyMutex;
  mutable std::unique_ptr<Survey const> mSurvey;
  mutable std::atomic<Survey const*> mKnownSurvey{nullptr};
};

RasterElevationSource::Surface::Surface(std::string const& fileName, std::size_t cacheSize, util::Origin origin,
                                        std::string const& vertical)
    : mFileName(fileName), mFile(openFile(fileName, origin, vertical)),
      mPlace(mFile.place()), mBounds{mPlace.minimum(), mPlace.maximum()}, mGrid{mPlace.columns(), mPlace.rows(),
                                                                                mPlace.geoTransform(),
                                                                                mPlace.fullTurn(), mPlace.isRing()},
      mTileColumns((static_cast<std::uint64_t>(mPlace.columns()) >> HeightTile::MESH_BITS) + 1),
      mTileRows((static_cast<std::uint64_t>(mPlace.rows()) >> HeightTile::MESH_BITS) + 1), mCache(cacheSize) {
  if (mTileColumns * mTileRows <= TileCache::tilesIn(cacheSize)) {
    mTable.emplace(static_cast<std::size_t>(mTileColumns * mTileRows));
  }
}

bool RasterElevationSource::Surface::height(geo::XYZPoint const& position, float& height) const {
  CellPosition cell{};
  if (!mPlace.find(position.x, position.y, cell)) {
    return false;
  }
  // Mesh i lies between the centres of the cells i - 1 and i.
  double const x = cell.column + 0.5;
  double const y = cell.row + 0.5;
  auto const column = static_cast<std::uint64_t>(static_cast<std::int64_t>(x));
  auto const row = static_cast<std::uint64_t>(static_cast<std::int64_t>(y));
  constexpr std::uint64_t IN_TILE = HeightTile::MESHES - 1;
  return heightInMesh(tile(column >> HeightTile::MESH_BITS, row >> HeightTile::MESH_BITS),
                      {static_cast<std::size_t>(column & IN_TILE), static_cast<std::size_t>(row & IN_TILE),
                       x - static_cast<double>(column), y - static_cast<double>(row)},
                      height);
}

HeightTile const& RasterElevationSource::Surface::tile(std::uint64_t column, std::uint64_t row) const {
  std::uint64_t const number = row * mTileColumns + column;
  if (mTable) {
    HeightTile const* const kept = mTable->find(number);
    return kept != nullptr ? *kept : keptTile(column, row);
  }
  RecentTile& recent = recentTiles[recentPlace(mNumber, column, row)];
  if (recent.surface != mNumber || recent.number != number) {
    recent.tile = sharedTile(column, row);
    recent.surface = mNumber;
    recent.number = number;
  }
  return *recent.tile;
}

HeightTile const& RasterElevationSource::Surface::keptTile(std::uint64_t column, std::uint64_t row) const {
  std::uint64_t const number = row * mTileColumns + column;
  std::lock_guard const lock(mFileMutex);
  if (HeightTile const* const kept = mTable->find(number)) {  // another thread has read it meanwhile
    return *kept;
  }
  return mTable->insert(number, read(column, row));
}

TileCache::Tile RasterElevationSource::Surface::sharedTile(std::uint64_t column, std::uint64_t row) const {
  std::uint64_t const number = row * mTileColumns + column;
  if (auto tile = mCache.find(number)) {
    return tile;
  }
  std::lock_guard const lock(mFileMutex);
  if (auto tile = mCache.find(number)) {  // another thread has read it meanwhile
    return tile;
  }
  TileCache::Tile tile = read(column, row);
  mCache.insert(number, tile);
  return tile;
}

/// With the lock on the file.
std::unique_ptr<HeightTile const> RasterElevationSource::Surface::read(std::uint64_t column, std::uint64_t row) const {
  auto tile = std::make_unique<HeightTile>();
  try {
    mFile.read(static_cast<std::int64_t>(column * HeightTile::MESHES) - 1,
               static_cast<std::int64_t>(row * HeightTile::MESHES) - 1, *tile);
  } catch (std::runtime_error const& error) {
    throw std::runtime_error(failure("read", mFileName, error));
  }
  tile->findExtents();
  return tile;
}

std::optional<RasterElevationSource::HeightRange> RasterElevationSource::Surface::heightRange() const {
  return survey().range;
}

HeightExtent const& RasterElevationSource::Surface::extent(unsigned bits, std::uint64_t column,
                                                           std::uint64_t row) const {
  return survey().tree.extent(bits - HeightTile::MESH_BITS, column, row);
}

RasterElevationSource::Surface::Survey const& RasterElevationSource::Surface::survey() const {
  if (Survey const* const known = mKnownSurvey.load(std::memory_order_acquire)) {
    return *known;
  }
  std::lock_guard const lock(mSurveyMutex);
  if (!mSurvey) {
    mSurvey = makeSurvey();
    mKnownSurvey.store(mSurvey.get(), std::memory_order_release);
  }
  return *mSurvey;
}

std::unique_ptr<RasterElevationSource::Surface::Survey const> RasterElevationSource::Surface::makeSurvey() const {
  std::vector<HeightExtent> extents;  // grows by what is read, whatever size the file claims
  HeightExtent all;
  for (std::uint64_t i = 0; i < mTileColumns * mTileRows; ++i) {
    std::unique_ptr<HeightTile const> passing;
    if (!mTable) {
      std::lock_guard const lock(mFileMutex);
      passing = read(i % mTileColumns, i / mTileColumns);
    }
    HeightTile const& surveyed = mTable ? tile(i % mTileColumns, i / mTileColumns) : *passing;
    extents.push_back(surveyed.extent(HeightTile::MESH_BITS, 0, 0));
    all.add(extents.back());
  }
  return std::make_unique<Survey const>(
      Survey{all.isEmpty() ? std::nullopt : std::optional(HeightRange{all.lowest, all.highest}),
             ExtentTree(std::move(extents), mTileColumns, mTileRows)});
}

RasterElevationSource::RasterElevationSource(std::string const& fileName, std::size_t cacheSize, util::Origin origin,
                                             std::string const& vertical)
    : RasterElevationSource(std::make_unique<Surface const>(fileName, cacheSize, origin, vertical)) {}

RasterElevationSource::RasterElevationSource(std::unique_ptr<Surface const> surface)
    : ProjectedElevationSource(surface->coordSystem()), mSurface(std::move(surface)) {}

RasterElevationSource::~RasterElevationSource() = default;

bool RasterElevationSource::height(geo::XYZPoint const& position, float& height) const {
  return mSurface->height(position, height);
}

HeightTile const& RasterElevationSource::tile(std::uint64_t column, std::uint64_t row) const {
  return mSurface->tile(column, row);
}

HeightExtent const& RasterElevationSource::extent(unsigned bits, std::uint64_t column, std::uint64_t row) const {
  return mSurface->extent(bits, column, row);
}

std::string const& RasterElevationSource::fileName() const {
  return mSurface->fileName();
}

bool RasterElevationSource::hasVerticalDatum() const {
  return mSurface->hasVerticalDatum();
}

RasterElevationSource::Bounds const& RasterElevationSource::bounds() const {
  return mSurface->bounds();
}

RasterElevationSource::Grid const& RasterElevationSource::grid() const {
  return mSurface->grid();
}

std::optional<RasterElevationSource::HeightRange> RasterElevationSource::heightRange() const {
  return mSurface->heightRange();
}

}  // namespace dsm
