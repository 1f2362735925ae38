// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "InputCheck.h"
#include "OrthoManifest.h"
#include "OrthoMosaic.h"
#include "OrthoRecord.h"
#include "TileFile.h"
#include "files/WorkFolder.h"

#include <kesgdal/OrthoTiles.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <utility>

namespace kesgdal {

namespace {

namespace fs = std::filesystem;

// Of all the time, about.
constexpr double assemblyPart = 0.3;

// "3, 7-9"
std::string listOf(std::vector<std::size_t> const& indices) {
  constexpr std::size_t mostRanges = 20;
  std::string list;
  std::size_t ranges = 0;
  for (std::size_t i = 0; i < indices.size(); ++ranges) {
    std::size_t last = i;
    while (last + 1 < indices.size() && indices[last + 1] == indices[last] + 1) {
      ++last;
    }
    if (ranges == mostRanges) {
      return list + " and others";
    }
    list += list.empty() ? "" : ", ";
    list += std::to_string(indices[i]);
    if (last > i) {
      list += "-" + std::to_string(indices[last]);
    }
    i = last + 1;
  }
  return list;
}

void requireAll(OrthoTiling const& tiling) {
  std::vector<std::size_t> const missing = tiling.missing();
  if (!missing.empty()) {
    throw std::runtime_error(std::to_string(missing.size()) + " of " + std::to_string(tiling.tileCount()) +
                             " tiles are missing: " + listOf(missing));
  }
}

// Adds a tile's pixels to the mosaic of the whole.
TileRecord addTile(OrthoTiling const& tiling, std::size_t index, OrthoMosaic& mosaic) {
  std::string const name = tiling.tileFile(index);
  auto file = TileFile::open(tiling.data(), index, name);
  std::string const remedy = "; remove " + name + " and make it again";
  if (!file) {
    throw std::runtime_error("tile " + std::to_string(index) + " isn't one of this plan" + remedy);
  }
  bool const isWhole =
      file->read([&](int band, PixelBox const& box, WarpedPixels const& pixels) { mosaic.add(band, box, pixels); });
  if (!isWhole) {
    throw std::runtime_error("tile " + std::to_string(index) + " is damaged" + remedy);
  }
  return file->record();
}

void removeTiles(OrthoTiling const& tiling) {
  std::error_code ignored;
  for (std::size_t i = 0; i < tiling.tileCount(); ++i) {
    fs::remove(tiling.tileFile(i), ignored);
    fs::remove(tiling.tileFile(i) + ".aux.xml", ignored);
  }
  fs::remove(tiling.folder(), ignored);  // when it is empty
}

void requireOther(OrthoTiling::Data const& data, std::string const& output) {
  auto const require = [&](std::string const& input) {
    std::error_code ignored;
    if (fs::equivalent(input, output, ignored)) {
      throw std::runtime_error("can't write " + output + ": it is read, too");
    }
  };
  require(data.fileName);
  for (OrthoInput const& input : data.layout.inputs.all()) {
    require(data.path(input));
  }
}

}  // namespace

OrthoTiling OrthoTiling::read(std::string const& fileName) {
  GDALAllRegister();
  return OrthoTiling(std::make_shared<Data const>(parsedManifest(fileName)));
}

std::string const& OrthoTiling::fileName() const {
  return mData->fileName;
}

std::string const& OrthoTiling::folder() const {
  return mData->tileFolder;
}

std::size_t OrthoTiling::tileCount() const {
  return mData->tiles.size();
}

OrthoTile const& OrthoTiling::tile(std::size_t index) const {
  if (index >= tileCount()) {
    throw std::out_of_range("there is no tile " + std::to_string(index) + ": the plan has " +
                            std::to_string(tileCount()) + ", counted from 0");
  }
  return mData->tiles[index];
}

std::string OrthoTiling::tileFile(std::size_t index) const {
  return (fs::path(folder()) / ("tile-" + std::to_string(index) + ".tif")).string();
}

int OrthoTiling::tileSide() const {
  return mData->tileSide;
}

int OrthoTiling::columns() const {
  return mData->layout.grid.columns();
}

int OrthoTiling::rows() const {
  return mData->layout.grid.rows();
}

int OrthoTiling::bandCount() const {
  return static_cast<int>(mData->layout.plan.bands.size());
}

std::vector<std::string> OrthoTiling::stripFiles() const {
  std::vector<std::string> files;
  for (LaidStrip const& strip : mData->layout.strips) {
    files.push_back(mData->path(strip.fileName));
  }
  return files;
}

std::size_t OrthoTiling::inputCount() const {
  return mData->layout.inputs.all().size();
}

std::uint64_t OrthoTiling::inputBytes() const {
  std::uint64_t bytes = 0;
  for (OrthoInput const& input : mData->layout.inputs.all()) {
    bytes += input.bytes;
  }
  return bytes;
}

std::uint64_t OrthoTiling::memory() const {
  return mData->memory.bound(mData->threads);
}

int OrthoTiling::threads() const {
  return mData->threads;
}

std::vector<std::size_t> OrthoTiling::missing() const {
  std::vector<std::size_t> indices;
  std::error_code ignored;
  for (std::size_t i = 0; i < tileCount(); ++i) {
    if (!fs::is_regular_file(tileFile(i), ignored)) {
      indices.push_back(i);
    }
  }
  return indices;
}

void finishOrthophoto(OrthoTiling const& tiling, std::string const& fileName, FinishOptions const& options,
                      Progress const& progress) {
  OrthoTiling::Data const& data = tiling.data();
  OrthoLayout const& layout = data.layout;
  int const threads = options.threads > 0 ? options.threads : data.threads;
  auto const report = [&](double done) {
    if (progress) {
      progress(done);
    }
  };
  requireOther(data, fileName);
  requireAll(tiling);
  InputCheck(data).requireSums(threads);
  files::WorkFolder const folder(fileName);
  kes::CoordinateSystem const map(data.source.map);
  OrthoMosaic mosaic(folder, layout.format(map), layout.whole(), layout.plan.bands, false);
  TileRecord record;
  for (std::size_t i = 0; i < tiling.tileCount(); ++i) {
    TileRecord const tile = addTile(tiling, i, mosaic);
    record.hasData = record.hasData || tile.hasData;
    record.closure.add(tile.closure);
    report(assemblyPart * static_cast<double>(i + 1) / static_cast<double>(tiling.tileCount()));
  }
  if (!record.hasData) {
    failUnseen(layout.plan, data.source.elevationModel, layout.strips.size());
  }
  mosaic.setMetadata(recordItems(layout, data.method, record.closure));
  writeFinal(folder, mosaic, {fileName, layout.plan.format, layout.plan.creationOptions, threads},
             [&](double done) { report(assemblyPart + (1.0 - assemblyPart) * done); });
  if (!options.keepsTiles) {
    removeTiles(tiling);
  }
}

}  // namespace kesgdal
