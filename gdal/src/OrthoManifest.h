// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "OrthoLayout.h"
#include "OrthoRecord.h"

#include <kesgdal/OrthoTiles.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kesgdal {

/// The memory that the work on a tile takes, in bytes.
struct TileMemory {
  std::uint64_t limit = 0;  // 0: none
  std::uint64_t fixed = 0;
  std::uint64_t perThread = 0;
  std::uint64_t imageCache = 0;

  std::uint64_t bound(int threads) const {
    return fixed + imageCache + static_cast<std::uint64_t>(threads) * perThread;
  }
};

/// What a manifest says, and what follows from that.
struct OrthoTiling::Data {
  std::string fileName;
  std::string tileFolder;
  std::string id;      // the sum of the manifest, which tiles bear
  std::string folder;  // in which names that are relative begin
  OrthoSource source;  // without strips, which are those of the layout
  OrthoLayout layout;  // without the cut, which is read where it is needed
  MetadataItems method;
  TileMemory memory{};
  int threads = 1;
  int tileSide = 0;
  std::vector<OrthoTile> tiles{};

  /// The name of a file for this process; what isn't a file, such as a data set of GDAL, stays as it is.
  std::string path(std::string const& name) const;
  std::string path(OrthoInput const& input) const { return input.isFile ? path(input.name) : input.name; }
};

/// The tiles of a grid, with the strips that may be seen in them.
std::vector<OrthoTile> tilesOf(OrthoLayout const& layout, int tileSide);

/// The text of a manifest.
std::string manifestText(OrthoTiling::Data const& data);

/// Throws as `OrthoTiling::read`.
OrthoTiling::Data parsedManifest(std::string const& fileName);

/// "OUT.tiles" of "OUT.json".
std::string tileFolderOf(std::string const& manifest);

}  // namespace kesgdal
