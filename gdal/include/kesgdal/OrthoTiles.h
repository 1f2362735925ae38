// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Strip.h>
#include <kesgdal/OrthoPlan.h>
#include <kesgdal/Orthophoto.h>
#include <kesgdal/kesgdal_export.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kesgdal {

/// What an orthophoto is made of, so that any process can open it: names of files are absolute, or relative to the
/// folder in which the plan was made.
struct OrthoSource {
  /// Strip files, and block files for all strips of a block.
  std::vector<std::string> strips;
  /// How they are opened. `load` and `standardDeviations` don't count.
  kes::StripOptions opening;
  /// Any raster of GDAL, and what its heights count from where it doesn't say so; see `kes::Surface::raster`.
  std::string elevationModel;
  std::string vertical;
  /// The definition of the map's system; see `kes::CoordinateSystem`.
  std::string map;
};

/// How an orthophoto is split into tiles.
struct TilingOptions {
  /// Pixels along the side of a tile; rounded up to whole boxes, in which pixels are made: up to 1024 by 1024. 0: 4096,
  /// or less where the memory asks for it.
  int tileSide = 0;
  /// What the work on a tile may take with the plan's threads, in bytes; 0: no bound.
  std::uint64_t memory = 0;
};

/// A part of the orthophoto that is made at once.
struct OrthoTile {
  // In pixels of the orthophoto.
  int left;
  int top;
  int columns;
  int rows;
  /// Indices of the strips that may be seen in it, in their order.
  std::vector<std::size_t> strips;
  /// Of its pixels, in all bands.
  std::uint64_t bytes;
};

/// The plan of an orthophoto that is made tile by tile, by any processes that share its files: a manifest in JSON,
/// which docs/kes.md describes. A value that is cheap to copy; any number of threads may use one.
class KESGDAL_EXPORT OrthoTiling {
public:
  /// Reads a manifest. Throws std::runtime_error "can't read FILE: " and the reason, and "FILE is no plan of an
  /// orthophoto: " and what is missing or wrong in it.
  static OrthoTiling read(std::string const& fileName);

  /// Of the manifest.
  [[nodiscard]] std::string const& fileName() const;
  /// Where tiles are made: the name of the manifest, with ".tiles" in place of its extension.
  [[nodiscard]] std::string const& folder() const;
  [[nodiscard]] std::size_t tileCount() const;
  /// Row by row from the north-west. Throws std::out_of_range "there is no tile 12: the plan has 12, counted from 0".
  [[nodiscard]] OrthoTile const& tile(std::size_t index) const;
  [[nodiscard]] std::string tileFile(std::size_t index) const;
  [[nodiscard]] int tileSide() const;
  [[nodiscard]] int columns() const;
  [[nodiscard]] int rows() const;
  [[nodiscard]] int bandCount() const;
  /// The files of the strips that are seen, by the indices of `OrthoTile::strips`.
  [[nodiscard]] std::vector<std::string> stripFiles() const;
  /// How many files the orthophoto is made of, and their bytes.
  [[nodiscard]] std::size_t inputCount() const;
  [[nodiscard]] std::uint64_t inputBytes() const;
  /// What the work on a tile takes at the most with the plan's threads, bytes.
  [[nodiscard]] std::uint64_t memory() const;
  /// The plan's threads.
  [[nodiscard]] int threads() const;
  /// Tiles without a file, in their order. Whether a file is whole is for `makeTile` and `finishOrthophoto` to see.
  [[nodiscard]] std::vector<std::size_t> missing() const;

  struct Data;
  /// For this library's own use.
  explicit OrthoTiling(std::shared_ptr<Data const> data) : mData(std::move(data)) {}
  [[nodiscard]] Data const& data() const { return *mData; }

private:
  std::shared_ptr<Data const> mData;
};

/// Plans an orthophoto: goes through the strips once, reads all inputs for their sums, and writes the manifest, whole or
/// not at all. Threads are those of `plan`. Throws as `writeOrthophoto`, and std::runtime_error "a tile's work can't be
/// kept within X MiB: it takes Y MiB at the least", "the side of a tile, N pixels, isn't between 16 and 32768".
KESGDAL_EXPORT OrthoTiling planOrthophoto(OrthoSource const& source, OrthoPlan const& plan,
                                          TilingOptions const& options, std::string const& fileName,
                                          Progress const& progress = {});
/// The same with the strips of `source` as their caller opens them.
KESGDAL_EXPORT OrthoTiling planOrthophoto(EachStrip const& strips, OrthoSource const& source, OrthoPlan const& plan,
                                          TilingOptions const& options, std::string const& fileName,
                                          Progress const& progress = {});

/// How tiles are made.
struct TileOptions {
  /// From 1; 0: those of the plan.
  int threads = 0;
  /// Strips whose data stay in memory at once, from 1.
  int stripLimit = 1;
  /// Whether all inputs are read for their sums first, which otherwise is done for those alone whose time of change
  /// isn't that of the plan, and at the end for all.
  bool verifies = false;
};

/// How well the pixels of a tile close; see `KES_CLOSURE_...` in docs/kes.md.
struct TileClosure {
  std::uint64_t pixels = 0;
  double rmsMetres = 0.0;
  double largestMetres = 0.0;
  double rmsPixels = 0.0;
  double largestPixels = 0.0;
};

/// A tile that is there.
struct MadeTile {
  std::size_t index = 0;
  /// False when it was there before.
  bool isNew = false;
  /// Whether any image has a pixel in it.
  bool hasData = false;
  double seconds = 0.0;
  std::uint64_t bytes = 0;  ///< Of its file.
  std::string file;
  TileClosure closure;
};

/// Makes tiles of a plan, one after the other. It keeps open what they have in common: the elevation model, and the
/// strips seen last. One object belongs to one thread at a time; any number of processes may make tiles at once, also
/// the same one.
class KESGDAL_EXPORT TileMaker {
public:
  /// Opens no strip yet. Throws std::runtime_error when the inputs aren't those of the plan, "FILE has changed since the
  /// plan was made", when more threads than the plan's would exceed its bound of memory, and what opening the elevation
  /// model throws.
  explicit TileMaker(OrthoTiling tiling, TileOptions const& options = {});
  ~TileMaker();
  TileMaker(TileMaker&&) noexcept;
  TileMaker& operator=(TileMaker&&) noexcept;

  /// Makes a tile's file, whole or not at all; leaves one that is there and whole. Before, the sizes and times of the
  /// tile's inputs are compared with the plan's. Throws std::runtime_error as the constructor and as `writeOrthophoto`.
  MadeTile make(std::size_t index, Progress const& progress = {});

private:
  struct Impl;
  std::unique_ptr<Impl> mImpl;
};

/// Makes one tile.
KESGDAL_EXPORT MadeTile makeTile(OrthoTiling const& tiling, std::size_t index, TileOptions const& options = {},
                                 Progress const& progress = {});

/// How an orthophoto is put together.
struct FinishOptions {
  int threads = 0;  ///< From 1; 0: those of the plan.
  bool keepsTiles = false;
};

/// Puts the tiles of a plan together into the file that `writeOrthophoto` would have made, to the byte, and removes the
/// tiles. Reads all inputs for their sums once more. Throws std::runtime_error "N of M tiles are missing: 3, 7-9", "tile
/// 3 is damaged: ...; remove FILE and make it again", "FILE has changed since the plan was made", and as
/// `writeOrthophoto`.
KESGDAL_EXPORT void finishOrthophoto(OrthoTiling const& tiling, std::string const& fileName,
                                     FinishOptions const& options = {}, Progress const& progress = {});

}  // namespace kesgdal
