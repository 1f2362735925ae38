// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CutPolygons.h"
#include "InputCheck.h"
#include "OrthoManifest.h"
#include "OrthoMosaic.h"
#include "OrthoWarper.h"
#include "TileFile.h"
#include "files/NewFolder.h"
#include "files/WorkFolder.h"

#include <kesgdal/OrthoTiles.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <list>
#include <stdexcept>
#include <utility>

namespace kesgdal {

namespace {

namespace fs = std::filesystem;

// The strips of a plan, each opened when it is needed; those used last stay loaded.
class OpenStrips {
public:
  OpenStrips(OrthoTiling::Data const& data, int limit) : mData(data), mLimit(static_cast<std::size_t>(limit)) {}

  kes::Strip const& strip(std::size_t index) {
    auto const found = std::find_if(mOpen.begin(), mOpen.end(), [&](Open const& open) { return open.index == index; });
    if (found != mOpen.end()) {
      mOpen.splice(mOpen.begin(), mOpen, found);
    } else {
      while (mOpen.size() >= mLimit) {
        mOpen.pop_back();
      }
      mOpen.push_front({index, opened(mData.layout.strips[index])});
    }
    return mOpen.front().strip;
  }

private:
  struct Open {
    std::size_t index;
    kes::Strip strip;
  };

  kes::Strip opened(LaidStrip const& laid) const {
    kes::StripOptions opening = laid.opening;
    opening.settings = mData.path(opening.settings);
    for (std::string& folder : opening.calibrations) {
      folder = mData.path(folder);
    }
    opening.load = true;
    kes::Strip strip(mData.path(laid.fileName), opening);
    requireCamera(strip, mData.path(laid.cameraFolder));
    return strip;
  }

  // Where cameras are looked for depends on the user's settings, too.
  static void requireCamera(kes::Strip const& strip, std::string const& folder) {
    std::error_code ignored;
    std::string const found = strip.camera().folder();
    if (found != folder && !fs::equivalent(found, folder, ignored)) {
      throw std::runtime_error("strip " + strip.fileName() + " has its camera from " + found +
                               ", the plan has it from " + folder);
    }
  }

  OrthoTiling::Data const& mData;
  std::size_t mLimit;
  std::list<Open> mOpen;
};

void makeFolder(std::string const& folder) {
  std::error_code error;
  files::makeFolders(folder, error);
  if (error && !fs::is_directory(folder)) {
    throw std::runtime_error("can't make folder " + folder + ": " + error.message());
  }
}

TileClosure closureOf(ClosureOfPixels const& closure) {
  return closure.count() == 0 ? TileClosure{}
                              : TileClosure{closure.count(), closure.rmsMetres(), closure.largestMetres(),
                                            closure.rmsPixels(), closure.largestPixels()};
}

std::shared_ptr<CutPolygons const> cutOf(OrthoTiling::Data const& data, kes::CoordinateSystem const& map) {
  std::string const& cut = data.layout.plan.cut;
  return cut.empty() ? nullptr : std::make_shared<CutPolygons const>(data.path(cut), map);
}

kes::Surface surfaceOf(OrthoTiling::Data const& data) {
  return kes::Surface::raster(data.path(data.source.elevationModel), kes::Surface::VerticalDatum{data.source.vertical});
}

int threadsOf(OrthoTiling::Data const& data, int wanted) {
  int const threads = wanted > 0 ? wanted : data.threads;
  TileMemory const& memory = data.memory;
  if (memory.limit > 0 && memory.bound(threads) > std::max(memory.limit, memory.bound(data.threads))) {
    throw std::runtime_error(std::to_string(threads) + " threads exceed the memory of the plan, which was made for " +
                             std::to_string(data.threads));
  }
  return threads;
}

}  // namespace

struct TileMaker::Impl {
  Impl(OrthoTiling ofTiling, TileOptions const& options)
      : tiling(std::move(ofTiling)), data(tiling.data()), layout(data.layout),
        threads(threadsOf(data, options.threads)), inputs(data), map(data.source.map), surface(surfaceOf(data)),
        strips(data, std::max(options.stripLimit, 1)) {
    if (options.verifies) {
      inputs.requireSums(threads);
    }
    layout.cut = cutOf(data, map);
  }

  MadeTile make(std::size_t index, Progress const& progress);
  void warp(std::size_t index, Progress const& progress);
  std::optional<TileRecord> wholeTile(std::size_t index) const;

  OrthoTiling tiling;
  OrthoTiling::Data const& data;
  OrthoLayout layout;  // with the cut
  int threads;
  InputCheck inputs;
  kes::CoordinateSystem map;
  kes::Surface surface;
  OpenStrips strips;
};

// Nothing when it isn't there, or was made for another plan, or is damaged.
std::optional<TileRecord> TileMaker::Impl::wholeTile(std::size_t index) const {
  auto file = TileFile::open(data, index, tiling.tileFile(index));
  bool const isWhole = file && file->read([](int, PixelBox const&, WarpedPixels const&) {});
  return isWhole ? std::optional(file->record()) : std::nullopt;
}

MadeTile TileMaker::Impl::make(std::size_t index, Progress const& progress) {
  auto const start = std::chrono::steady_clock::now();
  OrthoTile const& tile = tiling.tile(index);
  inputs.require(tile);
  std::string const file = tiling.tileFile(index);
  auto record = wholeTile(index);
  bool const isNew = !record;
  if (isNew) {
    warp(index, progress);
    record = wholeTile(index);
  }
  if (!record) {
    throw std::runtime_error("can't write " + file + ": its pixels aren't what was written");
  }
  std::error_code ignored;
  std::chrono::duration<double> const seconds = std::chrono::steady_clock::now() - start;
  return {
      index, isNew, record->hasData, seconds.count(), fs::file_size(file, ignored), file, closureOf(record->closure)};
}

void TileMaker::Impl::warp(std::size_t index, Progress const& progress) {
  OrthoTile const& tile = data.tiles[index];
  PixelBox const box{tile.left, tile.top, tile.columns, tile.rows};
  makeFolder(tiling.folder());
  files::WorkFolder const folder(tiling.tileFile(index));
  OrthoMosaic mosaic(folder, layout.format(map), box, layout.plan.bands, tile.strips.size() > 1);
  OrthoWork const work{layout, map, surface, threads, data.memory.imageCache};
  TileRecord record;
  double done = 0.0;
  for (std::size_t const strip : tile.strips) {
    auto const partly = [&](double ofStrip) {
      if (progress) {
        progress((done + ofStrip) / static_cast<double>(tile.strips.size()));
      }
    };
    record.hasData = warpStrip(
                         strips.strip(strip), layout.strips[strip], box, work, mosaic, record.closure,
                         [] { return SideWork(); }, partly) ||
                     record.hasData;
    done += 1.0;
  }
  mosaic.setMetadata(tileItems(data, index, record, mosaic.sums()));
  mosaic.close();
  folder.moveOut(OrthoMosaic::NAME);
}

TileMaker::TileMaker(OrthoTiling tiling, TileOptions const& options)
    : mImpl(std::make_unique<Impl>(std::move(tiling), options)) {}

TileMaker::~TileMaker() = default;
TileMaker::TileMaker(TileMaker&&) noexcept = default;
TileMaker& TileMaker::operator=(TileMaker&&) noexcept = default;

MadeTile TileMaker::make(std::size_t index, Progress const& progress) {
  return mImpl->make(index, progress);
}

MadeTile makeTile(OrthoTiling const& tiling, std::size_t index, TileOptions const& options, Progress const& progress) {
  return TileMaker(tiling, options).make(index, progress);
}

}  // namespace kesgdal
